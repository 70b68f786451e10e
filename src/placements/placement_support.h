#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/api/api_service.h"
#include "korvane/core/korvane_sdk.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/platform/screen_presenter.h"

namespace korvane::placements {

// True, after the warning "<operation>: SDK not initialized", when the SDK is not initialised.
bool refusedBeforeInitialization(std::string_view tag, std::string_view operation);
// The SDK's API service, or nothing after logging "Failed to initialize API service: " under
// `tag`.
std::shared_ptr<ApiService> apiService(std::string_view tag);
// The identifier the device layer cached, or the zero identifier.
std::string advertisingIdOrZero();
// Runs `work` on the main thread (queued even when called there, so callbacks never re-enter).
void onMainThread(std::function<void()> work);
// An optional number as decimal text, empty when absent.
std::string decimalOrEmpty(const std::optional<std::int64_t>& number);

// True, after a warning under `tag` and the callback's onError, when the screen the host named to
// present over went away while the opening waited: the offerwall is not shown somewhere the host
// did not ask for.
bool presentingScreenLost(const HeldAnchor& presenting, std::string_view tag,
                          const std::shared_ptr<OfferwallCallback>& callback);

// A controller for `url` carrying the current user and the app key.
std::shared_ptr<KorvaneOfferwallViewController> offerwallFor(const std::string& url);
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

}  // namespace korvane::placements
