#include "backend/network_manager.h"

#include "backend/record_codec.h"
#include "korvane/util/logger.h"
#include "korvane/version.h"
#include "util/url_text.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "NetworkManager";

}  // namespace

NetworkManager::NetworkManager(std::string sessionId) : sessionId_(std::move(sessionId)) {}

void NetworkManager::initialize(const KorvaneSdkConfig& config, std::shared_ptr<HttpClient> http) {
  const std::string baseUrl = config.apiBaseUrl();
  auto backend =
      std::make_tuple(baseUrl, config.appKey(), config.appSecret(), config.timeoutMillis());
  {
    std::lock_guard lock(mutex_);
    if (service_ && (!madeFor_ || *madeFor_ == backend)) return;
  }
  if (!url::isValid(baseUrl)) {
    KorvaneLogger::e(
        kTag, "Failed to initialize network manager: " + networkErrorInvalidUrl().description);
    return;
  }
  auto service = std::make_shared<ApiServiceImpl>(baseUrl, config, std::move(http));
  std::lock_guard lock(mutex_);
  service_ = std::move(service);
  madeFor_ = std::move(backend);
}

void NetworkManager::initialize(std::shared_ptr<ApiService> service) {
  std::lock_guard lock(mutex_);
  if (!service_) service_ = std::move(service);
}

bool NetworkManager::isInitialized() const {
  std::lock_guard lock(mutex_);
  return service_ != nullptr;
}

Result<std::shared_ptr<ApiService>> NetworkManager::apiService() const {
  std::lock_guard lock(mutex_);
  if (!service_) return networkErrorNotInitialized("Network manager not initialized");
  return service_;
}

void NetworkManager::login(const std::string& userId, const std::string& eventName,
                           const std::optional<std::string>& gender,
                           const std::optional<int>& birthYear,
                           const std::optional<std::string>& category, const JsonValue& parameters,
                           DeviceUtils& device, const Clock& clock,
                           ApiCompletion<LoginResponse> completion) {
  Result<std::shared_ptr<ApiService>> service = apiService();
  if (!service) return completion(service.error());

  LoginRequest request;
  request.userId = userId;
  request.gender = gender;
  if (birthYear) request.birthYear = std::to_string(*birthYear);
  LoginInfo& info = request.loginInfo;
  info.name = eventName;
  info.sdkVersion = kSdkVersion;
  info.timestamp = std::to_string(clock.nowMillis());
  info.sessionId = sessionId_;
  if (!userId.empty()) info.userId = userId;
  info.deviceId = device.getDeviceId();
  info.ifa = device.getAdvertisingId();
  info.platform = kPlatformName;
  info.osVersion = device.getOsVersion();
  info.parameters = parameters.is_object() ? parameters : JsonValue::object();
  if (category) info.parameters["category"] = *category;
  request.deviceInfo = device.makeDeviceInfo();

  KorvaneLogger::d(kTag, "=== Sending Login Request ===");
  KorvaneLogger::v(kTag, [&] { return "Device Info: " + json::dump(toJson(request.deviceInfo)); });
  service.value()->login(request, std::move(completion));
}

}  // namespace korvane
