#include "korvane/util/text.h"

#include "util/utf8.h"

namespace korvane {

bool isValidUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const utf8::Decoded decoded = utf8::decodeAt(text, at);
    if (decoded.codePoint == utf8::kInvalid) return false;
    at += decoded.length;
  }
  return true;
}

std::string toValidUtf8(std::string_view text) {
  if (isValidUtf8(text)) return std::string(text);
  std::string repaired;
  repaired.reserve(text.size() + 8);
  for (std::size_t at = 0; at < text.size();) {
    const utf8::Decoded decoded = utf8::decodeAt(text, at);
    if (decoded.codePoint == utf8::kInvalid) {
      repaired += "\xEF\xBF\xBD";
    } else {
      repaired.append(text.substr(at, decoded.length));
    }
    at += decoded.length;
  }
  return repaired;
}

}  // namespace korvane
