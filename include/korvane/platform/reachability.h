#pragma once

namespace korvane {

// Whether the device has a usable network path right now (no traffic is sent to find out).
class Reachability {
 public:
  virtual ~Reachability() = default;
  virtual bool isConnected() const = 0;
};

}  // namespace korvane
