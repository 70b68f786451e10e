#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>

#include "korvane/backend/api_service.h"
#include "korvane/backend/device_utils.h"
#include "korvane/platform/clock.h"
#include "korvane/util/json_value.h"

namespace korvane {

// Owns the API service and the session id: the upper-case text of a random UUID made with the
// manager, sent with login and every telemetry event. The SDK's session makes one and keeps it
// (a process has one session, so one session id).
class NetworkManager {
 public:
  explicit NetworkManager(std::string sessionId);

  const std::string& sessionId() const { return sessionId_; }
  // Creates the API service for the configuration's base URL over `http`; does nothing when
  // already initialised for the same backend, keys and time-out, and replaces a service made for
  // others (a start that failed with a wrong secret can be corrected). A base URL that is not a
  // URL is logged and leaves the manager as it was.
  void initialize(const KorvaneSdkConfig& config, std::shared_ptr<HttpClient> http);
  // Uses the given service (tests, other transports), for good; does nothing when already
  // initialised.
  void initialize(std::shared_ptr<ApiService> service);
  bool isInitialized() const;
  // The service, or "Network manager not initialized".
  Result<std::shared_ptr<ApiService>> apiService() const;

  // Assembles the login request (login event, device description) and sends it.
  void login(const std::string& userId, const std::string& eventName,
             const std::optional<std::string>& gender, const std::optional<int>& birthYear,
             const std::optional<std::string>& category, const JsonValue& parameters,
             DeviceUtils& device, const Clock& clock, ApiCompletion<LoginResponse> completion);

 private:
  std::string sessionId_;
  mutable std::mutex mutex_;
  std::shared_ptr<ApiService> service_;
  // What the service was made for; none for a given one.
  std::optional<std::tuple<std::string, std::string, std::string, std::int64_t>> madeFor_;
};

}  // namespace korvane
