#include "korvane/sdk/korvane_sdk.h"

#include "korvane/version.h"
#include "offerwall/warm_offerwall.h"
#include "placements/adjoe_manager.h"
#include "placements/banner_loading.h"
#include "sdk/facade_context.h"
#include "sdk/sdk_session.h"
#include "telemetry/error_telemetry.h"

namespace korvane {

SdkEnvironment defaultSdkEnvironment(PlatformServices platform) {
  SdkEnvironment environment;
  environment.platform = std::move(platform);
  // The session keeps it, and with it the session id, for as long as it lives.
  environment.network = std::make_shared<NetworkManager>(environment.platform.random->makeUuid());
  environment.tasks = environment.platform.tasks ? environment.platform.tasks
                                                 : std::make_shared<ThreadPoolExecutor>(2);
  environment.serial = environment.platform.serial ? environment.platform.serial
                                                   : std::make_shared<ThreadPoolExecutor>(1);
  return environment;
}

Context FacadeAccess::context() {
  return KorvaneSdk::shared().context();
}

void KorvaneSdkTestAccess::reset(KorvaneSdk& sdk, SdkEnvironment environment) {
  auto fresh = std::make_shared<SdkSession>(std::move(environment));
  std::shared_ptr<offerwall::WarmOfferwall> kept;
  std::lock_guard lock(sdk.sessionLock_);
  fresh->errorTelemetry()->setEnabled(sdk.telemetryEnabled_.load());
  sdk.session_ = std::move(fresh);
  // The kept page belongs to the platform of the session it was loaded in.
  kept = std::exchange(sdk.warm_, nullptr);
}

KorvaneSdk& KorvaneSdk::shared() {
  // Never destroyed: its background work may still run while the process exits. (A local class
  // may use the private constructor.)
  union Holder {
    Holder() : sdk([] { return platformServicesForProcess(); }) {}
    ~Holder() {}
    KorvaneSdk sdk;
  };
  static Holder holder;
  return holder.sdk;
}

KorvaneSdk::KorvaneSdk(std::function<PlatformServices()> platform)
    : platform_(std::move(platform)), context_(std::make_shared<FacadeContext>(*this)) {}
KorvaneSdk::~KorvaneSdk() = default;

// Made on first use, so that nothing of the platform is touched before the host calls in.
std::shared_ptr<SdkSession> KorvaneSdk::session() const {
  std::lock_guard lock(sessionLock_);
  if (!session_) {
    session_ = std::make_shared<SdkSession>(defaultSdkEnvironment(platform_()));
    session_->errorTelemetry()->setEnabled(telemetryEnabled_.load());
  }
  return session_;
}

std::shared_ptr<const SdkContext> KorvaneSdk::context() const {
  return context_;
}

Status KorvaneSdk::initialize(ApplicationHandle application, const KorvaneSdkConfig& sdkConfig) {
  return session()->initialize(std::move(application), sdkConfig);
}

void KorvaneSdk::login(const KorvaneSdkUser& user,
                       std::shared_ptr<KorvaneSdkLoginListener> listener) {
  if (isInitialized() && !user.userId().empty()) forgetPreloadedUnlessFor(user.userId());
  session()->login(user, std::move(listener));
}

void KorvaneSdk::logout() {
  forgetPreloadedUnlessFor(std::nullopt);
  session()->logout();
}
bool KorvaneSdk::isInitialized() const {
  return session()->isInitialized();
}
bool KorvaneSdk::isLoggedIn() const {
  return session()->currentUser().has_value();
}
std::optional<KorvaneSdkUser> KorvaneSdk::getCurrentUser() const {
  return session()->currentUser();
}
std::optional<KorvaneSdkConfig> KorvaneSdk::getConfig() const {
  return session()->config();
}
std::string KorvaneSdk::getSDKVersion() const {
  return kSdkVersion;
}
void KorvaneSdk::setLogLevel(LogLevel level) {
  KorvaneLogger::setLogLevel(level);
}

void KorvaneSdk::getAdvertisingId(const std::function<void(std::string)>& completion) const {
  if (completion) completion(session()->advertisingId());
}

void KorvaneSdk::trackEvent(EventType eventType, const std::string& category,
                            std::optional<JsonValue> payload) {
  session()->trackEvent(eventType, category, std::move(payload));
}

void KorvaneSdk::trackEventWithCustomName(const std::string& eventName, const std::string& category,
                                          std::optional<JsonValue> payload) {
  session()->trackEventWithCustomName(eventName, category, std::move(payload));
}

void KorvaneSdk::trackCustomEvent(const std::string& eventName, const std::string& category,
                                  std::optional<JsonValue> payload) {
  session()->trackCustomEvent(eventName, category, std::move(payload));
}

void KorvaneSdk::flushEvents() {
  session()->flushEvents();
}

void KorvaneSdk::reportSdkError(std::string_view message, const Error* error,
                                std::string_view layer) {
  KorvaneSdk& sdk = shared();
  std::shared_ptr<SdkSession> session;
  {
    std::lock_guard lock(sdk.sessionLock_);
    session = sdk.session_;
  }
  // Before the first session there is no telemetry to report through; none is made for it.
  if (session) session->errorTelemetry()->reportError(message, error, layer);
}
bool KorvaneSdk::telemetryEnabled() {
  return shared().telemetryEnabled_.load();
}
void KorvaneSdk::setTelemetryEnabled(bool enabled) {
  KorvaneSdk& sdk = shared();
  std::lock_guard lock(sdk.sessionLock_);
  sdk.telemetryEnabled_.store(enabled);
  if (sdk.session_) sdk.session_->errorTelemetry()->setEnabled(enabled);
}

std::optional<AppData> KorvaneSdk::validatedAppData() const {
  return session()->validatedAppData();
}
std::shared_ptr<EventBatchService> KorvaneSdkTestAccess::eventBatchService(const KorvaneSdk& sdk) {
  return sdk.session()->eventBatchService();
}

void KorvaneSdk::getBannerInfo(const std::string& placementId,
                               std::function<void(Result<BannerInfoResponse>)> completion) {
  if (!completion) completion = [](Result<BannerInfoResponse>) {};
  if (std::optional<Error> off = session()->refusal(SdkFeature::placements)) {
    KorvaneLogger::w("KorvaneSdk", off->description + ". Banner not loaded");
    return completion(*off);
  }
  if (!isInitialized()) return completion(Error{"KorvaneSDK", -1, "SDK not initialized"});
  std::optional<KorvaneSdkUser> user = getCurrentUser();
  if (!user) return completion(Error{"KorvaneSDK", -2, "User not logged in"});
  std::shared_ptr<SdkSession> session = this->session();
  session->environment().tasks->submit([session, placementId, userId = user->userId(),
                                        completion = std::move(completion)] {
    Result<std::shared_ptr<ApiService>> api = session->environment().network->apiService();
    if (!api) return completion(api.error());
    api.value()->getBannerInfo(userId, placementId, placements::kBannerPlatformWord, completion);
  });
}

void KorvaneSdk::openAdjoeOfferwall(PresentationAnchor* presenting, const std::string& placementId,
                                    std::shared_ptr<OfferwallCallback> callback) {
  KorvaneAdjoeManager::openOfferwall(context(), presenting, placementId, std::move(callback),
                                     AdjoeOpener::app);
}

}  // namespace korvane
