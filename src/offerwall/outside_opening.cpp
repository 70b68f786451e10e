#include "offerwall/outside_opening.h"

#include <algorithm>
#include <array>

#include "offerwall/navigation_policy.h"
#include "util/url_text.h"

namespace korvane {
namespace {

// Schemes no page or app request may hand to the system: local files and inline content, script,
// the engine's and browser's own pages, and the network shares and virtual folders a desktop's
// file manager opens.
constexpr std::array<std::string_view, 36> kNeverOutside = {
    "file",     "javascript", "vbscript", "data",   "about",   "blob",  "filesystem", "view-source",
    "content",  "resource",   "chrome",   "jar",    "ftp",     "ftps",  "sftp",       "smb",
    "nfs",      "afp",        "dav",      "davs",   "webdav",  "ssh",   "telnet",     "trash",
    "computer", "network",    "recent",   "burn",   "archive", "admin", "mtp",        "gphoto2",
    "afc",      "ws",         "wss",      "korvane"};

}  // namespace

bool mayOpenOutside(std::string_view url, OutsideOpening purpose) {
  if (!url::isValid(url)) return false;
  const std::string scheme = lowerCaseScheme(std::string(url));
  if (scheme.empty() || scheme.starts_with("x-gvfs")) return false;
  if (scheme == "http" || scheme == "https" || scheme == "itms-apps") return true;
  if (purpose == OutsideOpening::browser) return false;
  return std::find(kNeverOutside.begin(), kNeverOutside.end(), scheme) == kNeverOutside.end();
}

std::string outsideOpeningRefusal(const std::string& url) {
  return "🚫 Not handing this URL to the system (scheme not allowed): " + url;
}

std::optional<std::string> ungesturedOpeningRefusal(const BridgeTrust& trust,
                                                    const NavigationAction& action,
                                                    const std::optional<std::string>& pageUrl) {
  if (action.userGesture) return std::nullopt;
  const bool trustedPage = !trust.policyEnabled || (pageUrl && trust.trusts(*pageUrl));
  if (action.mainFrame && trustedPage) return std::nullopt;
  std::string origin = pageUrl ? url::origin(*pageUrl).value_or("") : "";
  if (origin.empty()) origin = "(opaque)";
  return "🚫 Not opening a " + lowerCaseScheme(action.url) + ": address without a user gesture: " +
         (action.mainFrame ? "origin " + origin + " is not trusted"
                           : "it comes from a sub frame of a page of origin " + origin);
}

}  // namespace korvane
