#include "offerwall/navigation_policy.h"

#include <algorithm>
#include <cctype>

#include "util/url_text.h"

namespace korvane {

std::string lowerCaseScheme(const std::string& url) {
  const std::size_t colon = url.find(':');
  if (colon == std::string::npos || colon == 0) return {};
  std::string scheme = url.substr(0, colon);
  const bool valid = std::isalpha(static_cast<unsigned char>(scheme[0])) &&
                     std::all_of(scheme.begin(), scheme.end(), [](unsigned char c) {
                       return std::isalnum(c) || c == '+' || c == '-' || c == '.';
                     });
  if (!valid) return {};
  std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return scheme;
}

NavigationDecision decideNavigation(const std::string& url) {
  if (url.find("korvane://close") != std::string::npos) return NavigationDecision::closeOfferwall;
  const std::string scheme = lowerCaseScheme(url);
  if (scheme == "itms-apps") return NavigationDecision::openAppStore;
  // The store's host itself: the same text in a path or a query is an ordinary page's address.
  if (scheme == "https" && url::origin(url) == std::string("https://") + kAppStoreWebHost)
    return NavigationDecision::openUniversalLink;
  for (const char* allowed : {"http", "https", "about", "file", "data"})
    if (scheme == allowed) return NavigationDecision::allow;
  return NavigationDecision::openWithSystem;
}

bool handsToSystem(NavigationDecision decision) {
  return decision == NavigationDecision::openAppStore ||
         decision == NavigationDecision::openUniversalLink ||
         decision == NavigationDecision::openWithSystem;
}

LoadFailureResponse respondToLoadFailure(long urlErrorCode) {
  switch (urlErrorCode) {
    case -999:
      return LoadFailureResponse::ignore;
    case -1009:
    case -1005:
    case -1001:
      return LoadFailureResponse::showOfflinePage;
    default:
      return LoadFailureResponse::reportError;
  }
}

}  // namespace korvane
