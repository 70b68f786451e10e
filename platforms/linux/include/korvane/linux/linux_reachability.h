#pragma once

#include "korvane/platform/reachability.h"

namespace korvane::linux_host {

// Connected when an interface other than loopback is up and has an address. Changes come from
// GIO's network monitor ("network-changed"), on the main context it was first asked for on.
class LinuxReachability final : public Reachability {
 public:
  bool isConnected() const override;
  Subscription subscribe(std::function<void(bool connected)> observer) override;
};

}  // namespace korvane::linux_host
