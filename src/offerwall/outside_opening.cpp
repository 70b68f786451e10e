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

bool TouchWindow::take(std::int64_t nowMillis) {
  if (!lastTouch_) return false;
  const std::int64_t since = nowMillis - *lastTouch_;
  if (since < 0 || since > kWindowMillis) return false;
  lastTouch_.reset();
  return true;
}

OpeningJudgement judgeOutsideOpening(const BridgeTrust& trust, const NavigationAction& action,
                                     bool refusedBefore, TouchWindow& touches,
                                     std::int64_t nowMillis) {
  using Verdict = OpeningJudgement::Verdict;
  const std::optional<FrameFacts>& source = action.source;
  if (source && source->mainFrame && (!trust.policyEnabled || trust.trusts(source->origin)))
    return {Verdict::open, {}};
  if (refusedBefore) {
    const std::string said =
        "the person said no to " + lowerCaseScheme(action.url) + ": addresses on this page";
    // Touched since: it may be the person's own link to that app; they are asked once more.
    return touches.take(nowMillis) ? OpeningJudgement{Verdict::ask, said + " before"}
                                   : OpeningJudgement{Verdict::refuse, said};
  }
  if (touches.take(nowMillis)) return {Verdict::open, {}};
  if (!source) return {Verdict::ask, "the web engine does not say which page asked"};
  const std::string origin = source->origin.empty() ? "(opaque)" : source->origin;
  return {Verdict::ask, source->mainFrame ? "origin " + origin + " is not trusted"
                                          : "it comes from a sub frame (origin " + origin + ")"};
}

PersonQuestion outsideOpeningQuestion(const std::string& url) {
  const NavigationDecision decision = decideNavigation(url);
  if (decision == NavigationDecision::openAppStore ||
      decision == NavigationDecision::openUniversalLink) {
    return {"App Store에서 여시겠습니까?", "이 페이지가 App Store를 열려고 합니다.", "열기",
            "취소"};
  }
  return {"다른 앱에서 여시겠습니까?",
          "이 페이지가 다른 앱(" + lowerCaseScheme(url) + ":)을 열려고 합니다.", "열기", "취소"};
}

}  // namespace korvane
