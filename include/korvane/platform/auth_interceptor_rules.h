#pragma once

#include <optional>
#include <string>

#include "korvane/platform/http_client.h"
#include "korvane/values/sdk_config.h"

// What the request interceptor does, independent of the platform's URL-loading hooks (the iOS
// layer's NSURLProtocol subclass applies it): it takes requests to the backend's domain once, and
// gives them the SDK's credentials and user agent.
namespace korvane::auth_interceptor {

// The property that marks a request as already handled.
inline constexpr const char* kHandledMarker = "AuthInterceptor";

// True when a request for `url` should be taken: not yet marked, has a URL, and the URL
// contains "." followed by the backend's registered domain.
bool shouldIntercept(const std::optional<std::string>& url, bool alreadyMarked);

// Sets (replacing any earlier value) x-korvane-app-key and x-korvane-app-secret when a
// configuration is given, and always User-Agent "KorvaneSDK/<version>".
void decorate(HttpRequest& request, const std::optional<KorvaneSdkConfig>& config);

}  // namespace korvane::auth_interceptor
