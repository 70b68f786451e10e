#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "korvane/platform/web_view.h"
#include "offerwall/bridge_access.h"

namespace korvane {

// Why an address would be handed to the system's URL opener.
enum class OutsideOpening {
  browser,  // the external browser and the App Store: http, https and itms-apps only
  app,      // an app a page asks for (checkAppInstalled, a link with another scheme): those and
            // app schemes
};

// Whether `url` may leave the SDK for `purpose`. Never a scheme that reaches local files or inline
// content, runs script, shows the engine's own pages or mounts network shares (file:, javascript:,
// data:, about:, blob:, smb: and the like), whatever asks for it; the rule holds before every
// call to the platform's URL opener.
bool mayOpenOutside(std::string_view url, OutsideOpening purpose);

// The warning logged when an address is kept in.
std::string outsideOpeningRefusal(const std::string& url);

// Whether a navigation the policy would hand to the system (another app, the App Store) may go:
// when a person started it, or when the main frame of a trusted page did, as the offerwall's own
// pages script their store and app links (with the origin policy off, any page's main frame).
// Not by origin alone: an advertiser's offer page opens its app when the person taps. `pageUrl`
// is the address of the page shown. Nothing when it may go; otherwise the one warning to log.
std::optional<std::string> ungesturedOpeningRefusal(const BridgeTrust& trust,
                                                    const NavigationAction& action,
                                                    const std::optional<std::string>& pageUrl);

}  // namespace korvane
