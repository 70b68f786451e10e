#pragma once

#include <cstdint>
#include <string>

namespace korvane {

// Uniform random bits, injectable so that jitter, backoff and identifiers are reproducible in
// tests. Implementations are safe to call from any thread.
class RandomSource {
 public:
  virtual ~RandomSource() = default;
  virtual std::uint64_t nextUint64() = 0;

  // Uniform in [0, 1).
  double nextUnit() { return static_cast<double>(nextUint64() >> 11) * 0x1.0p-53; }
  // Uniform in [low, high).
  double uniform(double low, double high) { return low + (high - low) * nextUnit(); }
  // A version-4 UUID in upper-case canonical text, "8-4-4-4-12" hex digits.
  std::string makeUuid();
};

}  // namespace korvane
