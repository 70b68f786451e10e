#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

// The host's immutable SDK configuration. Made only by KorvaneSdkConfig::Builder::build(); copies
// are independent values, so a built configuration never changes.
class KorvaneSdkConfig {
 public:
  enum class Environment : int { production = 0, staging = 1, development = 2 };

  class Builder;

  const std::string& appKey() const { return appKey_; }
  const std::string& appSecret() const { return appSecret_; }
  Environment environment() const { return environment_; }
  std::int64_t timeoutMillis() const { return timeoutMillis_; }
  bool adjoeEnabled() const { return adjoeEnabled_; }
  const std::optional<std::string>& adjoeSdkHash() const { return adjoeSdkHash_; }

  // The API base URL requests go to: the builder's override when one was set, otherwise the
  // production URL for production and the staging URL for staging and development.
  std::string apiBaseUrl() const;
  bool hasApiBaseUrlOverride() const { return apiBaseUrlOverride_.has_value(); }

  // Origins the app trusts with the offerwall's bridge, besides the addresses the SDK loads
  // itself; each in normal form ("https://offers.example.com", default port dropped).
  const std::vector<std::string>& trustedOrigins() const { return trustedOrigins_; }
  // True unless the app turned the bridge's origin policy off (for its own testing).
  bool bridgeOriginPolicyEnabled() const { return bridgeOriginPolicyEnabled_; }
  // True when the SDK starts only once the app says the person agreed (KorvaneSdk::setConsent).
  bool waitsForConsent() const { return waitsForConsent_; }
  // False when the app asks for the tracking permission itself and the SDK never does.
  bool asksForTrackingPermission() const { return asksForTrackingPermission_; }

 private:
  KorvaneSdkConfig() = default;

  std::string appKey_;
  std::string appSecret_;
  Environment environment_ = Environment::production;
  std::int64_t timeoutMillis_ = 30000;
  bool adjoeEnabled_ = false;
  std::optional<std::string> adjoeSdkHash_;
  std::optional<std::string> apiBaseUrlOverride_;
  std::vector<std::string> trustedOrigins_;
  bool bridgeOriginPolicyEnabled_ = true;
  bool waitsForConsent_ = false;
  bool asksForTrackingPermission_ = true;
};

// Collects configuration fields; every setter returns the builder so calls chain.
class KorvaneSdkConfig::Builder {
 public:
  Builder(std::string appKey, std::string appSecret);

  Builder& setEnvironment(Environment environment);
  // Stored as given; no bound is enforced.
  Builder& setTimeoutMillis(std::int64_t timeoutMillis);
  Builder& enableAdjoe(std::string sdkHash);
  Builder& disableAdjoe();
  // Sends every backend request to this base URL instead of the environment's (staging,
  // self-hosted backends, local development). Paths are appended to it as text.
  Builder& setApiBaseUrl(std::string baseUrl);
  // Lets pages from `origin` ("https://offers.example.com"; a full address counts for its origin)
  // use every bridge message, like the offerwall's own pages. May be called several times; text
  // that names no origin is logged and ignored.
  Builder& addTrustedOrigin(std::string origin);
  // With false, every page and frame may use every bridge message. For the app's own testing;
  // the policy is on by default.
  Builder& setBridgeOriginPolicyEnabled(bool enabled);
  // With true, initialize stores the configuration and nothing more: no request, no tracking
  // permission asked, no advertising id read, no event kept, until KorvaneSdk::setConsent(true).
  // Off by default.
  Builder& setWaitsForConsent(bool waits);
  // With false, the SDK never shows the tracking-permission prompt; it reads the advertising id
  // only once the app's own prompt has allowed it. On by default.
  Builder& setAsksForTrackingPermission(bool asks);

  // Logs an error for an empty key or secret and builds anyway: only initialisation refuses them.
  KorvaneSdkConfig build() const;

 private:
  KorvaneSdkConfig fields_;
};

// Environment from its raw value; nothing for values outside 0...2.
std::optional<KorvaneSdkConfig::Environment> environmentFromRawValue(long rawValue);

}  // namespace korvane
