#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "context/sdk_context.h"
#include "korvane/api/device_utils.h"
#include "korvane/core/korvane_sdk.h"
#include "korvane/telemetry/event_batch_service.h"
#include "offerwall/callback_slots.h"
#include "placements/placement_registry.h"
#include "sdk/sdk_environment.h"
#include "telemetry/error_telemetry.h"

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

  void initialize(ApplicationHandle application, const KorvaneSdkConfig& config);
  void login(const KorvaneSdkUser& user, std::shared_ptr<KorvaneSdkLoginListener> listener);
  void logout();

  // SessionFacts
  bool isInitialized() const override { return initialized_.load(std::memory_order_acquire); }
  std::optional<KorvaneSdkUser> currentUser() const override;
  std::optional<KorvaneSdkConfig> config() const override;
  std::optional<AppData> validatedAppData() const override;
  std::shared_ptr<EventBatchService> eventBatchService() const;
  std::string advertisingId() const { return device_->getAdvertisingId(); }

  // EventTracker
  void trackEvent(EventType type, const std::string& category,
                  std::optional<JsonValue> payload) override;
  void trackEventWithCustomName(const std::string& name, const std::string& category,
                                std::optional<JsonValue> payload) override;
  void trackCustomEvent(const std::string& name, const std::string& category,
                        std::optional<JsonValue> payload);
  void flushEvents();

  // Sends an event at once, outside the batch, on the task pool; `then` hears how it went.
  void sendImmediately(const std::string& name, const std::string& category,
                       std::optional<JsonValue> payload,
                       std::function<void(const Status&)> then) override;

  const SdkEnvironment& environment() const { return environment_; }
  std::shared_ptr<DeviceUtils> device() const { return device_; }
  const std::shared_ptr<ErrorTelemetry>& errorTelemetry() const { return errorTelemetry_; }
  const std::shared_ptr<PlacementRegistry>& placementRegistry() const { return placementRegistry_; }
  const std::shared_ptr<OfferwallSlots>& offerwallSlots() const { return offerwallSlots_; }

 private:
  std::shared_ptr<EventBatchService> startTelemetry();
  void validate();
  void finishValidation(Result<ValidateAppResponse> answer);
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

  // Guards what initialize sets up; held only to read or assign.
  mutable std::mutex setupLock_;
  ApplicationHandle application_;
  std::optional<KorvaneSdkConfig> config_;
  std::shared_ptr<EventBatchService> eventBatchService_;

  mutable std::mutex currentUserLock_;
  std::optional<KorvaneSdkUser> currentUser_;
  mutable std::mutex validatedAppDataLock_;
  std::optional<AppData> validatedAppData_;
};

}  // namespace korvane
