#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "context/sdk_context.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/platform/screen_presenter.h"

// Opening an offerwall page full screen: what the facade's open calls, the placements' mission,
// reward and quiz pages and adjoe's offerwall all go through. Main thread.
namespace korvane::offerwall {

// The off switch (the server's, or an inert SDK's) first, then initialisation, then the user; a
// refusal is logged (an error when `errorLevel`, else a warning) and reported to onError, on the
// main thread when `mainThread` is given and the caller is elsewhere.
bool preconditionsHold(const SessionFacts& session, bool errorLevel,
                       const std::shared_ptr<OfferwallCallback>& callback,
                       const std::shared_ptr<MainThread>& mainThread = nullptr);

// True, after a warning under `tag` and the callback's onError, when the screen the host named to
// present over went away while the opening waited: the offerwall is not shown somewhere the host
// did not ask for.
bool presentingScreenLost(const HeldAnchor& presenting, std::string_view tag,
                          const std::shared_ptr<OfferwallCallback>& callback);

// A controller for `url` carrying the current user and the app key.
std::shared_ptr<KorvaneOfferwallViewController> offerwallFor(const Context& context,
                                                             const std::string& url);

// The callbacks an opening brings: the event callback only when it sets one.
struct OpeningCallbacks {
  std::shared_ptr<OfferwallCallback> callback;
  std::optional<std::shared_ptr<OfferwallEventCallback>> eventCallback;
  bool restartOnClosed = true;  // a new once-only onClosed
  // An offerwall page asked for it: the callbacks it replaces go back when it ends.
  bool returnsToOpener = false;
};

// Makes the opening's callbacks the offerwall's, presents the controller full screen over `from`,
// reports onOpened and runs `presented`. When the platform refuses it, the callbacks in place
// before stay (they belong to the page still shown) and the opening's own callback hears onError
// instead. While an offerwall page is closing, all of this waits until it has left the screen.
void presentOpening(const std::shared_ptr<KorvaneOfferwallViewController>& controller,
                    const OpeningCallbacks& callbacks, PresentationAnchor* from,
                    bool inNavigationContainer = false, std::function<void()> presented = {});
// presentOpening with `callback` alone.
void presentFullScreen(const std::shared_ptr<KorvaneOfferwallViewController>& controller,
                       const std::shared_ptr<OfferwallCallback>& callback,
                       PresentationAnchor* from);

// KorvaneSdk::openOfferwallWithUrl on the main thread, with the opening's callbacks spelled out
// (an opening a page asks for returns the callbacks it replaces when it ends).
void openOfferwallWithUrl(const Context& context, const std::string& url,
                          const std::string& placementId, PresentationAnchor* presenting,
                          const OpeningCallbacks& callbacks, bool showNavigationBar,
                          bool useNativeNavigationBar);

}  // namespace korvane::offerwall
