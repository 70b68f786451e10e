#import "ports/uikit_device_probe.h"

#import <UIKit/UIKit.h>

#include <sys/sysctl.h>

#include <cmath>
#include <vector>

#include "korvane/util/text.h"
#import "support/objc_text.h"

namespace korvane::ios {
namespace {

std::optional<std::string> sysctlText(const char* name) {
  std::size_t size = 0;
  if (sysctlbyname(name, nullptr, &size, nullptr, 0) != 0 || size == 0) return std::nullopt;
  std::vector<char> buffer(size);
  if (sysctlbyname(name, buffer.data(), &size, nullptr, 0) != 0) return std::nullopt;
  std::string text(buffer.data(), strnlen(buffer.data(), size));
  if (text.empty() || !isValidUtf8(text)) return std::nullopt;
  return text;
}

// Main thread only.
UIKitDeviceProbe::UIKitFacts readUIKit() {
  UIKitDeviceProbe::UIKitFacts facts;
  facts.genericModel = toStdString(UIDevice.currentDevice.model);
  UIScreen* screen = UIScreen.mainScreen;
  const CGFloat scale = screen.scale;
  facts.screen = ScreenPixels{std::lround(screen.bounds.size.width * scale),
                              std::lround(screen.bounds.size.height * scale)};
  facts.points =
      ScreenPoints{std::lround(screen.bounds.size.width), std::lround(screen.bounds.size.height)};
  return facts;
}

// Before UIKit was read: the model family from the hardware identifier ("iPhone14,2").
std::string modelFamily(const std::optional<std::string>& hardware) {
  for (const char* family : {"iPhone", "iPad", "iPod"})
    if (hardware && hardware->rfind(family, 0) == 0) return family;
  return "iPhone";
}

}  // namespace

UIKitDeviceProbe::UIKitDeviceProbe() : hardware_(sysctlText("hw.machine")) {
  std::weak_ptr<Shared> weak = shared_;
  auto remember = [weak] {
    if (auto shared = weak.lock()) {
      UIKitFacts read = readUIKit();
      std::lock_guard lock(shared->mutex);
      shared->facts = std::move(read);
    }
  };
  if (NSThread.isMainThread) {
    remember();
  } else {
    dispatch_async(dispatch_get_main_queue(), ^{
      remember();
    });
  }
}

UIKitDeviceProbe::UIKitFacts UIKitDeviceProbe::facts() const {
  if (NSThread.isMainThread) {
    UIKitFacts read = readUIKit();  // the screen's bounds follow the orientation
    std::lock_guard lock(shared_->mutex);
    shared_->facts = read;
    return read;
  }
  std::lock_guard lock(shared_->mutex);
  if (shared_->facts) return *shared_->facts;
  return UIKitFacts{modelFamily(hardware_), std::nullopt, std::nullopt};
}

std::optional<std::string> UIKitDeviceProbe::hardwareIdentifier() const {
  return hardware_;
}

std::string UIKitDeviceProbe::genericModel() const {
  return facts().genericModel;
}

std::string UIKitDeviceProbe::osVersion() const {
  // UIDevice's systemVersion, which leaves out a zero patch level ("16.5", "16.5.1").
  const NSOperatingSystemVersion version = NSProcessInfo.processInfo.operatingSystemVersion;
  std::string text =
      std::to_string(version.majorVersion) + "." + std::to_string(version.minorVersion);
  if (version.patchVersion != 0) text += "." + std::to_string(version.patchVersion);
  return text;
}

std::optional<std::string> UIKitDeviceProbe::regionCode() const {
  return toOptionalString([NSLocale.currentLocale objectForKey:NSLocaleCountryCode]);
}

std::optional<std::string> UIKitDeviceProbe::languageCode() const {
  return toOptionalString([NSLocale.currentLocale objectForKey:NSLocaleLanguageCode]);
}

std::optional<ScreenPixels> UIKitDeviceProbe::screenPixels() const {
  return facts().screen;
}

std::optional<ScreenPoints> UIKitDeviceProbe::screenPoints() const {
  return facts().points;
}

std::optional<std::string> UIKitDeviceProbe::storeReceiptPath() const {
  return toOptionalString(NSBundle.mainBundle.appStoreReceiptURL.path);
}

std::optional<std::string> UIKitDeviceProbe::appVersion() const {
  NSDictionary* info = NSBundle.mainBundle.infoDictionary;
  id shortVersion = info[@"CFBundleShortVersionString"];
  id build = info[@"CFBundleVersion"];
  if (![shortVersion isKindOfClass:NSString.class] && ![build isKindOfClass:NSString.class])
    return std::nullopt;
  NSString* text = [NSString
      stringWithFormat:@"%@ (%@)", [shortVersion isKindOfClass:NSString.class] ? shortVersion : @"",
                       [build isKindOfClass:NSString.class] ? build : @""];
  return toStdString(text);
}

}  // namespace korvane::ios
