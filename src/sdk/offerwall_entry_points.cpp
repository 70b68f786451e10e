// The facade's offerwall entry points.
#include "offerwall/offerwall_launch.h"

#include "util/url_text.h"
#include "sdk/sdk_session.h"
#include "korvane/core/korvane_sdk.h"
#include "korvane/core/logger.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "offerwall/outside_opening.h"
#include "placements/placement_support.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneSdk";

// Initialisation first, then the user; a refusal is logged and reported to onError, on the main
// thread when `mainThread` is given and the caller is elsewhere.
bool preconditionsHold(const KorvaneSdk& sdk, bool errorLevel,
                       const std::shared_ptr<OfferwallCallback>& callback,
                       const std::shared_ptr<MainThread>& mainThread = nullptr) {
  const auto refuse = [&](const char* logged, const char* reported) {
    if (errorLevel) {
      KorvaneLogger::e(kTag, logged);
    } else {
      KorvaneLogger::w(kTag, logged);
    }
    if (!callback) return false;
    if (mainThread && !mainThread->isCurrent()) {
      mainThread->post([callback, text = std::string(reported)] { callback->onError(text); });
    } else {
      callback->onError(reported);
    }
    return false;
  };
  if (!sdk.isInitialized())
    return refuse("SDK not initialized", "SDK not initialized. Please initialize the SDK first.");
  if (!sdk.isLoggedIn())
    return refuse("User not logged in", "User not logged in. Please login first.");
  return true;
}

placements::OpeningCallbacks openingCallbacks(std::shared_ptr<OfferwallCallback> callback,
                                              std::shared_ptr<OfferwallEventCallback> events) {
  const bool restart = callback != nullptr;
  return {std::move(callback), std::move(events), restart};
}

std::shared_ptr<KorvaneOfferwallViewController> makeController(const std::string& baseUrl,
                                                               const std::string& placementId) {
  auto controller = placements::offerwallFor(baseUrl);
  controller->placementId = placementId;
  return controller;
}

// UI work belongs to the main thread; a call from elsewhere is moved there.
bool movedToMainThread(std::function<void()> call) {
  std::shared_ptr<MainThread> mainThread =
      SdkInternals::session()->environment().platform.mainThread;
  if (!mainThread || mainThread->isCurrent()) return false;
  mainThread->post(std::move(call));
  return true;
}

}  // namespace

void KorvaneSdk::openOfferwall(PresentationAnchor* presenting, const std::string& placementId,
                               std::shared_ptr<OfferwallCallback> callback,
                               std::shared_ptr<OfferwallEventCallback> eventCallback) {
  if (movedToMainThread([=, this, held = HeldAnchor(presenting)] {
        if (!placements::presentingScreenLost(held, kTag, callback))
          openOfferwall(held.get(), placementId, callback, eventCallback);
      }))
    return;
  if (!preconditionsHold(*this, false, callback)) return;
  std::optional<AppData> app = validatedAppData();
  if (!app || app->korvaneHubUrl.empty()) {
    KorvaneLogger::w(kTag, "Offerwall URL not available");
    if (callback)
      callback->onError("Offerwall URL not available. Please check your app configuration.");
    return;
  }
  placements::presentOpening(
      makeController(app->korvaneHubUrl, placementId),
      openingCallbacks(callback, std::move(eventCallback)), presenting, false, [this, placementId] {
        trackEvent(EventType::offerwallOpened, "offerwall",
                   JsonValue{{"source", "sdk_api"}, {"placementId", placementId}});
      });
}

void KorvaneSdk::openOfferwallWithUrl(const std::string& url, const std::string& placementId,
                                      PresentationAnchor* presenting,
                                      std::shared_ptr<OfferwallCallback> callback,
                                      std::shared_ptr<OfferwallEventCallback> eventCallback,
                                      bool showNavigationBar, bool useNativeNavigationBar) {
  if (movedToMainThread([=, this, held = HeldAnchor(presenting)] {
        if (placements::presentingScreenLost(held, kTag, callback)) return;
        openOfferwallWithUrl(url, placementId, held.get(), callback, eventCallback,
                             showNavigationBar, useNativeNavigationBar);
      }))
    return;
  launch::openOfferwallWithUrl(url, placementId, presenting,
                               openingCallbacks(std::move(callback), std::move(eventCallback)),
                               showNavigationBar, useNativeNavigationBar);
}

void launch::openOfferwallWithUrl(const std::string& url, const std::string& placementId,
                                  PresentationAnchor* presenting,
                                  const placements::OpeningCallbacks& callbacks,
                                  bool showNavigationBar, bool useNativeNavigationBar) {
  KorvaneSdk& sdk = KorvaneSdk::shared();
  if (!preconditionsHold(sdk, false, callbacks.callback)) return;
  if (url.empty()) {
    KorvaneLogger::w(kTag, "URL is empty");
    if (callbacks.callback) callbacks.callback->onError("URL cannot be empty");
    return;
  }
  auto controller = makeController(url, placementId);
  controller->showNavigationBar = showNavigationBar;
  controller->useNativeNavigationBar = useNativeNavigationBar;
  placements::presentOpening(
      controller, callbacks, presenting, useNativeNavigationBar, [url, placementId] {
        KorvaneSdk::shared().trackEvent(EventType::custom, "offerwall",
                                        JsonValue{{"event_name", "custom_offerwall_opened"},
                                                  {"source", "sdk_api"},
                                                  {"url", url},
                                                  {"placementId", placementId}});
      });
}

void KorvaneSdk::openOfferwallPindleAds(PresentationAnchor* presenting,
                                        const std::string& placementId,
                                        std::shared_ptr<OfferwallCallback> callback,
                                        std::shared_ptr<OfferwallEventCallback> eventCallback,
                                        bool showNavigationBar, bool useNativeNavigationBar) {
  std::shared_ptr<SdkSession> session = SdkInternals::session();
  std::shared_ptr<MainThread> mainThread = session->environment().platform.mainThread;
  if (!preconditionsHold(*this, true, callback, mainThread)) return;
  const auto failed = [mainThread, callback](const Error& error) {
    const std::string text = "Failed to fetch placement URL: " + error.description;
    KorvaneLogger::e(kTag, text, error);
    if (callback) mainThread->post([callback, text] { callback->onError(text); });
  };
  Result<std::shared_ptr<ApiService>> api = session->environment().network->apiService();
  if (!api) return failed(api.error());
  const HeldAnchor held(presenting);
  api.value()->getPlacementUrl(placementId, [=, this](Result<PlacementUrlResponse> answer) {
    if (!answer) return failed(answer.error());
    mainThread->post([=, this, url = answer.value().url.value_or("")] {
      if (placements::presentingScreenLost(held, kTag, callback)) return;
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
  const PlatformServices& platform = SdkInternals::session()->environment().platform;
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
