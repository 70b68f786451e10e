#pragma once

#include <string>

namespace korvane {

// The App Store's web host: https links to it leave the web view as universal links.
inline constexpr const char* kAppStoreWebHost = "apps.apple.com";

enum class NavigationDecision {
  closeOfferwall,     // "korvane://close" anywhere in the address
  openAppStore,       // itms-apps:
  openUniversalLink,  // https to the App Store's web pages
  allow,              // http, https, about, file, data
  openWithSystem,     // any other scheme: another app's
};

// Whether the decision hands the address to the system's URL opener.
bool handsToSystem(NavigationDecision decision);

// Tested in this order: the close address, the App Store scheme, App Store web links, the
// schemes a page may load, everything else.
NavigationDecision decideNavigation(const std::string& url);

// The address's scheme, lower-cased; empty when it has none.
std::string lowerCaseScheme(const std::string& url);

enum class LoadFailureResponse { ignore, showOfflinePage, reportError };

// A cancelled load is ignored; no connection, a lost connection and a timeout show the offline
// page; anything else goes to the host's onError.
LoadFailureResponse respondToLoadFailure(long urlErrorCode);

}  // namespace korvane
