#pragma once

#include <optional>
#include <string>

namespace korvane {

// What every event of one batch shares, read once per conversion.
struct SendContext {
  std::string sessionId;
  std::optional<std::string> userId;  // absent when nobody is logged in
  std::string deviceId;
  std::string ifa;
  std::string osVersion;
};

}  // namespace korvane
