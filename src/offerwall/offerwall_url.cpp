#include "offerwall/offerwall_url.h"

#include "korvane/util/logger.h"
#include "korvane/version.h"
#include "util/url_text.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneOfferwallViewController";

bool present(const std::optional<std::string>& value) {
  return value && !value->empty();
}

}  // namespace

std::optional<std::string> composeOfferwallUrl(const OfferwallPage& page,
                                               const OfferwallDevice& device,
                                               bool includeQuizItems) {
  if (!page.baseUrl || !url::isValid(*page.baseUrl)) {
    KorvaneLogger::e(kTag, "Failed to parse offerwall base URL");
    return std::nullopt;
  }
  std::vector<std::pair<std::string, std::string>> items;
  if (page.userId) items.emplace_back("user_id", *page.userId);
  if (page.appKey) items.emplace_back("app_key", *page.appKey);
  if (present(page.placementId)) items.emplace_back("placement_id", *page.placementId);
  if (!page.advertisingId.empty()) items.emplace_back("ifa", page.advertisingId);
  if (includeQuizItems && page.contextType == "quiz") {
    if (page.quizId) items.emplace_back("quiz_id", *page.quizId);
    if (page.quizTitle) items.emplace_back("quiz_title", *page.quizTitle);
    items.emplace_back("context", "quiz");
  }
  items.emplace_back("device_id", device.deviceId);
  items.emplace_back("platform", kPlatformName);
  items.emplace_back("os_version", device.osVersion);
  items.emplace_back("device_model", device.deviceModel);
  items.emplace_back("device_manufacturer", "Apple");
  items.emplace_back("screen_width", std::to_string(device.screenWidth));
  items.emplace_back("screen_height", std::to_string(device.screenHeight));
  items.emplace_back("sdk_version", kSdkVersion);
  items.emplace_back("session_id", device.sessionId);
  items.emplace_back("timestamp", std::to_string(device.timestampMillis));
  std::string composed = url::withQuery(*page.baseUrl, items);
  if (!url::isValid(composed)) {
    KorvaneLogger::e(kTag, "Failed to compose offerwall URL from components");
    return std::nullopt;
  }
  return composed;
}

WebRequest offerwallRequest(const std::string& url, const OfferwallPage& page) {
  WebRequest request = plainRequest(url);
  if (page.appKey) request.headers.emplace_back("x-korvane-app-key", *page.appKey);
  if (page.userId) request.headers.emplace_back("x-korvane-user-id", *page.userId);
  if (!page.advertisingId.empty())
    request.headers.emplace_back("x-korvane-advertising-id", page.advertisingId);
  return request;
}

WebRequest plainRequest(const std::string& url) {
  WebRequest request;
  request.url = url;
  request.timeout = std::chrono::seconds(60);
  return request;
}

}  // namespace korvane
