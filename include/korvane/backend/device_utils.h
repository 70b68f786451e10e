#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "korvane/backend/app_records.h"
#include "korvane/platform/platform_services.h"

namespace korvane {

// Stands for "no advertising identifier" everywhere.
inline constexpr const char* kZeroAdvertisingId = "00000000-0000-0000-0000-000000000000";

// What the SDK knows about the device: the persistent device id, the model's marketing name,
// the install source, and the advertising identifier under the tracking-permission rules.
// Uses userDefaults, device, tracking, mainThread, lifecycle and random of the platform.
// Safe to use from any thread; the authorization flow itself runs on the main thread.
class DeviceUtils : public std::enable_shared_from_this<DeviceUtils> {
  struct Token {
    explicit Token() = default;
  };

 public:
  static std::shared_ptr<DeviceUtils> create(PlatformServices platform);
  DeviceUtils(Token, PlatformServices platform);

  // Read once from user defaults ("device_id") or made (an upper-case UUID) and stored.
  std::string getDeviceId();
  // The hardware identifier, or the generic model when it cannot be read.
  std::string getDeviceModel() const;
  // The marketing name for known hardware; the generic model on a simulator.
  std::string getDeviceModelName() const;
  // "testflight" for a sandbox receipt, otherwise "appstore".
  std::string getInstallSource() const;
  std::string getOsVersion() const;
  DeviceInfo makeDeviceInfo();

  // At launch, without prompting: caches the identifier the permission allows (or zeros) and
  // schedules the authorization flow when the answer is not settled yet.
  void initializeAdvertisingIdSync();
  // The cached identifier, or the zero identifier. Never asks the system.
  std::string getAdvertisingId() const;
  std::optional<std::string> cachedAdvertisingId() const;
  bool isAdvertisingIdInitialized() const;
  void requestTrackingAuthorizationIfNeeded();
  void requestTrackingAuthorization();
  // With false the system prompt is never shown: while the answer is open, the permission is
  // read again at each activation, for the app's own prompt may have settled it.
  void setAsksForTrackingPermission(bool asks) { asksForPermission_ = asks; }
  // Back to the zero identifier, and no more asking or reading until initializeAdvertisingIdSync
  // (the person withdrew consent).
  void forgetAdvertisingId();
  // No tracking prompt and no reading from now until initializeAdvertisingIdSync, the cached
  // identifier kept (the server turned the SDK off).
  void stopAsking() { suspended_ = true; }

 private:
  void setCachedAdvertisingId(std::string id);
  void scheduleAuthorizationFlow();
  // Asks once when the app next becomes active (main thread only).
  void askAtNextActivation();

  PlatformServices platform_;
  mutable std::mutex mutex_;
  std::optional<std::string> cachedDeviceId_;
  std::optional<std::string> cachedAdvertisingId_;
  bool advertisingIdInitialized_ = false;
  Subscription becomeActive_;
  std::atomic<bool> asksForPermission_{true};
  std::atomic<bool> suspended_{false};
};

// The marketing name of a hardware identifier, or nothing when the table does not know it.
std::optional<std::string> marketingNameFor(const std::string& hardwareIdentifier);

}  // namespace korvane
