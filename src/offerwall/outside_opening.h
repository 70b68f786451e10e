#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/platform/person_prompt.h"
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

// A person's touches on one web view, and the outside opening each allows. A touch allows one
// opening within kWindow of it: an offer's tap goes through a click tracker, its redirects and a
// landing page whose script sends the person to the store, which takes a few seconds on a slow
// mobile network; a page cannot save a touch for later or spend one twice.
class TouchWindow {
 public:
  static constexpr std::int64_t kWindowMillis = 10000;

  void touched(std::int64_t nowMillis) { lastTouch_ = nowMillis; }
  // Whether a touch allows an opening now; it is spent when it does.
  bool take(std::int64_t nowMillis);
  // Whether one was reported and not spent yet (within its window or not).
  bool pending() const { return lastTouch_.has_value(); }

 private:
  std::optional<std::int64_t> lastTouch_;
};

// How an address that the navigation policy would hand to the system (another app, the App
// Store) goes: at once, only if the person says yes, or not at all.
struct OpeningJudgement {
  enum class Verdict { open, ask, refuse };
  Verdict verdict = Verdict::ask;
  // Why it does not open at once (the engine's account of who asked), for the warning.
  std::string reason;
};

// At once when the trusted page's own main-frame document asked (any page's main frame with the
// origin policy off), or within a touch's window (which it spends). Anything else is asked of the
// person: a sub frame, an untrusted document, and a navigation whose asker the engine does not
// report. A scheme the person already refused on this page (`refusedBefore`) is not asked about
// again until the person touches the page, and then asked, never opened by the touch alone: a
// page that keeps trying cannot spend the person's next touch.
OpeningJudgement judgeOutsideOpening(const BridgeTrust& trust, const NavigationAction& action,
                                     bool refusedBefore, TouchWindow& touches,
                                     std::int64_t nowMillis);

// The question put to the person before `url` leaves for the App Store or another app.
PersonQuestion outsideOpeningQuestion(const std::string& url);

}  // namespace korvane
