#pragma once

#include <memory>
#include <mutex>

#include "korvane/platform/device_probe.h"

namespace korvane::ios {

// The device through sysctl, NSProcessInfo, NSLocale, the main bundle and (on the main thread)
// UIDevice and UIScreen. UIKit is only read on the main thread: asked elsewhere, the probe answers
// from what it last read there, and it reads it once as soon as the main thread is free.
class UIKitDeviceProbe final : public DeviceProbe {
 public:
  UIKitDeviceProbe();
  std::optional<std::string> hardwareIdentifier() const override;
  std::string genericModel() const override;
  std::string osVersion() const override;
  std::optional<std::string> regionCode() const override;
  std::optional<std::string> languageCode() const override;
  std::optional<ScreenPixels> screenPixels() const override;
  std::optional<ScreenPoints> screenPoints() const override;
  std::optional<std::string> storeReceiptPath() const override;
  // The main bundle's "CFBundleShortVersionString (CFBundleVersion)".
  std::optional<std::string> appVersion() const override;

  struct UIKitFacts {
    std::string genericModel;
    std::optional<ScreenPixels> screen;
    std::optional<ScreenPoints> points;
  };

 private:
  UIKitFacts facts() const;

  struct Shared {
    std::mutex mutex;
    std::optional<UIKitFacts> facts;
  };
  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  std::optional<std::string> hardware_;
};

}  // namespace korvane::ios
