#pragma once

#include <functional>
#include <string>

namespace korvane {

// Raw App Tracking Transparency states; other values may appear and mean "unknown".
namespace tracking_status {
inline constexpr long kNotDetermined = 0;
inline constexpr long kRestricted = 1;
inline constexpr long kDenied = 2;
inline constexpr long kAuthorized = 3;
}  // namespace tracking_status

// The advertising-tracking permission and identifier. `requestAuthorization` may show the
// system prompt; its completion runs on an unspecified thread with the new raw status.
class TrackingAuthorization {
 public:
  virtual ~TrackingAuthorization() = default;
  virtual long status() const = 0;
  // Upper-case UUID text; all zeros when the system withholds it.
  virtual std::string advertisingIdentifier() const = 0;
  virtual void requestAuthorization(std::function<void(long status)> completion) = 0;
};

}  // namespace korvane
