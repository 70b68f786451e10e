#include "placements/placement_support.h"

#include "sdk/sdk_session.h"
#include "offerwall/offerwall_openings.h"

namespace korvane::placements {

bool refusedBeforeInitialization(std::string_view tag, std::string_view operation) {
  if (KorvaneSdk::shared().isInitialized()) return false;
  KorvaneLogger::w(tag, std::string(operation) + ": SDK not initialized");
  return true;
}

std::shared_ptr<ApiService> apiService(std::string_view tag) {
  Result<std::shared_ptr<ApiService>> api =
      SdkInternals::session()->environment().network->apiService();
  if (api) return api.value();
  KorvaneLogger::e(tag, "Failed to initialize API service: " + api.error().description);
  return nullptr;
}

std::string advertisingIdOrZero() {
  return SdkInternals::session()->device().cachedAdvertisingId().value_or(kZeroAdvertisingId);
}

void onMainThread(std::function<void()> work) {
  SdkInternals::session()->environment().platform.mainThread->post(std::move(work));
}

std::string decimalOrEmpty(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : std::string();
}

bool presentingScreenLost(const HeldAnchor& presenting, std::string_view tag,
                          const std::shared_ptr<OfferwallCallback>& callback) {
  if (!presenting.lost()) return false;
  const char* text = "The screen to present the offerwall over is gone; nothing was shown";
  KorvaneLogger::w(tag, text);
  if (callback) callback->onError(text);
  return true;
}

std::shared_ptr<KorvaneOfferwallViewController> offerwallFor(const std::string& url) {
  KorvaneSdk& sdk = KorvaneSdk::shared();
  auto controller = KorvaneOfferwallViewController::create();
  controller->baseUrl = url;
  if (std::optional<KorvaneSdkUser> user = sdk.getCurrentUser())
    controller->userId = user->userId();
  if (std::optional<KorvaneSdkConfig> config = sdk.getConfig())
    controller->appKey = config->appKey();
  return controller;
}

namespace {

void presentNow(const std::shared_ptr<KorvaneOfferwallViewController>& controller,
                const OpeningCallbacks& callbacks, PresentationAnchor* from,
                bool inNavigationContainer, const std::function<void()>& presented) {
  using Controller = KorvaneOfferwallViewController;
  const OfferwallOpening previous = currentOfferwallOpening();
  if (callbacks.restartOnClosed) Controller::setHasFiredOnClosed(false);
  Controller::setOfferwallCallback(callbacks.callback);
  if (callbacks.eventCallback) Controller::setEventCallback(*callbacks.eventCallback);
  if (callbacks.returnsToOpener) returnToOpenerWhenEnded(*controller, previous);
  if (!controller->present(from, inNavigationContainer)) {
    restoreOfferwallOpening(previous);
    if (callbacks.callback)
      callbacks.callback->onError("Failed to open offerwall: it could not be presented");
    return;
  }
  if (callbacks.callback) callbacks.callback->onOpened();
  if (presented) presented();
}

}  // namespace

void presentOpening(const std::shared_ptr<KorvaneOfferwallViewController>& controller,
                    const OpeningCallbacks& callbacks, PresentationAnchor* from,
                    bool inNavigationContainer, std::function<void()> presented) {
  // A page presented over one that is closing would be taken down with it.
  whenNoOfferwallIsClosing([controller, callbacks, held = HeldAnchor(from), inNavigationContainer,
                            presented = std::move(presented)] {
    if (presentingScreenLost(held, "KorvaneOfferwallViewController", callbacks.callback)) return;
    presentNow(controller, callbacks, held.get(), inNavigationContainer, presented);
  });
}

void presentFullScreen(const std::shared_ptr<KorvaneOfferwallViewController>& controller,
                       const std::shared_ptr<OfferwallCallback>& callback,
                       PresentationAnchor* from) {
  presentOpening(controller, {callback, std::nullopt, true}, from);
}

}  // namespace korvane::placements
