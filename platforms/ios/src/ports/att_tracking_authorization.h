#pragma once

#include "korvane/platform/tracking_authorization.h"

namespace korvane::ios {

// App Tracking Transparency and the advertising identifier. The system ends an app that asks for
// tracking permission without NSUserTrackingUsageDescription in its Info.plist, so without that
// key no prompt is asked for and the completion gets the current status.
class AttTrackingAuthorization final : public TrackingAuthorization {
 public:
  long status() const override;
  std::string advertisingIdentifier() const override;
  void requestAuthorization(std::function<void(long status)> completion) override;
};

}  // namespace korvane::ios
