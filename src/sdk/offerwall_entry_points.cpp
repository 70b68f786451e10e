// The facade's offerwall entry points.
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/sdk/korvane_sdk.h"
#include "korvane/util/logger.h"
#include "offerwall/offerwall_opening.h"
#include "offerwall/outside_opening.h"
#include "sdk/sdk_session.h"
#include "util/url_text.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneSdk";

offerwall::OpeningCallbacks openingCallbacks(std::shared_ptr<OfferwallCallback> callback,
                                             std::shared_ptr<OfferwallEventCallback> events) {
  const bool restart = callback != nullptr;
  return {std::move(callback), std::move(events), restart};
}

// UI work belongs to the main thread; a call from elsewhere is moved there.
bool movedToMainThread(const SdkContext& context, std::function<void()> call) {
  const std::shared_ptr<MainThread>& mainThread = context.platform().mainThread;
  if (!mainThread || mainThread->isCurrent()) return false;
  mainThread->post(std::move(call));
  return true;
}

}  // namespace

void KorvaneSdk::openOfferwall(PresentationAnchor* presenting, const std::string& placementId,
                               std::shared_ptr<OfferwallCallback> callback,
                               std::shared_ptr<OfferwallEventCallback> eventCallback) {
  const Context context = this->context();
  if (movedToMainThread(*context, [=, this, held = HeldAnchor(presenting)] {
        if (!offerwall::presentingScreenLost(held, kTag, callback))
          openOfferwall(held.get(), placementId, callback, eventCallback);
      }))
    return;
  if (!offerwall::preconditionsHold(*context->session(), false, callback)) return;
  std::optional<AppData> app = context->session()->validatedAppData();
  if (!app || app->korvaneHubUrl.empty()) {
    KorvaneLogger::w(kTag, "Offerwall URL not available");
    if (callback)
      callback->onError("Offerwall URL not available. Please check your app configuration.");
    return;
  }
  // The page preloadOfferwall kept for this placement shows at once; otherwise a new one loads.
  auto controller = takePreloaded(placementId, app->korvaneHubUrl);
  if (!controller) controller = offerwall::offerwallFor(context, app->korvaneHubUrl);
  controller->placementId = placementId;
  offerwall::presentOpening(controller, openingCallbacks(callback, std::move(eventCallback)),
                            presenting, false, [tracker = context->tracker(), placementId] {
                              tracker->trackEvent(
                                  EventType::offerwallOpened, "offerwall",
                                  JsonValue{{"source", "sdk_api"}, {"placementId", placementId}});
                            });
}

void KorvaneSdk::openOfferwallWithUrl(const std::string& url, const std::string& placementId,
                                      PresentationAnchor* presenting,
                                      std::shared_ptr<OfferwallCallback> callback,
                                      std::shared_ptr<OfferwallEventCallback> eventCallback,
                                      bool showNavigationBar, bool useNativeNavigationBar) {
  const Context context = this->context();
  if (movedToMainThread(*context, [=, this, held = HeldAnchor(presenting)] {
        if (offerwall::presentingScreenLost(held, kTag, callback)) return;
        openOfferwallWithUrl(url, placementId, held.get(), callback, eventCallback,
                             showNavigationBar, useNativeNavigationBar);
      }))
    return;
  offerwall::openOfferwallWithUrl(context, url, placementId, presenting,
                                  openingCallbacks(std::move(callback), std::move(eventCallback)),
                                  showNavigationBar, useNativeNavigationBar);
}

void KorvaneSdk::openOfferwallPindleAds(PresentationAnchor* presenting,
                                        const std::string& placementId,
                                        std::shared_ptr<OfferwallCallback> callback,
                                        std::shared_ptr<OfferwallEventCallback> eventCallback,
                                        bool showNavigationBar, bool useNativeNavigationBar) {
  const Context context = this->context();
  std::shared_ptr<MainThread> mainThread = context->platform().mainThread;
  if (!offerwall::preconditionsHold(*context->session(), true, callback, mainThread)) return;
  const auto failed = [mainThread, callback](const Error& error) {
    const std::string text = "Failed to fetch placement URL: " + error.description;
    KorvaneLogger::e(kTag, text, error);
    if (callback) mainThread->post([callback, text] { callback->onError(text); });
  };
  Result<std::shared_ptr<ApiService>> api = context->backend()->apiService();
  if (!api) return failed(api.error());
  const HeldAnchor held(presenting);
  api.value()->getPlacementUrl(placementId, [=, this](Result<PlacementUrlResponse> answer) {
    if (!answer) return failed(answer.error());
    // A refusal or an answer without an address is the backend's failure, not an empty URL.
    if (!answer.value().success || !answer.value().url)
      return failed(Error{"KorvaneSDK", 0,
                          answer.value().message.value_or("The answer holds no placement URL"),
                          "PlacementUrlError"});
    mainThread->post([=, this, url = *answer.value().url] {
      if (offerwall::presentingScreenLost(held, kTag, callback)) return;
      openOfferwallWithUrl(url, placementId, held.get(), callback, eventCallback, showNavigationBar,
                           useNativeNavigationBar);
    });
  });
}

namespace {

// Asks the system whether it can open `url` and opens it; on the main thread.
bool handToSystem(const std::shared_ptr<UrlOpener>& opener, const std::string& url) {
  if (!opener || !opener->canOpen(url)) {
    KorvaneLogger::w(kTag, "Cannot open URL: " + url);
    return false;
  }
  opener->open(url, [url](bool opened) {
    if (!opened) KorvaneLogger::w(kTag, "Failed to open external browser for URL: " + url);
  });
  return true;
}

}  // namespace

bool KorvaneSdk::openExternalBrowser(const std::string& url, const std::string&) {
  if (std::optional<Error> off = context()->session()->refusal(SdkFeature::offerwall)) {
    KorvaneLogger::w(kTag, off->description + ". Browser not opened");
    return false;
  }
  if (url.empty()) {
    KorvaneLogger::w(kTag, "URL is empty");
    return false;
  }
  if (!url::isValid(url)) {
    KorvaneLogger::w(kTag, "Invalid URL format: " + url);
    return false;
  }
  if (!mayOpenOutside(url, OutsideOpening::browser)) {
    KorvaneLogger::w(kTag, outsideOpeningRefusal(url));
    return false;
  }
  const PlatformServices& platform = context()->platform();
  std::shared_ptr<UrlOpener> opener = platform.urlOpener;
  if (platform.mainThread && !platform.mainThread->isCurrent()) {
    // The system answers "can open" on the main thread only, and waiting for it here could
    // deadlock with a main thread that waits for this one: the check and the opening move there,
    // and the answer is that the URL was accepted.
    platform.mainThread->post([opener, url] { handToSystem(opener, url); });
    return true;
  }
  return handToSystem(opener, url);
}

std::optional<std::string> KorvaneSdk::getOfferwallUrl() const {
  std::optional<AppData> app = validatedAppData();
  if (!app) return std::nullopt;
  return app->korvaneHubUrl;
}

}  // namespace korvane
