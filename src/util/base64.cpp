#include "util/base64.h"

#include <array>
#include <cstdint>

namespace korvane::base64 {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> makeReverse() {
  std::array<std::int8_t, 256> table{};
  for (auto& entry : table) entry = -1;
  for (int i = 0; i < 64; ++i)
    table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
  return table;
}
constexpr std::array<std::int8_t, 256> kReverse = makeReverse();

}  // namespace

std::string encode(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const std::uint32_t n = (static_cast<unsigned char>(bytes[i]) << 16) |
                            (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                            static_cast<unsigned char>(bytes[i + 2]);
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += kAlphabet[(n >> 6) & 63];
    out += kAlphabet[n & 63];
  }
  const std::size_t left = bytes.size() - i;
  if (left > 0) {
    std::uint32_t n = static_cast<unsigned char>(bytes[i]) << 16;
    if (left == 2) n |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += left == 2 ? kAlphabet[(n >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::optional<std::string> decode(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::string out;
  out.reserve(text.size() / 4 * 3);
  for (std::size_t i = 0; i < text.size(); i += 4) {
    const bool last = i + 4 == text.size();
    const int padding =
        last ? (text[i + 3] == '=') + (text[i + 2] == '=' && text[i + 3] == '=') : 0;
    std::uint32_t n = 0;
    for (int k = 0; k < 4; ++k) {
      const std::int8_t v = kReverse[static_cast<unsigned char>(text[i + k])];
      if (k >= 4 - padding) continue;
      if (v < 0) return std::nullopt;
      n |= static_cast<std::uint32_t>(v) << (18 - 6 * k);
    }
    out += static_cast<char>((n >> 16) & 0xFF);
    if (padding < 2) out += static_cast<char>((n >> 8) & 0xFF);
    if (padding < 1) out += static_cast<char>(n & 0xFF);
  }
  return out;
}

}  // namespace korvane::base64
