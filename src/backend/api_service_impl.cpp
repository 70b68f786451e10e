#include <cmath>

#include "backend/gzip.h"
#include "backend/record_codec.h"
#include "backend/telemetry_json.h"
#include "korvane/backend/api_service.h"
#include "korvane/util/logger.h"
#include "korvane/version.h"
#include "util/url_text.h"
#include "util/utf8.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "ApiService";
constexpr std::chrono::milliseconds kRequestTimeout{60000};

bool isValidUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const utf8::Decoded d = utf8::decodeAt(text, i);
    if (d.codePoint == utf8::kInvalid) return false;
    i += d.length;
  }
  return true;
}

std::string describeHeaders(const HttpHeaders& headers) {
  json::Json object = json::Json::object();
  for (const auto& [name, value] : headers) object[name] = value;
  return json::dump(object);
}

std::string describeResponse(const HttpResponse& response) {
  return "HTTP " + std::to_string(response.status) + " " + describeHeaders(response.headers);
}

// An answer whose status says the call failed, with the response for telemetry and retries.
Error httpStatusError(const HttpResponse& response) {
  Error error{"ApiService", response.status, "HTTP " + std::to_string(response.status) + " error",
              "NSError"};
  error.userInfo = {{"NSLocalizedDescription", error.description},
                    {"response", describeResponse(response)}};
  return error;
}

// The verbose dump and decoding diagnostics that validate and login share.
template <typename T>
Result<T> decodeWithDiagnostics(const HttpResponse& response, std::string_view debugTitle) {
  KorvaneLogger::v(kTag, debugTitle);
  KorvaneLogger::v(kTag, [&] { return "Status Code: " + std::to_string(response.status); });
  KorvaneLogger::v(kTag, [&] { return "Headers: " + describeHeaders(response.headers); });
  if (isValidUtf8(response.body))
    KorvaneLogger::v(kTag, [&] { return "Raw JSON Response: " + response.body; });

  Result<T> decoded = json::decode<T>(response.body);
  if (!decoded) {
    const std::string text = "Decoding error: " + decoded.error().description;
    KorvaneLogger::print(text);
    KorvaneLogger::e(kTag, text);
    // The body goes with the rest of the verbose dump, not into every host's error log. The same
    // parse that just failed to decode; too deep a body is not shown.
    const Result<json::Json> parsed = json::parse(response.body);
    if (parsed && parsed.value().is_object()) {
      const json::Json& body = parsed.value();
      KorvaneLogger::v(kTag, [&] { return "Response as Dictionary: " + json::dump(body); });
      if (body.contains("app"))
        KorvaneLogger::v(kTag, [&] { return "App object contents: " + json::dump(body["app"]); });
    }
    return decoded;
  }
  const std::string text = "Successfully decoded response: " + json::dump(toJson(decoded.value()));
  KorvaneLogger::print(text);
  KorvaneLogger::d(kTag, text);
  return decoded;
}

// Turns a transport result into the endpoint's record, whatever the HTTP status.
template <typename T>
std::function<void(HttpResult)> decodingCompletion(ApiCompletion<T> completion) {
  return [completion = std::move(completion)](HttpResult result) {
    if (auto* failure = std::get_if<TransportError>(&result)) return completion(toError(*failure));
    completion(json::decode<T>(std::get<HttpResponse>(result).body));
  };
}

void logTelemetryHeaders(std::string_view title) {
  KorvaneLogger::d(kTag, title);
  KorvaneLogger::d(kTag, std::string("  - SDK Version: ") + kSdkVersion);
  KorvaneLogger::d(kTag, std::string("  - Platform: ") + kPlatformName);
}

}  // namespace

Error networkErrorNotInitialized(const std::string& message) {
  return Error{"NetworkError", 0, message, "NetworkError"};
}
Error networkErrorContextNotAvailable() {
  return Error{"NetworkError", 1, "Application context not available", "NetworkError"};
}
Error networkErrorInvalidUrl() {
  return Error{"NetworkError", 2, "Invalid URL", "NetworkError"};
}

ApiServiceImpl::ApiServiceImpl(std::string baseUrl, KorvaneSdkConfig config,
                               std::shared_ptr<HttpClient> http)
    : baseUrl_(std::move(baseUrl)),
      config_(std::move(config)),
      http_(std::move(http)),
      compressor_(std::make_unique<GzipCompressor>()) {}

ApiServiceImpl::~ApiServiceImpl() = default;

HttpRequest ApiServiceImpl::createRequest(const std::string& url, const std::string& method) const {
  HttpRequest request;
  request.method = method;
  request.url = url;
  request.timeout = kRequestTimeout;
  request.resourceTimeout = std::chrono::milliseconds(config_.timeoutMillis());
  request.headers = {{"Content-Type", "application/json"},
                     {"x-korvane-app-key", config_.appKey()},
                     {"x-korvane-app-secret", config_.appSecret()},
                     {"x-korvane-sdk-version", kSdkVersion},
                     {"x-korvane-platform", kPlatformName}};
  return request;
}

void ApiServiceImpl::compressRequestBody(HttpRequest& request, const std::string& body) {
  Result<std::string> compressed = compressor_->compress(body);
  if (!compressed) {
    const std::string text =
        "Failed to compress request, sending uncompressed: " + compressed.error().description;
    KorvaneLogger::print(text);
    KorvaneLogger::w(kTag, text);
    request.body = body;
    return;
  }
  request.body = std::move(compressed).value();
  request.headers.emplace_back("Content-Encoding", "gzip");
  KorvaneLogger::d(kTag, [&] {
    const auto before = static_cast<double>(body.size());
    const auto after = static_cast<double>(request.body.size());
    // An empty body has nothing to reduce; the ratio would be 0 / 0.
    const long reduction =
        body.empty() ? 0L : static_cast<long>(std::trunc((1.0 - after / before) * 100.0));
    return "Request compressed: " + std::to_string(body.size()) + " bytes → " +
           std::to_string(request.body.size()) + " bytes (" + std::to_string(reduction) +
           "% reduction)";
  });
}

void ApiServiceImpl::send(HttpRequest request, std::function<void(HttpResult)> completion) {
  http_->send(std::move(request), std::move(completion));
}

void ApiServiceImpl::validateApp(ApiCompletion<ValidateAppResponse> completion) {
  const std::string url = baseUrl_ + "/v1/api/sdk/validate";
  if (!url::isValid(url)) return completion(networkErrorInvalidUrl());
  send(createRequest(url, "GET"), [completion = std::move(completion)](HttpResult result) {
    if (auto* failure = std::get_if<TransportError>(&result)) return completion(toError(*failure));
    const HttpResponse& response = std::get<HttpResponse>(result);
    // A failing server is no verdict on the keys, whatever its body says: the SDK tries again.
    if (response.status >= 500) return completion(httpStatusError(response));
    Result<ValidateAppResponse> decoded =
        decodeWithDiagnostics<ValidateAppResponse>(response, "=== ValidateApp Response Debug ===");
    // A refusal of the keys stays one when its body cannot be read.
    if (!decoded && (response.status == 401 || response.status == 403))
      return completion(httpStatusError(response));
    completion(std::move(decoded));
  });
}

void ApiServiceImpl::login(const LoginRequest& loginRequest,
                           ApiCompletion<LoginResponse> completion) {
  const std::string url = baseUrl_ + "/v1/api/sdk/login";
  if (!url::isValid(url)) return completion(networkErrorInvalidUrl());
  HttpRequest request = createRequest(url, "POST");
  compressRequestBody(request, json::dump(toJson(loginRequest)));
  send(std::move(request), [completion = std::move(completion)](HttpResult result) {
    if (auto* failure = std::get_if<TransportError>(&result)) return completion(toError(*failure));
    completion(decodeWithDiagnostics<LoginResponse>(std::get<HttpResponse>(result),
                                                    "=== Login Response Debug ==="));
  });
}

namespace {
using QueryItems = std::vector<std::pair<std::string, std::string>>;
void addIfGiven(QueryItems& items, const char* name, const std::optional<std::string>& value) {
  if (value) items.emplace_back(name, *value);
}
}  // namespace

void ApiServiceImpl::getQuiz(const std::optional<std::string>& userId,
                             const std::optional<std::string>& platform, const std::string& ifa,
                             ApiCompletion<QuizResponse> completion) {
  QueryItems items;
  addIfGiven(items, "userId", userId);
  addIfGiven(items, "platform", platform);
  items.emplace_back("ifa", ifa);
  const std::string base = baseUrl_ + "/v1/api/sdk/quiz";
  if (!url::isValid(base)) return completion(networkErrorInvalidUrl());
  send(createRequest(url::withQuery(base, items), "GET"),
       decodingCompletion(std::move(completion)));
}

void ApiServiceImpl::getMissions(const std::optional<std::string>& userId,
                                 const std::optional<std::string>& platform, const std::string& ifa,
                                 ApiCompletion<MissionResponse> completion) {
  QueryItems items;
  addIfGiven(items, "userId", userId);
  addIfGiven(items, "platform", platform);
  items.emplace_back("ifa", ifa);
  const std::string base = baseUrl_ + "/v1/api/sdk/mission";
  if (!url::isValid(base)) return completion(networkErrorInvalidUrl());
  send(createRequest(url::withQuery(base, items), "GET"),
       decodingCompletion(std::move(completion)));
}

void ApiServiceImpl::getBannerInfo(const std::string& userId, const std::string& placementId,
                                   const std::string& platform,
                                   ApiCompletion<BannerInfoResponse> completion) {
  const std::string base = baseUrl_ + "/v1/api/sdk/banner";
  if (!url::isValid(base)) return completion(networkErrorInvalidUrl());
  const QueryItems items = {
      {"userId", userId}, {"placementId", placementId}, {"platform", platform}};
  send(createRequest(url::withQuery(base, items), "GET"),
       decodingCompletion(std::move(completion)));
}

void ApiServiceImpl::getPlacementUrl(const std::string& placementId,
                                     ApiCompletion<PlacementUrlResponse> completion) {
  const std::string base = baseUrl_ + "/v1/api/sdk/placement-url";
  if (!url::isValid(base)) return completion(networkErrorInvalidUrl());
  send(createRequest(url::withQuery(base, {{"placementId", placementId}}), "GET"),
       decodingCompletion(std::move(completion)));
}

void ApiServiceImpl::trackEvent(const TrackEventRequest& event, ApiCompletion<Unit> completion) {
  const std::string url = baseUrl_ + "/v1/api/sdk/event";
  if (!url::isValid(url)) return completion(networkErrorInvalidUrl());
  KorvaneLogger::d(kTag, [&] { return "TrackEvent URL: " + url; });
  logTelemetryHeaders("TrackEvent request headers:");
  HttpRequest request = createRequest(url, "POST");
  compressRequestBody(request, encodeTrackEventBody(event));
  // Only transport failures count: the answer is neither read nor checked.
  send(std::move(request), [completion = std::move(completion)](HttpResult result) {
    if (auto* failure = std::get_if<TransportError>(&result)) return completion(toError(*failure));
    completion(Unit{});
  });
}

void ApiServiceImpl::trackEventBatch(const EventBatch& batch,
                                     ApiCompletion<EventBatchResponse> completion) {
  const std::string url = baseUrl_ + "/v1/api/sdk/event/batch";
  if (!url::isValid(url)) return completion(networkErrorInvalidUrl());
  KorvaneLogger::d(kTag, [&] { return "Batch URL: " + url; });
  logTelemetryHeaders("Batch request headers:");
  const std::string body = encodeBatchBody(batch);
  KorvaneLogger::d(kTag, [&] { return "Batch request body (uncompressed): " + body; });
  HttpRequest request = createRequest(url, "POST");
  compressRequestBody(request, body);
  send(std::move(request), [completion = std::move(completion)](HttpResult result) {
    if (auto* failure = std::get_if<TransportError>(&result)) return completion(toError(*failure));
    const HttpResponse& response = std::get<HttpResponse>(result);
    KorvaneLogger::d(
        kTag, [&] { return "Batch response status code: " + std::to_string(response.status); });
    if (response.status >= 400) {
      KorvaneLogger::e(kTag, "Event batch failed with status: " + std::to_string(response.status));
      return completion(httpStatusError(response));
    }
    completion(json::decode<EventBatchResponse>(response.body));
  });
}

}  // namespace korvane
