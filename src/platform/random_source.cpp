#include "korvane/platform/random_source.h"

namespace korvane {

std::string RandomSource::makeUuid() {
  const std::uint64_t high = (nextUint64() & ~0xF000ULL) | 0x4000ULL;  // version 4
  const std::uint64_t low =
      (nextUint64() & ~(0xC0ULL << 56)) | (0x80ULL << 56);  // RFC 4122 variant
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (int nibble = 0; nibble < 32; ++nibble) {
    if (nibble == 8 || nibble == 12 || nibble == 16 || nibble == 20) text += '-';
    const std::uint64_t word = nibble < 16 ? high : low;
    text += kHex[(word >> (60 - 4 * (nibble % 16))) & 0xF];
  }
  return text;
}

}  // namespace korvane
