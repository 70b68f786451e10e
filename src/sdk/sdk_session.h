#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "context/sdk_context.h"
#include "korvane/backend/device_utils.h"
#include "korvane/sdk/korvane_sdk.h"
#include "offerwall/callback_slots.h"
#include "placements/placement_registry.h"
#include "sdk/sdk_environment.h"
#include "sdk/startup_guard.h"
#include "sdk/validation_retry.h"
#include "telemetry/error_telemetry.h"
#include "telemetry/event_batch_service.h"
#include "util/observers.h"

namespace korvane {

// The facade's state and behaviour: what the context's session facts and tracker are. It owns
// every service the SDK keeps (the network manager through its environment, error telemetry, the
// placement registry, the full-screen offerwall's callbacks), so they end with it. Background work
// holds it weakly, so work that finishes after the session was replaced does nothing.
class SdkSession : public std::enable_shared_from_this<SdkSession>,
                   public SessionFacts,
                   public EventTracker {
 public:
  explicit SdkSession(SdkEnvironment environment);
  ~SdkSession() override;

  // `completion` (main thread) hears the first outcome: ready, or failed and why. An error only
  // when the start-up guard keeps the SDK inert; other refusals are logged.
  Status initialize(ApplicationHandle application, const KorvaneSdkConfig& config,
                    std::function<void(const SdkStatus&)> completion = nullptr);
  void login(const KorvaneSdkUser& user, std::shared_ptr<KorvaneSdkLoginListener> listener);
  void logout();
  // The person agreed (true) or withdrew (false); matters only when the configuration waits for
  // consent.
  void setConsent(bool given);

  // SessionFacts
  bool isInitialized() const override { return initialized_.load(std::memory_order_acquire); }
  std::optional<KorvaneSdkUser> currentUser() const override;
  std::optional<KorvaneSdkConfig> config() const override;
  std::optional<AppData> validatedAppData() const override;
  SdkStatus status() const override;
  std::optional<Error> refusal(SdkFeature feature) const override;
  std::shared_ptr<EventBatchService> eventBatchService() const;

  // The status now, then each change, on the main thread.
  [[nodiscard]] Subscription observeStatus(std::function<void(const SdkStatus&)> observer);
  // Word, on the main thread, that something an offerwall's availability depends on may have
  // changed: the status, the user, the network.
  [[nodiscard]] Subscription observeReadinessChanges(std::function<void()> observer);
  // `observation`, with `first` run on the main thread before anything it delivers, unless the
  // returned Subscription ended before.
  [[nodiscard]] Subscription startingWith(Subscription observation, std::function<void()> first);
  std::string advertisingId() const { return device_->getAdvertisingId(); }

  // EventTracker
  void trackEvent(EventType type, const std::string& category,
                  std::optional<JsonValue> payload) override;
  void trackEventWithCustomName(const std::string& name, const std::string& category,
                                std::optional<JsonValue> payload) override;
  void trackCustomEvent(const std::string& name, const std::string& category,
                        std::optional<JsonValue> payload);
  void flushEvents();

  // Sends an event at once, outside the batch, on the task pool; `then` hears how it went. The
  // event names the user logged in when it was asked for.
  void sendImmediately(const std::string& name, const std::string& category,
                       std::optional<JsonValue> payload,
                       std::function<void(const Status&)> then) override;

  const SdkEnvironment& environment() const { return environment_; }
  std::shared_ptr<DeviceUtils> device() const { return device_; }
  const std::shared_ptr<ErrorTelemetry>& errorTelemetry() const { return errorTelemetry_; }
  const std::shared_ptr<PlacementRegistry>& placementRegistry() const { return placementRegistry_; }
  const std::shared_ptr<OfferwallSlots>& offerwallSlots() const { return offerwallSlots_; }

 private:
  Status start(const KorvaneSdkConfig& config);
  void stop();
  // The start-up guard's decision for this start, logged (session_switches.cpp).
  StartupMode beginStart();
  // Applies the validated record's off switch: telemetry stops (session_switches.cpp).
  void applyServerSwitch(const AppData& app);
  // In safe mode, one "sdk_safe_mode" event once the backend has answered.
  void reportSafeModeOnce();
  // True, after a warning naming the reason and what was refused, when `feature` refuses.
  bool refused(SdkFeature feature, std::string_view what) const;
  std::shared_ptr<EventBatchService> startTelemetry();
  void validate();
  void setStatus(SdkStatus status);
  void readinessChanged();
  void watchNetworkForReadiness();
  void finishValidation(Result<ValidateAppResponse> answer);
  // The same for a given user, or nobody.
  void sendImmediatelyAs(const std::string& name, const std::string& category,
                         std::optional<JsonValue> payload, std::optional<std::string> userId,
                         std::function<void(const Status&)> then);
  void finishLogin(const std::string& userId, const Result<LoginResponse>& answer,
                   std::shared_ptr<KorvaneSdkLoginListener> listener);
  // The name's refusal when the SDK is not initialised, or true when it went out at once.
  bool refusedOrSentImmediately(const std::string& name, const std::string& category,
                                const std::optional<JsonValue>& payload);
  void track(Event event, const std::string& loggedAs);
  SendContext sendContext() const;
  double nowMillis() const;
  std::optional<std::string> currentUserId() const;

  SdkEnvironment environment_;
  std::shared_ptr<DeviceUtils> device_;
  const std::shared_ptr<ErrorTelemetry> errorTelemetry_ = std::make_shared<ErrorTelemetry>();
  const std::shared_ptr<PlacementRegistry> placementRegistry_ =
      std::make_shared<PlacementRegistry>();
  const std::shared_ptr<OfferwallSlots> offerwallSlots_ = std::make_shared<OfferwallSlots>();
  std::atomic<bool> initialized_{false};
  std::atomic<bool> consent_{false};
  std::atomic<bool> awaitingConsent_{false};  // initialize waits for consent
  StartupGuard guard_;
  std::atomic<StartupMode> startMode_{StartupMode::normal};
  std::atomic<bool> safeModeReported_{false};
  // What the server's off switch says (only its two fields), and whether it turns anything off.
  mutable std::mutex switchLock_;
  AppData serverSwitch_;
  std::atomic<bool> anythingOff_{false};

  // One start at a time: two initialize calls at once would each replace the other's pipeline.
  std::mutex startLock_;
  // Guards what initialize sets up; held only to read or assign.
  mutable std::mutex setupLock_;
  ApplicationHandle application_;
  std::optional<KorvaneSdkConfig> config_;
  std::shared_ptr<EventBatchService> eventBatchService_;

  mutable std::mutex currentUserLock_;
  std::optional<KorvaneSdkUser> currentUser_;
  mutable std::mutex validatedAppDataLock_;
  std::optional<AppData> validatedAppData_;

  mutable std::mutex statusLock_;
  SdkStatus status_;
  std::vector<std::function<void(const SdkStatus&)>> waitingForOutcome_;
  std::shared_ptr<ValidationRetry> retry_;
  Observers<const SdkStatus&> statusObservers_;
  Observers<> readinessObservers_;
  std::atomic<bool> watchingNetwork_{false};
  Subscription networkObservation_;
};

}  // namespace korvane
