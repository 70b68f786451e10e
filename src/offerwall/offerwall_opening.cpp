#include "offerwall/offerwall_opening.h"

#include "korvane/util/logger.h"
#include "offerwall/callback_slots.h"

namespace korvane::offerwall {
namespace {

constexpr std::string_view kFacadeTag = "KorvaneSdk";

void presentNow(const std::shared_ptr<KorvaneOfferwallViewController>& controller,
                const OpeningCallbacks& callbacks, PresentationAnchor* from,
                bool inNavigationContainer, const std::function<void()>& presented) {
  OfferwallSlots& slots = slotsOf(*controller);
  const OfferwallOpening previous = slots.opening();
  if (callbacks.restartOnClosed) slots.hasFiredOnClosed = false;
  slots.offerwallCallback = callbacks.callback;
  if (callbacks.eventCallback) slots.eventCallback = *callbacks.eventCallback;
  if (callbacks.returnsToOpener) returnToOpenerWhenEnded(*controller, previous);
  if (!controller->present(from, inNavigationContainer)) {
    slots.restore(previous);
    if (callbacks.callback)
      callbacks.callback->onError("Failed to open offerwall: it could not be presented");
    return;
  }
  if (callbacks.callback) callbacks.callback->onOpened();
  if (presented) presented();
}

}  // namespace

bool preconditionsHold(const SessionFacts& session, bool errorLevel,
                       const std::shared_ptr<OfferwallCallback>& callback,
                       const std::shared_ptr<MainThread>& mainThread) {
  const auto refuse = [&](const char* logged, const std::string& reported) {
    if (errorLevel) {
      KorvaneLogger::e(kFacadeTag, logged);
    } else {
      KorvaneLogger::w(kFacadeTag, logged);
    }
    if (!callback) return false;
    if (mainThread && !mainThread->isCurrent()) {
      mainThread->post([callback, text = reported] { callback->onError(text); });
    } else {
      callback->onError(reported);
    }
    return false;
  };
  if (std::optional<Error> off = session.refusal(SdkFeature::offerwall))
    return refuse(off->description.c_str(), off->description.c_str());
  if (!session.isInitialized()) {
    std::string reported = "SDK not initialized. Please initialize the SDK first.";
    // Which of the reasons it is: still starting, or failed and why.
    const SdkStatus status = session.status();
    if (status.state == SdkState::failed)
      reported += std::string(" Validation failed (") + rawValue(*status.reason) +
                  "): " + describe(*status.reason);
    return refuse("SDK not initialized", reported);
  }
  if (!session.currentUser())
    return refuse("User not logged in", "User not logged in. Please login first.");
  return true;
}

bool presentingScreenLost(const HeldAnchor& presenting, std::string_view tag,
                          const std::shared_ptr<OfferwallCallback>& callback) {
  if (!presenting.lost()) return false;
  const char* text = "The screen to present the offerwall over is gone; nothing was shown";
  KorvaneLogger::w(tag, text);
  if (callback) callback->onError(text);
  return true;
}

std::shared_ptr<KorvaneOfferwallViewController> offerwallFor(const Context& context,
                                                             const std::string& url) {
  auto controller = KorvaneOfferwallViewController::create(context);
  controller->baseUrl = url;
  if (std::optional<KorvaneSdkUser> user = context->session()->currentUser())
    controller->userId = user->userId();
  if (std::optional<KorvaneSdkConfig> config = context->session()->config())
    controller->appKey = config->appKey();
  return controller;
}

void presentOpening(const std::shared_ptr<KorvaneOfferwallViewController>& controller,
                    const OpeningCallbacks& callbacks, PresentationAnchor* from,
                    bool inNavigationContainer, std::function<void()> presented) {
  // A page presented over one that is closing would be taken down with it.
  slotsOf(*controller)
      .whenNoneClosing([controller, callbacks, held = HeldAnchor(from), inNavigationContainer,
                        presented = std::move(presented)] {
        if (presentingScreenLost(held, "KorvaneOfferwallViewController", callbacks.callback))
          return;
        presentNow(controller, callbacks, held.get(), inNavigationContainer, presented);
      });
}

void presentFullScreen(const std::shared_ptr<KorvaneOfferwallViewController>& controller,
                       const std::shared_ptr<OfferwallCallback>& callback,
                       PresentationAnchor* from) {
  presentOpening(controller, {callback, std::nullopt, true}, from);
}

void openOfferwallWithUrl(const Context& context, const std::string& url,
                          const std::string& placementId, PresentationAnchor* presenting,
                          const OpeningCallbacks& callbacks, bool showNavigationBar,
                          bool useNativeNavigationBar) {
  if (!preconditionsHold(*context->session(), false, callbacks.callback)) return;
  if (url.empty()) {
    KorvaneLogger::w(kFacadeTag, "URL is empty");
    if (callbacks.callback) callbacks.callback->onError("URL cannot be empty");
    return;
  }
  auto controller = offerwallFor(context, url);
  controller->placementId = placementId;
  controller->showNavigationBar = showNavigationBar;
  controller->useNativeNavigationBar = useNativeNavigationBar;
  presentOpening(controller, callbacks, presenting, useNativeNavigationBar,
                 [tracker = context->tracker(), url, placementId] {
                   tracker->trackEvent(EventType::custom, "offerwall",
                                       JsonValue{{"event_name", "custom_offerwall_opened"},
                                                 {"source", "sdk_api"},
                                                 {"url", url},
                                                 {"placementId", placementId}});
                 });
}

}  // namespace korvane::offerwall
