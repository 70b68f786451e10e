#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "korvane/backend/app_records.h"
#include "korvane/backend/content_records.h"
#include "korvane/backend/telemetry_records.h"
#include "korvane/platform/http_client.h"
#include "korvane/values/error.h"
#include "korvane/values/sdk_config.h"

namespace korvane {

template <typename T>
using ApiCompletion = std::function<void(Result<T>)>;

// The SDK's backend calls. Each completion runs once: on the transport's thread, or at once on
// the caller's thread when the request cannot even be formed (an invalid URL).
class ApiService {
 public:
  virtual ~ApiService() = default;
  virtual void validateApp(ApiCompletion<ValidateAppResponse> completion) = 0;
  virtual void login(const LoginRequest& request, ApiCompletion<LoginResponse> completion) = 0;
  virtual void getQuiz(const std::optional<std::string>& userId,
                       const std::optional<std::string>& platform, const std::string& ifa,
                       ApiCompletion<QuizResponse> completion) = 0;
  virtual void getMissions(const std::optional<std::string>& userId,
                           const std::optional<std::string>& platform, const std::string& ifa,
                           ApiCompletion<MissionResponse> completion) = 0;
  virtual void getBannerInfo(const std::string& userId, const std::string& placementId,
                             const std::string& platform,
                             ApiCompletion<BannerInfoResponse> completion) = 0;
  virtual void getPlacementUrl(const std::string& placementId,
                               ApiCompletion<PlacementUrlResponse> completion) = 0;
  // Delivered once any HTTP answer arrives, whatever its status.
  virtual void trackEvent(const TrackEventRequest& request, ApiCompletion<Unit> completion) = 0;
  // Fails with domain "ApiService" and the status as code when the answer is 400 or above.
  virtual void trackEventBatch(const EventBatch& batch,
                               ApiCompletion<EventBatchResponse> completion) = 0;
};

// The backend calls over an HttpClient, with the SDK's headers and gzip-compressed bodies.
class GzipCompressor;

class ApiServiceImpl final : public ApiService {
 public:
  ApiServiceImpl(std::string baseUrl, KorvaneSdkConfig config, std::shared_ptr<HttpClient> http);
  ~ApiServiceImpl() override;

  void validateApp(ApiCompletion<ValidateAppResponse> completion) override;
  void login(const LoginRequest& request, ApiCompletion<LoginResponse> completion) override;
  void getQuiz(const std::optional<std::string>& userId, const std::optional<std::string>& platform,
               const std::string& ifa, ApiCompletion<QuizResponse> completion) override;
  void getMissions(const std::optional<std::string>& userId,
                   const std::optional<std::string>& platform, const std::string& ifa,
                   ApiCompletion<MissionResponse> completion) override;
  void getBannerInfo(const std::string& userId, const std::string& placementId,
                     const std::string& platform,
                     ApiCompletion<BannerInfoResponse> completion) override;
  void getPlacementUrl(const std::string& placementId,
                       ApiCompletion<PlacementUrlResponse> completion) override;
  void trackEvent(const TrackEventRequest& request, ApiCompletion<Unit> completion) override;
  void trackEventBatch(const EventBatch& batch,
                       ApiCompletion<EventBatchResponse> completion) override;

  // A request with the common headers, in order: Content-Type, x-korvane-app-key,
  // x-korvane-app-secret, x-korvane-sdk-version, x-korvane-platform.
  HttpRequest createRequest(const std::string& url, const std::string& method) const;
  // Fills the body with the gzip form of `body` (Content-Encoding: gzip), or with `body` itself
  // when compression fails. The compressor's state is kept from one body to the next.
  void compressRequestBody(HttpRequest& request, const std::string& body);

  const std::string& baseUrl() const { return baseUrl_; }

 private:
  void send(HttpRequest request, std::function<void(HttpResult)> completion);

  std::string baseUrl_;
  KorvaneSdkConfig config_;
  std::shared_ptr<HttpClient> http_;
  std::unique_ptr<GzipCompressor> compressor_;
};

// "Network manager not initialized" and the other failures of building a call.
Error networkErrorNotInitialized(const std::string& message);
Error networkErrorContextNotAvailable();
Error networkErrorInvalidUrl();

}  // namespace korvane
