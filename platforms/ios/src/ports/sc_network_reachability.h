#pragma once

#include "korvane/platform/reachability.h"

namespace korvane::ios {

// Whether the device has a route: the flags of a reachability probe for the zero IPv4 address
// say reachable without a connection to set up first. A probe that fails counts as offline.
// Changes come from the same probe's callbacks, on a serial queue of their own.
class SCNetworkReachabilityProbe final : public Reachability {
 public:
  bool isConnected() const override;
  Subscription subscribe(std::function<void(bool connected)> observer) override;
};

}  // namespace korvane::ios
