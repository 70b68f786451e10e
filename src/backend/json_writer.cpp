#include "backend/json_writer.h"

#include <cmath>

#include "util/double_text.h"
#include "util/utf8.h"

namespace korvane::json {

void JsonWriter::string(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  out_ += '"';
  std::size_t run = 0;  // start of the pending run of bytes that need no escaping
  for (std::size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c != '"' && c != '\\' && c < 0x80) {
      ++i;
      continue;
    }
    if (c >= 0x80) {
      const utf8::Decoded d = utf8::decodeAt(text, i);
      if (d.codePoint != utf8::kInvalid) {
        i += d.length;
        continue;
      }
    }
    out_.append(text, run, i - run);
    switch (c) {
      case '"':
        out_ += "\\\"";
        break;
      case '\\':
        out_ += "\\\\";
        break;
      case '\b':
        out_ += "\\b";
        break;
      case '\f':
        out_ += "\\f";
        break;
      case '\n':
        out_ += "\\n";
        break;
      case '\r':
        out_ += "\\r";
        break;
      case '\t':
        out_ += "\\t";
        break;
      default:
        if (c < 0x20) {
          out_ += "\\u00";
          out_ += kHex[c >> 4];
          out_ += kHex[c & 0xF];
        } else {
          out_ += "\xEF\xBF\xBD";  // a byte that is not UTF-8
        }
    }
    run = ++i;
  }
  out_.append(text, run, text.size() - run);
  out_ += '"';
}

void JsonWriter::number(double value) {
  separate();
  if (!std::isfinite(value)) {
    out_ += "null";  // JSON has no infinities
    return;
  }
  const double magnitude = std::fabs(value);
  const bool plain = magnitude == 0 || (magnitude >= 1e-5 && magnitude < 1e17);
  const std::string text = plain ? double_text::fixed(value) : double_text::general(value);
  out_ += text;
  if (text.find_first_of(".e") == std::string_view::npos) out_ += ".0";
}

}  // namespace korvane::json
