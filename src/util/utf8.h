#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace korvane::utf8 {

// One decoded character: its code point (or kInvalid) and how many bytes it took.
struct Decoded {
  std::int32_t codePoint;
  std::size_t length;
};

inline constexpr std::int32_t kInvalid = -1;

// Decodes the character at `i` by the strict rules (no overlongs, surrogates or values past
// U+10FFFF). A byte that does not begin a complete, well-formed character decodes alone as
// kInvalid, so the next call resynchronises on the following byte.
inline Decoded decodeAt(std::string_view s, std::size_t i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char b0 = byte(i);
  if (b0 < 0x80) return {b0, 1};
  const std::size_t left = s.size() - i;
  const auto cont = [&](std::size_t k) { return (byte(i + k) & 0xC0) == 0x80; };
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    if (left >= 2 && cont(1)) return {((b0 & 0x1F) << 6) | (byte(i + 1) & 0x3F), 2};
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    if (left >= 3 && cont(1) && cont(2)) {
      const std::int32_t cp =
          ((b0 & 0x0F) << 12) | ((byte(i + 1) & 0x3F) << 6) | (byte(i + 2) & 0x3F);
      if (cp >= 0x800 && (cp < 0xD800 || cp > 0xDFFF)) return {cp, 3};
    }
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    if (left >= 4 && cont(1) && cont(2) && cont(3)) {
      const std::int32_t cp = ((b0 & 0x07) << 18) | ((byte(i + 1) & 0x3F) << 12) |
                              ((byte(i + 2) & 0x3F) << 6) | (byte(i + 3) & 0x3F);
      if (cp >= 0x10000 && cp <= 0x10FFFF) return {cp, 4};
    }
  }
  return {kInvalid, 1};
}

// Unicode white space as regular expressions with Unicode properties see it: category Z plus
// the ASCII controls TAB...CR, NEL and MONGOLIAN VOWEL SEPARATOR.
inline bool isSpace(std::int32_t cp) {
  if (cp < 0x80) return cp == 0x20 || (cp >= 0x09 && cp <= 0x0D);
  switch (cp) {
    case 0x85:
    case 0xA0:
    case 0x1680:
    case 0x180E:
    case 0x2028:
    case 0x2029:
    case 0x202F:
    case 0x205F:
    case 0x3000:
      return true;
    default:
      return cp >= 0x2000 && cp <= 0x200A;
  }
}

}  // namespace korvane::utf8
