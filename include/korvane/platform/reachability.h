#pragma once

#include <functional>

#include "korvane/platform/subscription.h"

namespace korvane {

// Whether the device has a usable network path right now (no traffic is sent to find out), and
// word when that may have changed.
class Reachability {
 public:
  virtual ~Reachability() = default;
  virtual bool isConnected() const = 0;
  // Calls `observer` with what isConnected() says whenever the network path may have changed, on
  // a thread of the platform's choosing, until the Subscription is destroyed. Two calls in a row
  // may say the same.
  [[nodiscard]] virtual Subscription subscribe(std::function<void(bool connected)> observer) = 0;
};

}  // namespace korvane
