#pragma once

#include <optional>
#include <string>

#include "korvane/linux/offerwall_window.h"
#include "korvane/platform/device_probe.h"
#include "korvane/platform/tracking_authorization.h"

namespace korvane::linux_host {

// The machine as the SDK describes a device: uname's machine field, "Linux" as the generic
// model, the distribution's VERSION_ID (else the kernel release), the locale from LC_ALL,
// LC_MESSAGES or LANG. A desktop has no screen of the device's size to report in pixels and no
// store receipt; in points the screen is the offerwall's window, which the pages lay out in. A
// desktop program has no bundle to read its version from: the host may name one.
class LinuxDeviceProbe final : public DeviceProbe {
 public:
  explicit LinuxDeviceProbe(std::optional<std::string> appVersion = std::nullopt);
  std::optional<std::string> hardwareIdentifier() const override { return machine_; }
  std::string genericModel() const override { return "Linux"; }
  std::string osVersion() const override { return osVersion_; }
  std::optional<std::string> regionCode() const override { return region_; }
  std::optional<std::string> languageCode() const override { return language_; }
  std::optional<ScreenPixels> screenPixels() const override { return std::nullopt; }
  std::optional<ScreenPoints> screenPoints() const override {
    return ScreenPoints{kOfferwallWindowWidth, kOfferwallWindowHeight};
  }
  std::optional<std::string> storeReceiptPath() const override { return std::nullopt; }
  std::optional<std::string> appVersion() const override { return appVersion_; }

 private:
  std::optional<std::string> appVersion_;
  std::optional<std::string> machine_;
  std::string osVersion_;
  std::optional<std::string> region_;
  std::optional<std::string> language_;
};

// Linux has no advertising identifier: tracking is restricted and the identifier is all zeros
// unless the host supplies a status and identifier of its own (demos, tests).
class LinuxTrackingAuthorization final : public TrackingAuthorization {
 public:
  LinuxTrackingAuthorization(long status = tracking_status::kRestricted,
                             std::string identifier = "00000000-0000-0000-0000-000000000000");
  long status() const override { return status_; }
  std::string advertisingIdentifier() const override { return identifier_; }
  void requestAuthorization(std::function<void(long status)> completion) override;

 private:
  long status_;
  std::string identifier_;
};

// Parses a POSIX locale name ("ko_KR.UTF-8@euro") into language and region.
struct LocaleParts {
  std::optional<std::string> language;
  std::optional<std::string> region;
};
LocaleParts parseLocaleName(const std::string& name);

}  // namespace korvane::linux_host
