#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/backend/app_records.h"
#include "korvane/backend/content_records.h"
#include "korvane/offerwall/offerwall_callback.h"
#include "korvane/platform/platform_services.h"
#include "korvane/platform/subscription.h"
#include "korvane/telemetry/event.h"
#include "korvane/util/json_value.h"
#include "korvane/util/logger.h"
#include "korvane/values/error.h"
#include "korvane/values/public_errors.h"
#include "korvane/values/sdk_config.h"
#include "korvane/values/sdk_readiness.h"
#include "korvane/values/sdk_user.h"

namespace korvane {
namespace offerwall {
class WarmOfferwall;
}

class KorvaneOfferwallViewController;
class PresentationAnchor;
class SdkSession;
class SdkContext;

// The host application's object. Platforms without one pass nothing; the SDK only keeps it
// (weakly) and never calls it.
using ApplicationHandle = std::weak_ptr<void>;

// The SDK's single entry point (process-wide through shared()). Call initialize once at launch;
// the SDK counts as initialised only after the backend has validated the app. Every method may be
// called from any thread, never throws, and reports refusals as a log line (plus the listener's
// onFailure for login). Listener callbacks run on the main thread.
class KorvaneSdk {
 public:
  // The process-wide facade, on the services of the platform library the application links
  // (platformServicesForProcess).
  static KorvaneSdk& shared();

  // Stores the configuration, starts the advertising identifier, the network layer and the
  // telemetry pipeline, then validates the app in the background. Refused when already
  // initialised and when the app key or secret is empty (logged). After its start ended the
  // app's process twice in a row the SDK starts in safe mode (no event-file load, no timers, no
  // tracking prompt); after a third time it stays inert until the app or SDK version changes:
  // initialize then returns the error KorvaneSdkError::inertAfterCrashes and every other call
  // does nothing but log.
  Status initialize(ApplicationHandle application, const KorvaneSdkConfig& sdkConfig);
  Status initialize(const KorvaneSdkConfig& sdkConfig) { return initialize({}, sdkConfig); }
  // The same, and `completion` hears on the main thread how the start went: ready, or failed and
  // why (also at once for a refused or duplicate call). A failure for the network, the server or
  // its answer is tried again by itself; observeStatus follows that.
  Status initialize(ApplicationHandle application, const KorvaneSdkConfig& sdkConfig,
                    std::function<void(const SdkStatus&)> completion);
  Status initialize(const KorvaneSdkConfig& sdkConfig,
                    std::function<void(const SdkStatus&)> completion) {
    return initialize({}, sdkConfig, std::move(completion));
  }
  // Where the start stands now.
  SdkStatus status() const;
  // The status now, then every change, on the main thread, until the Subscription ends.
  [[nodiscard]] Subscription observeStatus(std::function<void(const SdkStatus&)> observer);

  // Whether an offerwall for `placementId` can be shown now, and if not why; answered at once.
  OfferwallAvailability offerwallAvailability(const std::string& placementId) const;
  // The availability now, then each change (start, login, logout, network), on the main thread.
  [[nodiscard]] Subscription observeOfferwallAvailability(
      const std::string& placementId, std::function<void(const OfferwallAvailability&)> observer);

  // Makes `user` the current user and registers it with the backend. onSuccess follows even when
  // the backend request fails; onFailure only when not initialised or the user id is empty.
  void login(const KorvaneSdkUser& user,
             std::shared_ptr<KorvaneSdkLoginListener> listener = nullptr);
  // Tracks "user_logout" for the current user, then forgets it.
  void logout();
  // Whether the person agreed to the SDK's data use. Only for a configuration that waits for
  // consent (KorvaneSdkConfig::Builder::setWaitsForConsent): true starts what initialize left
  // waiting; false stops it again (no request, no advertising id, queued events stay on the
  // device) until the next true.
  void setConsent(bool given);

  bool isInitialized() const;
  bool isLoggedIn() const;
  std::optional<KorvaneSdkUser> getCurrentUser() const;
  std::optional<KorvaneSdkConfig> getConfig() const;
  std::string getSDKVersion() const;
  static void setLogLevel(LogLevel level);
  // The advertising identifier, or "00000000-0000-0000-0000-000000000000" when there is none.
  void getAdvertisingId(const std::function<void(std::string)>& completion) const;

  // Queues an event for the next batch ("session_start" and "user_login" go out at once).
  void trackEvent(EventType eventType, const std::string& category,
                  std::optional<JsonValue> payload = std::nullopt);
  void trackEventWithCustomName(const std::string& eventName, const std::string& category,
                                std::optional<JsonValue> payload = std::nullopt);
  // A custom event whose payload also carries the name under "event_name".
  void trackCustomEvent(const std::string& eventName, const std::string& category,
                        std::optional<JsonValue> payload = std::nullopt);
  // Asks the telemetry pipeline to send one batch now.
  void flushEvents();

  // Reports an SDK failure as an "sdk_error" event (unless telemetry is disabled).
  static void reportSdkError(std::string_view message, const Error* error, std::string_view layer);
  static bool telemetryEnabled();
  static void setTelemetryEnabled(bool enabled);

  // Offerwall launch. Each checks initialisation, then the user, reporting a refusal as a log
  // line and the callback's onError; then installs the callbacks (a given callback restarts the
  // once-only onClosed), presents the offerwall over `presenting` (an offerwall page, a screen the
  // platform knows, or the host's top screen when null), calls onOpened and records the opening.
  // Asked while an offerwall is closing (from its onClosed, say), all of that happens once the
  // closing one has left the screen. Call them on the main thread; from another thread they move
  // there.
  void openOfferwall(PresentationAnchor* presenting, const std::string& placementId,
                     std::shared_ptr<OfferwallCallback> callback = nullptr,
                     std::shared_ptr<OfferwallEventCallback> eventCallback = nullptr);
  void objc_openOfferwall(PresentationAnchor* presenting, const std::string& placementId) {
    openOfferwall(presenting, placementId);
  }
  // Loads the offerwall of `placementId` ahead of its opening, in a page kept off screen: its web
  // view made (the web process started), the page loaded with its bridge, its identification
  // headers and the current user. The next openOfferwall of that placement shows that page at
  // once and loads nothing again. One page is kept: preloading another placement replaces it. It
  // goes on logout, when another user logs in, 10 minutes after it was loaded, when the system is
  // short of memory, and when it fails to load or closes itself unseen; an opening without it
  // loads as always. Until it is shown the page opens nothing outside the app and its messages
  // wait. Refused with a log line as openOfferwall is (initialisation, user, offerwall address).
  // Any thread: the work moves to the main thread.
  void preloadOfferwall(const std::string& placementId);
  // At an address the host gives, optionally with a bar (in a navigation container when native).
  void openOfferwallWithUrl(const std::string& url, const std::string& placementId,
                            PresentationAnchor* presenting,
                            std::shared_ptr<OfferwallCallback> callback = nullptr,
                            std::shared_ptr<OfferwallEventCallback> eventCallback = nullptr,
                            bool showNavigationBar = false, bool useNativeNavigationBar = false);
  void objc_openOfferwallWithUrl(const std::string& url, const std::string& placementId,
                                 PresentationAnchor* presenting) {
    openOfferwallWithUrl(url, placementId, presenting);
  }
  // At the address the backend gives for the placement.
  void openOfferwallPindleAds(PresentationAnchor* presenting, const std::string& placementId,
                              std::shared_ptr<OfferwallCallback> callback = nullptr,
                              std::shared_ptr<OfferwallEventCallback> eventCallback = nullptr,
                              bool showNavigationBar = false, bool useNativeNavigationBar = false);
  // adjoe's web offerwall (PlaytimeWeb) at the address validation gave, completed with the
  // user's data, in the offerwall with the native bar. Refused (a warning and onError) without
  // initialisation, a user, adjoe enabled (the server's flag over the configuration) or an
  // address.
  void openAdjoeOfferwall(PresentationAnchor* presenting, const std::string& placementId,
                          std::shared_ptr<OfferwallCallback> callback = nullptr);
  // The banner for a placement, whatever its success flag. Refusals (KorvaneSdkError, domain
  // "KorvaneSDK"): turned off by the server or inert, not initialised, no user; at once on the
  // calling thread. Otherwise the completion runs on a background thread.
  void getBannerInfo(const std::string& placementId,
                     std::function<void(Result<BannerInfoResponse>)> completion);
  // Hands a web address to the system browser; true once the request was handed over.
  bool openExternalBrowser(const std::string& url, const std::string& placementId);
  // The offerwall address validation returned, if any.
  std::optional<std::string> getOfferwallUrl() const;

  // What validation returned (absent before, or when the backend sent no app record).
  std::optional<AppData> validatedAppData() const;

  KorvaneSdk(const KorvaneSdk&) = delete;
  KorvaneSdk& operator=(const KorvaneSdk&) = delete;

 private:
  explicit KorvaneSdk(std::function<PlatformServices()> platform);
  ~KorvaneSdk();
  std::shared_ptr<SdkSession> session() const;
  std::shared_ptr<const SdkContext> context() const;
  // The page kept for the offerwall of `placementId` at `url`, when it is still fit to show for
  // the current user; null otherwise. Main thread.
  std::shared_ptr<KorvaneOfferwallViewController> takePreloaded(const std::string& placementId,
                                                                const std::string& url);
  // The keeper of the preloaded page, made with the session's platform on first use.
  std::shared_ptr<offerwall::WarmOfferwall> warmOfferwall() const;
  // The keeper if one was made: nothing is made to be emptied.
  std::shared_ptr<offerwall::WarmOfferwall> existingWarmOfferwall() const;
  // Lets the kept page go (on the main thread) unless it was loaded for `userId`; any page when
  // there is none.
  void forgetPreloadedUnlessFor(const std::optional<std::string>& userId);

  friend class KorvaneSdkTestAccess;
  friend class FacadeAccess;
  friend class FacadeContext;
  std::function<PlatformServices()> platform_;
  mutable std::mutex sessionLock_;
  mutable std::shared_ptr<SdkSession> session_;
  mutable std::shared_ptr<offerwall::WarmOfferwall> warm_;
  // What the facade hands to the parts it makes; answers from the session of the moment.
  std::shared_ptr<const SdkContext> context_;
  // The host's telemetry switch, set on every session the facade makes.
  std::atomic<bool> telemetryEnabled_{true};
};

}  // namespace korvane
