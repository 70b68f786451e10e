#include "korvane/platform/auth_interceptor_rules.h"

#include <algorithm>
#include <string_view>

#include "korvane/version.h"
#include "util/url_text.h"
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

// The backend's own hosts only: an address that merely mentions the domain (in its query, its
// path, its user info or a longer host) belongs to another server, which must not receive the
// app's key and secret.
bool shouldIntercept(const std::optional<std::string>& url, bool alreadyMarked) {
  if (alreadyMarked || !url) return false;
  const std::optional<std::string> origin = url::origin(*url);
  if (!origin) return false;
  std::string_view host(*origin);
  host.remove_prefix(host.find("://") + 3);
  host = host.substr(0, host.find(':'));
  const std::string suffix = "." + std::string(backend::kRegisteredDomain);
  return host.size() > suffix.size() && host.ends_with(suffix);
}

void decorate(HttpRequest& request, const std::optional<KorvaneSdkConfig>& config) {
  if (config) {
    setHeader(request.headers, "x-korvane-app-key", config->appKey());
    setHeader(request.headers, "x-korvane-app-secret", config->appSecret());
  }
  setHeader(request.headers, "User-Agent", kSdkUserAgentToken);
}

}  // namespace korvane::auth_interceptor
