#pragma once

#include <optional>
#include <string>

namespace korvane {

struct ScreenPixels {
  long width = 0;
  long height = 0;
};

// A size in points: the CSS pixels a page lays out with (pixels divided by the screen's scale).
struct ScreenPoints {
  long width = 0;
  long height = 0;
};

// What the platform knows about the device. Answers are cheap and may be asked from any thread.
class DeviceProbe {
 public:
  virtual ~DeviceProbe() = default;
  // The hardware identifier (uname's machine field, e.g. "iPhone14,2"); none when not valid text.
  virtual std::optional<std::string> hardwareIdentifier() const = 0;
  // The generic model ("iPhone", "iPad").
  virtual std::string genericModel() const = 0;
  virtual std::string osVersion() const = 0;
  virtual std::optional<std::string> regionCode() const = 0;
  virtual std::optional<std::string> languageCode() const = 0;
  // The main screen in device pixels (the device record's size).
  virtual std::optional<ScreenPixels> screenPixels() const = 0;
  // The main screen in points (the offerwall address's size, which pages lay out with).
  virtual std::optional<ScreenPoints> screenPoints() const = 0;
  // The path of the app's store receipt, when the app has one.
  virtual std::optional<std::string> storeReceiptPath() const = 0;
  // The host app's version (e.g. "2.1 (40)"), when the platform knows it. A new version lets an
  // SDK that its start-up guard turned off start again.
  virtual std::optional<std::string> appVersion() const { return std::nullopt; }
};

}  // namespace korvane
