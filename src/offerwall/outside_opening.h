#pragma once

#include <string>
#include <string_view>

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

}  // namespace korvane
