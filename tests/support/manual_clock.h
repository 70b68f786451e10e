#pragma once

#include <atomic>
#include <chrono>

#include "korvane/platform/clock.h"
#include "korvane/platform/random_source.h"

namespace korvane::testing {

// A clock that moves only when the test moves it.
class ManualClock final : public Clock {
 public:
  explicit ManualClock(
      std::chrono::system_clock::time_point start =
          std::chrono::system_clock::time_point(std::chrono::seconds(1'700'000'000)))
      : nowTicks_(start.time_since_epoch().count()) {}

  std::chrono::system_clock::time_point now() const override {
    return std::chrono::system_clock::time_point(
        std::chrono::system_clock::duration(nowTicks_.load()));
  }
  void advance(std::chrono::system_clock::duration by) { nowTicks_ += by.count(); }
  void set(std::chrono::system_clock::time_point to) { nowTicks_ = to.time_since_epoch().count(); }

 private:
  std::atomic<std::chrono::system_clock::rep> nowTicks_;
};

// A random source that replays a fixed value in [0, 1) (or counts up, for identifiers).
class FixedRandom final : public RandomSource {
 public:
  explicit FixedRandom(double unit = 0.5) { setUnit(unit); }
  void setUnit(double unit) { bits_ = static_cast<std::uint64_t>(unit * 0x1.0p53) << 11; }
  std::uint64_t nextUint64() override { return bits_ + (counter_++ & 0x7FF); }

 private:
  std::uint64_t bits_ = 0;
  std::atomic<std::uint64_t> counter_{0};
};

}  // namespace korvane::testing
