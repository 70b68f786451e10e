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
    : environment_(std::move(environment)), device_(DeviceUtils::create(environment_.platform)) {}

SdkSession::~SdkSession() {
  // The session's offerwall pages end with it, on the main thread where they live: the slots let
  // them go once the posted work has run or been dropped unrun (at once without a main thread).
  std::shared_ptr<OfferwallSlots> releasing(
      offerwallSlots_.get(), [slots = offerwallSlots_](OfferwallSlots*) { slots->release(); });
  if (const std::shared_ptr<MainThread>& mainThread = environment_.platform.mainThread) {
    mainThread->post([releasing] {});
  }
}

void SdkSession::initialize(ApplicationHandle application, const KorvaneSdkConfig& config) {
  if (isInitialized()) {
    KorvaneLogger::w(kTag, "SDK is already initialized. Ignoring duplicate initialization.");
    return;
  }
  if (config.appKey().empty()) {
    KorvaneLogger::e(kTag, "App Key cannot be empty. Initialization failed.");
    return;
  }
  if (config.appSecret().empty()) {
    KorvaneLogger::e(kTag, "App Secret cannot be empty. Initialization failed.");
    return;
  }
  {
    std::lock_guard lock(setupLock_);
    application_ = std::move(application);
    config_ = config;
  }

  device_->initializeAdvertisingIdSync();
  KorvaneLogger::d(kTag, "Advertising ID initialized synchronously");

  environment_.network->initialize(config, environment_.platform.http);

  KorvaneLogger::d(kTag, "Creating EventBatchService...");
  std::shared_ptr<EventBatchService> service = startTelemetry();
  KorvaneLogger::d(kTag, "EventBatchService created successfully");

  errorTelemetry_->install(service, kSdkVersion, environment_.platform.diagnostics,
                           environment_.platform.clock, environment_.platform.random);
  KorvaneLogger::setTelemetrySink(errorTelemetry_->loggerSink());

  KorvaneLogger::d(kTag, config.adjoeEnabled() ? "Adjoe is enabled (uses PlaytimeWeb on iOS)"
                                               : "Adjoe is disabled");

  environment_.serial->submit([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->validate();
  });
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
  std::shared_ptr<EventBatchService> service =
      EventBatchService::create(std::move(deps), kBatchSize, kFlushIntervalSeconds);
  std::lock_guard lock(setupLock_);
  eventBatchService_ = service;
  return service;
}

void SdkSession::validate() {
  Result<std::shared_ptr<ApiService>> api = environment_.network->apiService();
  if (!api) return finishValidation(api.error());
  api.value()->validateApp([weak = weak_from_this()](Result<ValidateAppResponse> answer) {
    if (auto self = weak.lock()) self->finishValidation(std::move(answer));
  });
}

// Any decoded answer counts as validated, whatever its "success" flag says; only a failed call
// (transport, undecodable body) leaves the SDK uninitialised.
void SdkSession::finishValidation(Result<ValidateAppResponse> answer) {
  if (!answer) {
    KorvaneLogger::e(kTag, "SDK validation failed: " + answer.error().description, answer.error());
    return;
  }
  std::optional<AppData> app = std::move(answer.value().app);
  {
    std::lock_guard lock(validatedAppDataLock_);
    validatedAppData_ = app;
  }
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
}

void SdkSession::login(const KorvaneSdkUser& user,
                       std::shared_ptr<KorvaneSdkLoginListener> listener) {
  const auto refuse = [&](KorvaneLoginError error) {
    KorvaneLogger::w(kTag, std::string("Login refused: ") + description(error));
    if (listener)
      environment_.platform.mainThread->post([listener, error] { listener->onFailure(error); });
  };
  if (!isInitialized()) return refuse(KorvaneLoginError::notInitialized);
  if (user.userId().empty()) return refuse(KorvaneLoginError::invalidUserId);

  if (std::optional<std::string> previous = currentUserId();
      previous && *previous != user.userId()) {
    logout();
  }

  environment_.serial->submit([weak = weak_from_this(), user, listener] {
    auto self = weak.lock();
    if (!self) return;
    {
      std::lock_guard lock(self->currentUserLock_);
      self->currentUser_ = user;
    }
    self->environment_.platform.userDefaults->setString(kCurrentUserIdKey, user.userId());

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
  sendImmediately(
      "session_start", "session", JsonValue{{"user_id", userId}},
      [weak = weak_from_this(), listener](const Status&) {
        auto alive = weak.lock();
        if (!alive || !listener) return;
        alive->environment_.platform.mainThread->post([listener] { listener->onSuccess(); });
      });
}

void SdkSession::logout() {
  if (std::optional<std::string> userId = currentUserId()) {
    trackEvent(EventType::custom, "authentication",
               JsonValue{{"event_name", "user_logout"}, {"user_id", *userId}});
  }
  {
    std::lock_guard lock(currentUserLock_);
    currentUser_.reset();
  }
  environment_.platform.userDefaults->remove(kCurrentUserIdKey);
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
  environment_.tasks->submit([weak = weak_from_this(), name, category, payload = std::move(payload),
                              then = std::move(then)] {
    auto self = weak.lock();
    if (!self) return;
    const JsonValue parameters = payload ? *payload : JsonValue::object();
    SendContext context = self->sendContext();
    // The logged-in user, else a "userId" the payload names, else nobody (empty text).
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
  if (!isInitialized()) {
    KorvaneLogger::w(kTag, "SDK not initialized. Event not tracked: " + name);
    return true;
  }
  if (!isDailyActiveUserEvent(name)) return false;
  KorvaneLogger::d(kTag, "Sending DAU event immediately: " + name);
  sendImmediately(name, category, payload, nullptr);
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
