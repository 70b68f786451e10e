#include "korvane/backend/device_utils.h"

#include <array>
#include <utility>

#include "korvane/util/logger.h"
#include "korvane/version.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "DeviceUtils";
constexpr const char* kDeviceIdKey = "device_id";
constexpr std::chrono::milliseconds kAuthorizationDelay{500};

// The whole mapping: other hardware goes out as its raw identifier.
constexpr std::array<std::pair<std::string_view, std::string_view>, 30> kModelNames = {{
    {"iPhone17,1", "iPhone 16 Pro"},
    {"iPhone17,2", "iPhone 16 Pro Max"},
    {"iPhone17,3", "iPhone 16"},
    {"iPhone17,4", "iPhone 16 Plus"},
    {"iPhone16,2", "iPhone 15 Pro Max"},
    {"iPhone16,1", "iPhone 15 Pro"},
    {"iPhone15,5", "iPhone 15 Plus"},
    {"iPhone15,4", "iPhone 15"},
    {"iPhone15,3", "iPhone 14 Pro Max"},
    {"iPhone15,2", "iPhone 14 Pro"},
    {"iPhone14,8", "iPhone 14 Plus"},
    {"iPhone14,7", "iPhone 14"},
    {"iPhone14,3", "iPhone 13 Pro Max"},
    {"iPhone14,2", "iPhone 13 Pro"},
    {"iPhone14,5", "iPhone 13"},
    {"iPhone14,4", "iPhone 13 mini"},
    {"iPhone13,4", "iPhone 12 Pro Max"},
    {"iPhone13,3", "iPhone 12 Pro"},
    {"iPhone13,2", "iPhone 12"},
    {"iPhone13,1", "iPhone 12 mini"},
    {"iPhone12,5", "iPhone 11 Pro Max"},
    {"iPhone12,3", "iPhone 11 Pro"},
    {"iPhone12,1", "iPhone 11"},
    {"iPhone14,6", "iPhone SE (3rd generation)"},
    {"iPhone12,8", "iPhone SE (2nd generation)"},
    {"iPad14,1", "iPad mini (6th generation)"},
    {"iPad13,18", "iPad (10th generation)"},
    {"iPad13,16", "iPad Air (5th generation)"},
    {"iPad14,5", "iPad Pro 12.9-inch (6th generation)"},
    {"iPad14,3", "iPad Pro 11-inch (4th generation)"},
}};

std::string firstEight(const std::string& id) {
  return id.substr(0, 8) + "...";
}

}  // namespace

std::optional<std::string> marketingNameFor(const std::string& hardwareIdentifier) {
  for (const auto& [identifier, name] : kModelNames)
    if (identifier == hardwareIdentifier) return std::string(name);
  return std::nullopt;
}

std::shared_ptr<DeviceUtils> DeviceUtils::create(PlatformServices platform) {
  return std::make_shared<DeviceUtils>(Token{}, std::move(platform));
}

DeviceUtils::DeviceUtils(Token, PlatformServices platform) : platform_(std::move(platform)) {}

// The caches belong to this instance, not the process: a process has one session and so one
// instance, and the lock keeps the threads that read them from racing.
std::string DeviceUtils::getDeviceId() {
  std::lock_guard lock(mutex_);
  if (cachedDeviceId_) return *cachedDeviceId_;
  if (std::optional<std::string> stored = platform_.userDefaults->getString(kDeviceIdKey)) {
    cachedDeviceId_ = std::move(stored);
    return *cachedDeviceId_;
  }
  std::string made = platform_.random->makeUuid();
  platform_.userDefaults->setString(kDeviceIdKey, made);
  cachedDeviceId_ = made;
  KorvaneLogger::d(kTag, "Generated new device ID: " + made);
  return made;
}

std::string DeviceUtils::getDeviceModel() const {
  return platform_.device->hardwareIdentifier().value_or(platform_.device->genericModel());
}

std::string DeviceUtils::getDeviceModelName() const {
  const std::string identifier = getDeviceModel();
  const bool simulator = identifier == "Simulator" ||
                         identifier.find("arm64") != std::string::npos ||
                         identifier.find("x86_64") != std::string::npos;
  if (simulator) return platform_.device->genericModel();
  return marketingNameFor(identifier).value_or(identifier);
}

std::string DeviceUtils::getInstallSource() const {
  const std::optional<std::string> receipt = platform_.device->storeReceiptPath();
  return receipt && receipt->find("sandboxReceipt") != std::string::npos ? "testflight"
                                                                         : "appstore";
}

std::string DeviceUtils::getOsVersion() const {
  return platform_.device->osVersion();
}

DeviceInfo DeviceUtils::makeDeviceInfo() {
  DeviceInfo info;
  info.deviceId = getDeviceId();
  info.deviceModel = getDeviceModel();
  info.deviceModelName = getDeviceModelName();
  info.manufacturer = "Apple";
  info.platform = kPlatformName;
  info.osVersion = getOsVersion();
  info.ifa = getAdvertisingId();
  info.country = platform_.device->regionCode();
  info.language = platform_.device->languageCode();
  info.installer = getInstallSource();
  if (const std::optional<ScreenPixels> screen = platform_.device->screenPixels()) {
    info.screenWidth = screen->width;
    info.screenHeight = screen->height;
  }
  return info;
}

std::string DeviceUtils::getAdvertisingId() const {
  return cachedAdvertisingId().value_or(kZeroAdvertisingId);
}

std::optional<std::string> DeviceUtils::cachedAdvertisingId() const {
  std::lock_guard lock(mutex_);
  return cachedAdvertisingId_;
}

bool DeviceUtils::isAdvertisingIdInitialized() const {
  std::lock_guard lock(mutex_);
  return advertisingIdInitialized_;
}

void DeviceUtils::setCachedAdvertisingId(std::string id) {
  std::lock_guard lock(mutex_);
  cachedAdvertisingId_ = std::move(id);
}

void DeviceUtils::forgetAdvertisingId() {
  suspended_ = true;
  std::lock_guard lock(mutex_);
  cachedAdvertisingId_ = kZeroAdvertisingId;
}

void DeviceUtils::scheduleAuthorizationFlow() {
  std::weak_ptr<DeviceUtils> weak = weak_from_this();
  platform_.mainThread->postAfter(kAuthorizationDelay, [weak] {
    if (auto self = weak.lock()) self->requestTrackingAuthorizationIfNeeded();
  });
}

void DeviceUtils::initializeAdvertisingIdSync() {
  KorvaneLogger::d(kTag, "[SYNC] Initializing advertising ID synchronously on app launch...");
  suspended_ = false;
  {
    std::lock_guard lock(mutex_);
    advertisingIdInitialized_ = false;
  }
  switch (platform_.tracking->status()) {
    case tracking_status::kRestricted:
    case tracking_status::kDenied:
      setCachedAdvertisingId(kZeroAdvertisingId);
      KorvaneLogger::i(kTag, "[SYNC] Advertising ID denied/restricted, using zero ID");
      break;
    case tracking_status::kNotDetermined:
      setCachedAdvertisingId(kZeroAdvertisingId);
      KorvaneLogger::i(kTag, "[SYNC] First launch - setting zero ID initially");
      scheduleAuthorizationFlow();
      break;
    case tracking_status::kAuthorized: {
      std::string id = platform_.tracking->advertisingIdentifier();
      if (id != kZeroAdvertisingId) {
        const std::string shown = firstEight(id);
        setCachedAdvertisingId(std::move(id));
        KorvaneLogger::i(kTag, "[SYNC] Advertising ID authorized: " + shown);
      } else {
        setCachedAdvertisingId(kZeroAdvertisingId);
        KorvaneLogger::w(kTag, "[SYNC] Authorized but got zero ID, will retry");
        scheduleAuthorizationFlow();
      }
      break;
    }
    default:
      break;  // an unknown state changes nothing
  }
  {
    std::lock_guard lock(mutex_);
    advertisingIdInitialized_ = true;
  }
  KorvaneLogger::i(kTag, "[SYNC] Advertising ID initialization complete");
}

void DeviceUtils::requestTrackingAuthorizationIfNeeded() {
  if (suspended_) return;
  if (platform_.lifecycle->state() == AppState::active) {
    KorvaneLogger::d(kTag, "[ATT] App is active, requesting tracking authorization after delay");
    requestTrackingAuthorization();
    return;
  }
  KorvaneLogger::d(kTag, "[ATT] App not active, will retry when app becomes active");
  askAtNextActivation();
}

void DeviceUtils::askAtNextActivation() {
  std::weak_ptr<DeviceUtils> weak = weak_from_this();
  // The observer fires once: after it has asked, a later activation asks nothing more.
  becomeActive_ = platform_.lifecycle->subscribe([weak](AppLifecycleEvent event) {
    auto self = weak.lock();
    if (!self || event != AppLifecycleEvent::didBecomeActive) return;
    KorvaneLogger::i(kTag, "[ATT] App became active, requesting tracking authorization");
    self->platform_.mainThread->post([weak] {
      if (auto again = weak.lock()) again->becomeActive_.reset();
    });
    self->requestTrackingAuthorization();
  });
}

void DeviceUtils::requestTrackingAuthorization() {
  if (suspended_) return;
  switch (platform_.tracking->status()) {
    case tracking_status::kRestricted:
    case tracking_status::kDenied:
      KorvaneLogger::d(kTag, "[ATT] Already denied/restricted, cannot request again");
      return;
    case tracking_status::kAuthorized: {
      std::string id = platform_.tracking->advertisingIdentifier();
      const std::optional<std::string> cached = cachedAdvertisingId();
      if (id != kZeroAdvertisingId && (!cached || *cached == kZeroAdvertisingId)) {
        KorvaneLogger::i(kTag,
                         "[ATT] Already authorized, updating cache with IDFA: " + firstEight(id));
        setCachedAdvertisingId(std::move(id));
      }
      return;
    }
    case tracking_status::kNotDetermined:
      break;
    default:
      return;
  }
  if (!asksForPermission_) {
    KorvaneLogger::d(kTag, "[ATT] The app asks for tracking itself; reading again at activation");
    askAtNextActivation();
    return;
  }
  std::weak_ptr<DeviceUtils> weak = weak_from_this();
  platform_.mainThread->post([weak] {
    auto self = weak.lock();
    if (!self) return;
    KorvaneLogger::d(kTag, "[ATT] Requesting tracking authorization on main thread...");
    self->platform_.tracking->requestAuthorization([weak](long status) {
      auto owner = weak.lock();
      if (!owner) return;
      if (status == tracking_status::kNotDetermined) {
        // The system showed no prompt (another one was pending, or the app left the
        // foreground): the question is still open, so it is asked again at the next activation.
        KorvaneLogger::i(kTag, "[ATT] Prompt not shown, will retry when app becomes active");
        owner->platform_.mainThread->post([weak] {
          if (auto again = weak.lock()) again->askAtNextActivation();
        });
        return;
      }
      if (status == tracking_status::kAuthorized) {
        std::string id = owner->platform_.tracking->advertisingIdentifier();
        KorvaneLogger::i(kTag,
                         "[ATT] Authorization granted, updated to real IDFA: " + firstEight(id));
        owner->setCachedAdvertisingId(std::move(id));
      } else {
        KorvaneLogger::i(kTag, "[ATT] Authorization denied/restricted, keeping zero ID (status: " +
                                   std::to_string(status) + ")");
      }
    });
  });
}

}  // namespace korvane
