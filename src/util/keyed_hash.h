#pragma once

#include <cstdint>
#include <string_view>

namespace korvane {

// A secret key for SipHash.
struct SipKey {
  std::uint64_t k0 = 0;
  std::uint64_t k1 = 0;
};

// SipHash with `kCompression` rounds per 8-byte word and `kFinal` rounds at the end (SipHash-2-4
// is SipHash<2, 4>). Without the key, no one can choose inputs whose hashes collide.
template <int kCompression, int kFinal>
std::uint64_t sipHash(const SipKey& key, std::string_view bytes) {
  std::uint64_t v0 = key.k0 ^ 0x736f6d6570736575u;
  std::uint64_t v1 = key.k1 ^ 0x646f72616e646f6du;
  std::uint64_t v2 = key.k0 ^ 0x6c7967656e657261u;
  std::uint64_t v3 = key.k1 ^ 0x7465646279746573u;
  const auto rotate = [](std::uint64_t x, int bits) { return (x << bits) | (x >> (64 - bits)); };
  const auto rounds = [&](int count) {
    for (int i = 0; i < count; ++i) {
      v0 += v1;
      v1 = rotate(v1, 13) ^ v0;
      v0 = rotate(v0, 32);
      v2 += v3;
      v3 = rotate(v3, 16) ^ v2;
      v0 += v3;
      v3 = rotate(v3, 21) ^ v0;
      v2 += v1;
      v1 = rotate(v1, 17) ^ v2;
      v2 = rotate(v2, 32);
    }
  };
  const auto absorb = [&](std::uint64_t word) {
    v3 ^= word;
    rounds(kCompression);
    v0 ^= word;
  };
  // Little-endian words, whatever the machine's byte order.
  const auto word = [&](std::size_t from, std::size_t count) {
    std::uint64_t w = 0;
    for (std::size_t i = 0; i < count; ++i)
      w |= std::uint64_t{static_cast<unsigned char>(bytes[from + i])} << (8 * i);
    return w;
  };
  const std::size_t whole = bytes.size() / 8 * 8;
  for (std::size_t at = 0; at < whole; at += 8) absorb(word(at, 8));
  absorb(word(whole, bytes.size() - whole) | (std::uint64_t{bytes.size()} << 56));
  v2 ^= 0xff;
  rounds(kFinal);
  return v0 ^ v1 ^ v2 ^ v3;
}

// SipHash-1-3 under a key drawn once per process: for hash tables of keys that come from outside,
// so that a page or an answer cannot pick keys that all land in one bucket.
std::uint64_t keyedHash(std::string_view bytes);

}  // namespace korvane
