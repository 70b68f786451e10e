#pragma once

#include <functional>

#include "korvane/platform/subscription.h"

namespace korvane {

// Word from the system that the app should give memory back (iOS: the memory warning; Linux: GIO's
// low-memory warning, or the host). What the SDK keeps only to be faster is let go of then.
class MemoryPressure {
 public:
  virtual ~MemoryPressure() = default;
  // Calls `observer` on the main thread each time the system asks, until the Subscription is
  // destroyed.
  [[nodiscard]] virtual Subscription subscribe(std::function<void()> observer) = 0;
};

}  // namespace korvane
