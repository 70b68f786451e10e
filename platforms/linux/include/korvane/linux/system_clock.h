#pragma once

#include <mutex>
#include <random>

#include "korvane/platform/clock.h"
#include "korvane/platform/random_source.h"

namespace korvane::linux_host {

class SystemClock final : public Clock {
 public:
  std::chrono::system_clock::time_point now() const override {
    return std::chrono::system_clock::now();
  }
};

// A 64-bit Mersenne Twister seeded from the operating system, shared safely between threads.
class SystemRandom final : public RandomSource {
 public:
  SystemRandom();
  std::uint64_t nextUint64() override;

 private:
  std::mutex mutex_;
  std::mt19937_64 engine_;
};

}  // namespace korvane::linux_host
