#pragma once

#include "korvane/platform/clock.h"
#include "korvane/platform/random_source.h"

namespace korvane::ios {

class SystemClock final : public Clock {
 public:
  std::chrono::system_clock::time_point now() const override {
    return std::chrono::system_clock::now();
  }
};

// The kernel's cryptographic generator (arc4random_buf): thread-safe and never reseeded by hand.
class SecureRandom final : public RandomSource {
 public:
  std::uint64_t nextUint64() override;
};

}  // namespace korvane::ios
