#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvane::attack {

// Which document a step acts in: the main frame of the page on top, the main frame of the
// offerwall's first page (under inner pages, still running), or a frame of the top page.
enum class Target { top, firstPage, frame0, frame1 };

enum class Action {
  navigate,         // the document navigates itself (How) to a Place
  addFrame,         // a frame of a Place: an origin's page, an app or store address, srcdoc...
  sandboxedFrame,   // the same, sandboxed with scripts allowed
  removeFrame,      // the last frame it added
  storm,            // a frame pointed at an app or store Place every 50 ms for 3 s
  bridge,           // a bridge message; openWebView and closeOpenWebView take a Place's page
  bridgeThenLeave,  // a message answered into the page, and at once to the attacker's page
                    // (before the message or after it)
  personClick,      // a person clicks the top page's offer link, pointed at an app or store Place
  slowBase,         // the offerwall's own address answers 1.5 s late from now on, or quickly again
};

enum class How { link, location, form, meta, back, windowOpen, blankLink };

enum class Place {
  trustedPage,
  attackerPage,
  trackerPage,
  slowTrustedPage,            // answered 1.5 s late
  trustedRedirect,            // a server redirect on the trusted origin to its page
  redirectToAttacker,         // from the trusted origin to the attacker's page
  attackerRedirectToTrusted,  // from the attacker's origin to the trusted page
  slowRedirectToTrusted,      // the same, 1.5 s late
  droppedTrustedPage,         // the connection drops mid-answer: the offline page
  appScheme,                  // hostileapp:
  appStoreScheme,             // itms-apps:
  appStoreWeb,                // https to the App Store's web host
  javascriptUrl,              // javascript: that sends the document to an app
  dataUrl,                    // data: with the agent in it
  blobUrl,                    // blob: with the agent in it, made by the document
  srcdoc,                     // frames only: the agent as srcdoc
  closeAddress,               // korvane://close
};

struct Step {
  std::size_t index = 0;
  Action action = Action::navigate;
  Target target = Target::top;
  How how = How::location;
  Place place = Place::trustedPage;
  std::string message;      // bridge and bridgeThenLeave: the message type
  bool on = true;           // slowBase
  bool leaveFirst = false;  // bridgeThenLeave: the page leaves, then sends the message
  // The attacker's and the tracker's pages this step loads set traps for the SDK's own scripts:
  // code of theirs that those scripts run (a setter, console.log) sends the page to an app.
  bool trapped = false;
  // Before the step, the person starts answering the SDK's questions with yes (or with no).
  std::optional<bool> answersFromNow;
};

// A sequence: where the offerwall is shown, whether its own address starts slow, the steps.
struct Plan {
  std::uint64_t seed = 0;
  bool embedded = false;  // KorvaneOfferwallView instead of the full-screen controller
  bool slowBase = false;
  std::vector<Step> steps;
};

// A pure function of the seed: std::mt19937_64 and plain modular picks, so that a seed replays
// the same on every standard library. The traps and the person's answers come from a second
// stream of the seed, so that they leave the first stream's steps as they were.
Plan planAttack(std::uint64_t seed, std::size_t steps);

// One line a person can read and replay by hand.
std::string describe(const Step& step);
std::string describe(const Plan& plan);

}  // namespace korvane::attack
