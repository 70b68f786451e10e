#include "sdk/sdk_session.h"

#include <chrono>

#include "korvane/version.h"
#include "telemetry/event_conversion.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneSdk";
constexpr const char* kCurrentUserIdKey = "currentUserId";

constexpr std::size_t kQueueCapacity = 500;
constexpr const char* kEventFileName = "korvane_events.json";
constexpr std::int64_t kEventFileMaxBytes = 10485760;
constexpr double kMaxEventAgeSeconds = 604800;
constexpr std::size_t kBatchSize = 20;
constexpr double kFlushIntervalSeconds = 30.0;

// The daily-active-user events skip the batch.
bool isDailyActiveUserEvent(const std::string& name) {
  return name == "session_start" || name == "user_login";
}

// A payload is a JSON object; anything else is dropped with a warning rather than sent half-typed.
// So is one nested deeper than the event file reads back, which would make the file unreadable.
std::optional<JsonValue> objectPayload(std::optional<JsonValue> payload) {
  if (payload && !payload->is_object()) {
    KorvaneLogger::w(kTag, "Event payload is not a JSON object; sending the event without it");
    return std::nullopt;
  }
  if (payload && !isWithinJsonDepth(*payload)) {
    KorvaneLogger::w(kTag, "Event payload nests deeper than " + std::to_string(kMaxJsonDepth) +
                               " levels; sending the event without it");
    return std::nullopt;
  }
  return payload;
}

}  // namespace

SdkSession::SdkSession(SdkEnvironment environment)
    : environment_(std::move(environment)),
      device_(DeviceUtils::create(environment_.platform)),
      guard_(environment_.platform.userDefaults,
             {environment_.platform.device ? environment_.platform.device->appVersion().value_or("")
                                           : std::string(),
              kSdkVersion},
             environment_.startupStep) {}

SdkSession::~SdkSession() {
  // The session's offerwall pages end with it, on the main thread where they live: the slots let
  // them go once the posted work has run or been dropped unrun (at once without a main thread).
  std::shared_ptr<OfferwallSlots> releasing(
      offerwallSlots_.get(), [slots = offerwallSlots_](OfferwallSlots*) { slots->release(); });
  if (const std::shared_ptr<MainThread>& mainThread = environment_.platform.mainThread) {
    mainThread->post([releasing] {});
  }
}

Status SdkSession::initialize(ApplicationHandle application, const KorvaneSdkConfig& config,
                              std::function<void(const SdkStatus&)> completion) {
  const std::shared_ptr<MainThread>& mainThread = environment_.platform.mainThread;
  if (isInitialized()) {
    KorvaneLogger::w(kTag, "SDK is already initialized. Ignoring duplicate initialization.");
    if (completion) mainThread->post([completion, status = status()] { completion(status); });
    return okStatus();
  }
  const char* refusedKeys = nullptr;
  if (config.appKey().empty()) refusedKeys = "App Key cannot be empty. Initialization failed.";
  if (!refusedKeys && config.appSecret().empty())
    refusedKeys = "App Secret cannot be empty. Initialization failed.";
  {
    std::lock_guard lock(statusLock_);
    if (completion) waitingForOutcome_.push_back(std::move(completion));
  }
  if (refusedKeys) {
    KorvaneLogger::e(kTag, refusedKeys);
    setStatus({SdkState::failed, SdkFailureReason::refusedKeys, refusedKeys});
    return okStatus();
  }
  {
    std::lock_guard lock(setupLock_);
    application_ = std::move(application);
    config_ = config;
  }
  {
    std::lock_guard lock(statusLock_);
    if (!retry_) {
      retry_ = ValidationRetry::create(mainThread, environment_.platform.random,
                                       environment_.platform.reachability,
                                       [weak = weak_from_this(), serial = environment_.serial] {
                                         serial->submit([weak] {
                                           if (auto self = weak.lock()) self->validate();
                                         });
                                       });
    }
  }
  // The app asked again: whatever waited for a retry goes now.
  retry_->reset();
  if (config.waitsForConsent() && !consent_.load()) {
    awaitingConsent_ = true;
    KorvaneLogger::i(kTag, "Waiting for consent: nothing is sent or read until setConsent(true)");
    return okStatus();
  }
  return start(config);
}

// What initialize starts, or setConsent(true) when the configuration waits for consent. The
// start-up guard watches from here until the serial queue has done its share.
Status SdkSession::start(const KorvaneSdkConfig& config) {
  std::lock_guard starting(startLock_);
  // Safe mode leaves out what could have ended the last starts and what would wake the app.
  const StartupMode mode = beginStart();
  if (mode == StartupMode::inert) {
    Error inert = *refusal(SdkFeature::sdk);
    setStatus({SdkState::failed, SdkFailureReason::disabled, inert.description});
    return inert;
  }
  const bool normal = mode == StartupMode::normal;
  watchNetworkForReadiness();

  if (normal) {
    device_->setAsksForTrackingPermission(config.asksForTrackingPermission());
    device_->initializeAdvertisingIdSync();
    KorvaneLogger::d(kTag, "Advertising ID initialized synchronously");
  }

  environment_.network->initialize(config, environment_.platform.http);

  if (normal) {
    KorvaneLogger::d(kTag, "Creating EventBatchService...");
    std::shared_ptr<EventBatchService> service = startTelemetry();
    KorvaneLogger::d(kTag, "EventBatchService created successfully");

    errorTelemetry_->install(service, kSdkVersion, environment_.platform.diagnostics,
                             environment_.platform.clock, environment_.platform.random);
    KorvaneLogger::setTelemetrySink(errorTelemetry_->loggerSink());
  }

  KorvaneLogger::d(kTag, config.adjoeEnabled() ? "Adjoe is enabled (uses PlaytimeWeb on iOS)"
                                               : "Adjoe is disabled");

  // The start has finished once the serial queue has done its share (the event file's load).
  environment_.serial->submit([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->guard_.finish();
  });
  environment_.serial->submit([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->validate();
  });
  return okStatus();
}

void SdkSession::setConsent(bool given) {
  consent_ = given;
  const std::optional<KorvaneSdkConfig> stored = config();
  if (!stored || !stored->waitsForConsent()) {
    KorvaneLogger::d(kTag, std::string("Consent ") + (given ? "given" : "withdrawn") +
                               "; the configuration does not wait for it");
    return;
  }
  if (given) {
    if (!awaitingConsent_.exchange(false)) return;
    KorvaneLogger::i(kTag, "Consent given: the SDK starts");
    (void)start(*stored);
    return;
  }
  if (awaitingConsent_.exchange(true)) return;
  KorvaneLogger::i(kTag, "Consent withdrawn: the SDK stops sending and reading until it is given");
  stop();
}

// Back to where initialize left a start that waits for consent: nothing sends, nothing is
// read, and what the queue held waits in the event file on this device.
void SdkSession::stop() {
  retry_->reset();
  initialized_.store(false, std::memory_order_release);
  {
    std::lock_guard lock(validatedAppDataLock_);
    validatedAppData_.reset();
  }
  device_->forgetAdvertisingId();
  std::shared_ptr<EventBatchService> service;
  {
    std::lock_guard lock(setupLock_);
    service = std::exchange(eventBatchService_, nullptr);
  }
  if (service) environment_.serial->submit([service] { service->handleAppTermination(); });
  setStatus({SdkState::notStarted, std::nullopt, ""});
}

std::shared_ptr<EventBatchService> SdkSession::startTelemetry() {
  const PlatformServices& platform = environment_.platform;
  BatchServiceDependencies deps;
  deps.queue = std::make_shared<EventQueueManager>(kQueueCapacity);
  // The service cleans the file up and reads it on the serial queue, not here.
  deps.persistence = std::make_shared<EventPersistenceManager>(
      platform.documents, platform.clock, kEventFileName, kEventFileMaxBytes, kMaxEventAgeSeconds);
  deps.api = [network = environment_.network] { return network->apiService(); };
  deps.context = [weak = weak_from_this()] {
    auto self = weak.lock();
    return self ? self->sendContext() : SendContext{};
  };
  deps.mainThread = platform.mainThread;
  deps.clock = platform.clock;
  deps.random = platform.random;
  deps.lifecycle = platform.lifecycle;
  deps.reachability = platform.reachability;
  deps.executor = environment_.tasks;
  deps.serial = environment_.serial;
  deps.backgroundTime = platform.backgroundTime;

  std::shared_ptr<EventBatchService> previous;
  {
    std::lock_guard lock(setupLock_);
    previous = eventBatchService_;
  }
  // A repeated initialize (after a refused validation) replaces the service; what the old one
  // still holds goes to the event file first, and the new service loads it from there. Both on
  // the serial queue, in that order.
  if (previous) environment_.serial->submit([previous] { previous->handleAppTermination(); });
  environment_.serial->submit([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->guard_.reached("event file load", true);
  });
  std::shared_ptr<EventBatchService> service =
      EventBatchService::create(std::move(deps), kBatchSize, kFlushIntervalSeconds);
  std::lock_guard lock(setupLock_);
  eventBatchService_ = service;
  return service;
}

void SdkSession::validate() {
  if (awaitingConsent_) return;
  setStatus({SdkState::validating, std::nullopt, ""});
  Result<std::shared_ptr<ApiService>> api = environment_.network->apiService();
  if (!api) return finishValidation(api.error());
  api.value()->validateApp([weak = weak_from_this()](Result<ValidateAppResponse> answer) {
    if (auto self = weak.lock()) self->finishValidation(std::move(answer));
  });
}

// A decoded answer validates unless it refuses the keys ("success": false and no app): a refused
// start stays uninitialised, so that initialize can run again with corrected keys.
void SdkSession::finishValidation(Result<ValidateAppResponse> answer) {
  if (awaitingConsent_) return;  // consent was withdrawn while the request was out
  const SdkStatus outcome = statusAfterValidation(answer);
  if (!answer) {
    KorvaneLogger::e(kTag, "SDK validation failed: " + answer.error().description, answer.error());
    setStatus(outcome);
    retry_->failed(*outcome.reason);
    return;
  }
  if (outcome.reason == SdkFailureReason::refusedKeys) {
    KorvaneLogger::e(kTag, "SDK validation failed: " + outcome.message);
    setStatus(outcome);
    retry_->failed(*outcome.reason);
    return;
  }
  std::optional<AppData> app = std::move(answer.value().app);
  {
    std::lock_guard lock(validatedAppDataLock_);
    validatedAppData_ = app;
  }
  applyServerSwitch(app.value_or(AppData{}));
  if (app && (app->trackEventBatchCount || app->trackEventBatchIntervalMs)) {
    std::optional<double> seconds;
    if (app->trackEventBatchIntervalMs) seconds = *app->trackEventBatchIntervalMs / 1000.0;
    if (auto service = eventBatchService())
      service->updateBatchConfiguration(app->trackEventBatchCount, seconds);
    KorvaneLogger::i(kTag, [&] {
      return "Event batch configuration updated from server - Count: " +
             (app->trackEventBatchCount ? std::to_string(*app->trackEventBatchCount)
                                        : std::string("default")) +
             ", Interval: " +
             (app->trackEventBatchIntervalMs
                  ? std::to_string(*app->trackEventBatchIntervalMs) + " ms"
                  : std::string("default"));
    });
  }
  initialized_.store(true, std::memory_order_release);
  (void)environment_.platform.userDefaults->getString(kCurrentUserIdKey);
  KorvaneLogger::i(kTag, "SDK validated successfully with server");
  KorvaneLogger::d(kTag, "Offerwall URL: " + (app ? app->korvaneHubUrl : std::string()));
  retry_->reset();
  reportSafeModeOnce();
  if (std::optional<Error> off = refusal(SdkFeature::sdk))
    return setStatus({SdkState::failed, SdkFailureReason::disabled, off->description});
  setStatus(outcome);
}

SdkStatus SdkSession::status() const {
  std::lock_guard lock(statusLock_);
  return status_;
}

// Observers and completions hear each change in order: every delivery is posted to the main
// thread as it happens.
void SdkSession::setStatus(SdkStatus status) {
  std::vector<std::function<void(const SdkStatus&)>> outcomeHeard;
  bool changed = false;
  {
    std::lock_guard lock(statusLock_);
    changed = status_ != status;
    status_ = status;
    if (status.state == SdkState::ready || status.state == SdkState::failed)
      outcomeHeard.swap(waitingForOutcome_);
  }
  if (!changed) {
    if (!outcomeHeard.empty())
      environment_.platform.mainThread->post([status, outcomeHeard = std::move(outcomeHeard)] {
        for (const auto& completion : outcomeHeard) completion(status);
      });
    return;
  }
  environment_.platform.mainThread->post(
      [weak = weak_from_this(), status, outcomeHeard = std::move(outcomeHeard)] {
        for (const auto& completion : outcomeHeard) completion(status);
        if (auto self = weak.lock()) {
          self->statusObservers_.notify(status);
          self->readinessObservers_.notify();
        }
      });
}

Subscription SdkSession::observeStatus(std::function<void(const SdkStatus&)> observer) {
  return startingWith(statusObservers_.add(observer), [weak = weak_from_this(), observer] {
    if (auto self = weak.lock()) observer(self->status());
  });
}

Subscription SdkSession::startingWith(Subscription observation, std::function<void()> first) {
  auto ended = std::make_shared<std::atomic<bool>>(false);
  auto held = std::make_shared<Subscription>(std::move(observation));
  environment_.platform.mainThread->post([first = std::move(first), ended] {
    if (!ended->load()) first();
  });
  return Subscription([ended, held] {
    ended->store(true);
    held->reset();
  });
}

Subscription SdkSession::observeReadinessChanges(std::function<void()> observer) {
  watchNetworkForReadiness();
  return readinessObservers_.add(std::move(observer));
}

void SdkSession::readinessChanged() {
  if (readinessObservers_.empty()) return;
  environment_.platform.mainThread->post([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->readinessObservers_.notify();
  });
}

void SdkSession::watchNetworkForReadiness() {
  const std::shared_ptr<Reachability>& reachability = environment_.platform.reachability;
  if (!reachability || watchingNetwork_.exchange(true)) return;
  Subscription observation = reachability->subscribe([weak = weak_from_this()](bool) {
    if (auto self = weak.lock()) self->readinessChanged();
  });
  std::lock_guard lock(statusLock_);
  networkObservation_ = std::move(observation);
}

void SdkSession::login(const KorvaneSdkUser& user,
                       std::shared_ptr<KorvaneSdkLoginListener> listener) {
  const auto refuse = [&](KorvaneLoginError error) {
    KorvaneLogger::w(kTag, std::string("Login refused: ") + description(error));
    if (listener)
      environment_.platform.mainThread->post([listener, error] { listener->onFailure(error); });
  };
  if (!isInitialized() || refused(SdkFeature::sdk, "Login refused"))
    return refuse(KorvaneLoginError::notInitialized);
  if (user.userId().empty()) return refuse(KorvaneLoginError::invalidUserId);

  // The user changes here, not on the serial queue, so that the host's last call wins: a logout
  // or another login right after this one finds this user and logs it out.
  if (std::optional<std::string> previous = currentUserId();
      previous && *previous != user.userId()) {
    logout();
  }
  {
    std::lock_guard lock(currentUserLock_);
    currentUser_ = user;
  }
  environment_.platform.userDefaults->setString(kCurrentUserIdKey, user.userId());
  readinessChanged();

  environment_.serial->submit([weak = weak_from_this(), user, listener] {
    auto self = weak.lock();
    if (!self) return;
    std::optional<std::string> gender;
    if (user.gender()) gender = stringValue(*user.gender());
    self->environment_.network->login(
        user.userId(), "user_login", gender, user.birthYear(), "authentication",
        JsonValue{{"user_id", user.userId()}}, *self->device_, *self->environment_.platform.clock,
        [weak, userId = user.userId(), listener](Result<LoginResponse> answer) {
          if (auto alive = weak.lock()) alive->finishLogin(userId, answer, listener);
        });
  });
}

void SdkSession::finishLogin(const std::string& userId, const Result<LoginResponse>& answer,
                             std::shared_ptr<KorvaneSdkLoginListener> listener) {
  if (answer) {
    KorvaneLogger::i(
        kTag, std::string("Login successful: ") + (answer.value().success ? "true" : "false"));
  } else {
    KorvaneLogger::w(kTag, "Login failed but continuing: " + answer.error().description);
  }
  // The listener hears success once "session_start" is on its way, not when it has arrived.
  sendImmediatelyAs("session_start", "session", JsonValue{{"user_id", userId}}, userId, nullptr);
  if (listener) environment_.platform.mainThread->post([listener] { listener->onSuccess(); });
}

void SdkSession::logout() {
  if (startMode_.load() == StartupMode::inert && refused(SdkFeature::sdk, "Logout ignored")) return;
  if (std::optional<std::string> userId = currentUserId()) {
    trackEvent(EventType::custom, "authentication",
               JsonValue{{"event_name", "user_logout"}, {"user_id", *userId}});
  }
  {
    std::lock_guard lock(currentUserLock_);
    currentUser_.reset();
  }
  environment_.platform.userDefaults->remove(kCurrentUserIdKey);
  readinessChanged();
}

std::optional<KorvaneSdkUser> SdkSession::currentUser() const {
  std::lock_guard lock(currentUserLock_);
  return currentUser_;
}

std::optional<std::string> SdkSession::currentUserId() const {
  std::lock_guard lock(currentUserLock_);
  if (!currentUser_) return std::nullopt;
  return currentUser_->userId();
}

std::optional<KorvaneSdkConfig> SdkSession::config() const {
  std::lock_guard lock(setupLock_);
  return config_;
}

std::optional<AppData> SdkSession::validatedAppData() const {
  std::lock_guard lock(validatedAppDataLock_);
  return validatedAppData_;
}

std::shared_ptr<EventBatchService> SdkSession::eventBatchService() const {
  std::lock_guard lock(setupLock_);
  return eventBatchService_;
}

SendContext SdkSession::sendContext() const {
  return SendContext{environment_.network->sessionId(), currentUserId(), device_->getDeviceId(),
                     device_->getAdvertisingId(), device_->getOsVersion()};
}

double SdkSession::nowMillis() const {
  const auto sinceEpoch = environment_.platform.clock->now().time_since_epoch();
  return std::chrono::duration<double, std::milli>(sinceEpoch).count();
}

void SdkSession::sendImmediately(const std::string& name, const std::string& category,
                                 std::optional<JsonValue> payload,
                                 std::function<void(const Status&)> then) {
  sendImmediatelyAs(name, category, std::move(payload), currentUserId(), std::move(then));
}

void SdkSession::sendImmediatelyAs(const std::string& name, const std::string& category,
                                   std::optional<JsonValue> payload,
                                   std::optional<std::string> userId,
                                   std::function<void(const Status&)> then) {
  if (std::optional<Error> off = refusal(SdkFeature::telemetry)) {
    KorvaneLogger::d(kTag, off->description + ". Not sent: " + name);
    if (then) then(*off);
    return;
  }
  environment_.tasks->submit([weak = weak_from_this(), name, category, payload = std::move(payload),
                              userId = std::move(userId), then = std::move(then)] {
    auto self = weak.lock();
    if (!self) return;
    const JsonValue parameters = payload ? *payload : JsonValue::object();
    SendContext context = self->sendContext();
    context.userId = userId;
    // The given user, else a "userId" the payload names, else nobody (empty text).
    if (!context.userId) {
      const auto it = parameters.find("userId");
      context.userId =
          it != parameters.end() && it->is_string() ? it->get<std::string>() : std::string();
    }
    const Event event = Event::custom(self->environment_.platform.random->makeUuid(), name,
                                      self->nowMillis(), category, parameters);
    const auto finish = [then](const Status& outcome) {
      if (!outcome)
        KorvaneLogger::w(kTag, "Failed to send immediate event: " + outcome.error().description);
      if (then) then(outcome);
    };
    Result<std::shared_ptr<ApiService>> api = self->environment_.network->apiService();
    if (!api) return finish(api.error());
    api.value()->trackEvent(toTrackEventRequest(event, context), finish);
  });
}

bool SdkSession::refusedOrSentImmediately(const std::string& name, const std::string& category,
                                          const std::optional<JsonValue>& payload) {
  if (refused(SdkFeature::telemetry, "Event not tracked: " + name)) return true;
  if (!isInitialized()) {
    KorvaneLogger::w(kTag, "SDK not initialized. Event not tracked: " + name);
    return true;
  }
  if (!isDailyActiveUserEvent(name)) return false;
  KorvaneLogger::d(kTag, "Sending DAU event immediately: " + name);
  sendImmediately(name, category, objectPayload(payload), nullptr);
  return true;
}

void SdkSession::track(Event event, const std::string& loggedAs) {
  std::shared_ptr<EventBatchService> service = eventBatchService();
  if (!service) {
    KorvaneLogger::w(kTag, "Event batch service not initialized");
    return;
  }
  const std::string category = event.category;
  service->trackEvent(std::move(event));
  KorvaneLogger::d(kTag, [&] { return loggedAs + " (category: " + category + ")"; });
}

void SdkSession::trackEvent(EventType type, const std::string& category,
                            std::optional<JsonValue> payload) {
  const std::string name = rawValue(type);
  if (refusedOrSentImmediately(name, category, payload)) return;
  track(Event::make(environment_.platform.random->makeUuid(), type, nowMillis(), category,
                    objectPayload(std::move(payload))),
        "Event tracked: " + name);
}

void SdkSession::trackEventWithCustomName(const std::string& name, const std::string& category,
                                          std::optional<JsonValue> payload) {
  if (refusedOrSentImmediately(name, category, payload)) return;
  track(Event::custom(environment_.platform.random->makeUuid(), name, nowMillis(), category,
                      objectPayload(std::move(payload))),
        "Custom event tracked: " + name);
}

void SdkSession::trackCustomEvent(const std::string& name, const std::string& category,
                                  std::optional<JsonValue> payload) {
  if (refusedOrSentImmediately(name, category, payload)) return;
  JsonValue named = objectPayload(std::move(payload)).value_or(JsonValue::object());
  named["event_name"] = name;
  trackEvent(EventType::custom, category, std::move(named));
}

void SdkSession::flushEvents() {
  if (refused(SdkFeature::telemetry, "Events not flushed")) return;
  std::shared_ptr<EventBatchService> service = eventBatchService();
  if (!service) return;
  environment_.tasks->submit([service] {
    service->flush([](const Status& outcome) {
      if (outcome) {
        KorvaneLogger::i(kTag, "Events flushed successfully");
      } else {
        KorvaneLogger::e(kTag, "Failed to flush events: " + outcome.error().description);
      }
    });
  });
}

}  // namespace korvane
