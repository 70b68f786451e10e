#include "korvane/values/sdk_config.h"

#include <algorithm>

#include "korvane/util/logger.h"
#include "util/url_text.h"
#include "values/backend_urls.h"

namespace korvane {

std::string KorvaneSdkConfig::apiBaseUrl() const {
  if (apiBaseUrlOverride_) return *apiBaseUrlOverride_;
  return std::string(environment_ == Environment::production ? backend::kProductionApiBaseUrl
                                                             : backend::kStagingApiBaseUrl);
}

KorvaneSdkConfig::Builder::Builder(std::string appKey, std::string appSecret) {
  fields_.appKey_ = std::move(appKey);
  fields_.appSecret_ = std::move(appSecret);
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::setEnvironment(Environment environment) {
  fields_.environment_ = environment;
  return *this;
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::setTimeoutMillis(std::int64_t timeoutMillis) {
  fields_.timeoutMillis_ = timeoutMillis;
  return *this;
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::enableAdjoe(std::string sdkHash) {
  fields_.adjoeEnabled_ = true;
  fields_.adjoeSdkHash_ = std::move(sdkHash);
  return *this;
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::disableAdjoe() {
  fields_.adjoeEnabled_ = false;
  fields_.adjoeSdkHash_.reset();
  return *this;
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::setApiBaseUrl(std::string baseUrl) {
  fields_.apiBaseUrlOverride_ = std::move(baseUrl);
  return *this;
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::addTrustedOrigin(std::string origin) {
  std::optional<std::string> normal = url::origin(origin);
  if (!normal) {
    KorvaneLogger::w("KorvaneSdkConfig", "Ignoring trusted origin that names no origin: " + origin);
    return *this;
  }
  std::vector<std::string>& origins = fields_.trustedOrigins_;
  if (std::find(origins.begin(), origins.end(), *normal) == origins.end())
    origins.push_back(std::move(*normal));
  return *this;
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::setBridgeOriginPolicyEnabled(bool enabled) {
  fields_.bridgeOriginPolicyEnabled_ = enabled;
  return *this;
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::setWaitsForConsent(bool waits) {
  fields_.waitsForConsent_ = waits;
  return *this;
}

KorvaneSdkConfig::Builder& KorvaneSdkConfig::Builder::setAsksForTrackingPermission(bool asks) {
  fields_.asksForTrackingPermission_ = asks;
  return *this;
}

KorvaneSdkConfig KorvaneSdkConfig::Builder::build() const {
  constexpr std::string_view kTag = "KorvaneSdkConfig";
  if (fields_.appKey_.empty())
    KorvaneLogger::e(kTag, "App Key is empty - initialization will fail");
  if (fields_.appSecret_.empty())
    KorvaneLogger::e(kTag, "App Secret is empty - initialization will fail");
  return fields_;
}

std::optional<KorvaneSdkConfig::Environment> environmentFromRawValue(long rawValue) {
  if (rawValue < 0 || rawValue > 2) return std::nullopt;
  return static_cast<KorvaneSdkConfig::Environment>(rawValue);
}

}  // namespace korvane
