#include "korvane/platform/auth_interceptor_rules.h"

#include <algorithm>

#include "korvane/version.h"
#include "values/backend_urls.h"

namespace korvane::auth_interceptor {
namespace {

void setHeader(HttpHeaders& headers, const std::string& name, const std::string& value) {
  const auto sameName = [&](const auto& header) {
    return std::equal(header.first.begin(), header.first.end(), name.begin(), name.end(),
                      [](char a, char b) {
                        return std::tolower(static_cast<unsigned char>(a)) ==
                               std::tolower(static_cast<unsigned char>(b));
                      });
  };
  const auto existing = std::find_if(headers.begin(), headers.end(), sameName);
  if (existing != headers.end())
    existing->second = value;
  else
    headers.emplace_back(name, value);
}

}  // namespace

bool shouldIntercept(const std::optional<std::string>& url, bool alreadyMarked) {
  if (alreadyMarked || !url) return false;
  return url->find("." + std::string(backend::kRegisteredDomain)) != std::string::npos;
}

void decorate(HttpRequest& request, const std::optional<KorvaneSdkConfig>& config) {
  if (config) {
    setHeader(request.headers, "x-korvane-app-key", config->appKey());
    setHeader(request.headers, "x-korvane-app-secret", config->appSecret());
  }
  setHeader(request.headers, "User-Agent", kSdkUserAgentToken);
}

}  // namespace korvane::auth_interceptor
