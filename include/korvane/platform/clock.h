#pragma once

#include <chrono>
#include <cstdint>

namespace korvane {

// Wall-clock time, injectable so that event ages and timestamps are tested without sleeping.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual std::chrono::system_clock::time_point now() const = 0;

  std::int64_t nowMillis() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(now().time_since_epoch()).count();
  }
  // With the fraction of a millisecond, as event timestamps carry it.
  double nowMillisWithFraction() const {
    return std::chrono::duration<double, std::milli>(now().time_since_epoch()).count();
  }
};

}  // namespace korvane
