#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "backend/network_manager.h"
#include "backend/server_switch.h"
#include "korvane/backend/app_records.h"
#include "korvane/backend/device_utils.h"
#include "korvane/offerwall/offerwall_callback.h"
#include "korvane/platform/platform_services.h"
#include "korvane/telemetry/event.h"
#include "korvane/util/executor.h"
#include "korvane/util/json_value.h"
#include "korvane/values/error.h"
#include "korvane/values/sdk_config.h"
#include "korvane/values/sdk_readiness.h"
#include "korvane/values/sdk_user.h"

namespace korvane {

class OfferwallSlots;
class PlacementRegistry;
class PresentationAnchor;
class SdkContext;

// What the session knows at this moment. Validation, login and logout change it, so it is read
// at each use rather than copied. Any thread.
class SessionFacts {
 public:
  virtual ~SessionFacts() = default;
  virtual bool isInitialized() const = 0;
  virtual std::optional<KorvaneSdkUser> currentUser() const = 0;
  virtual std::optional<KorvaneSdkConfig> config() const = 0;
  virtual std::optional<AppData> validatedAppData() const = 0;
  // Where the start stands, and why it failed.
  virtual SdkStatus status() const = 0;
  // Why `feature` refuses to work (the server turned it off, or the start-up guard keeps the SDK
  // inert): an error of domain "KorvaneSDK" naming the reason. Checked before anything else.
  virtual std::optional<Error> refusal(SdkFeature) const { return std::nullopt; }
};

// Where the SDK's own events go: into the batch, or at once outside it. Any thread.
class EventTracker {
 public:
  virtual ~EventTracker() = default;
  virtual void trackEvent(EventType type, const std::string& category,
                          std::optional<JsonValue> payload) = 0;
  virtual void trackEventWithCustomName(const std::string& name, const std::string& category,
                                        std::optional<JsonValue> payload) = 0;
  // `then` hears how the send went.
  virtual void sendImmediately(const std::string& name, const std::string& category,
                               std::optional<JsonValue> payload,
                               std::function<void(const Status&)> then) = 0;
};

// What offerwall pages ask of the placements. The placements answer whether they found the
// instance a message is for. Main thread.
class PlacementMessages {
 public:
  virtual ~PlacementMessages() = default;
  virtual bool quizCompleted(const JsonValue& data) = 0;
  virtual bool missionCompleted(const std::string& missionId) = 0;
  virtual bool missionProgressed(const std::string& missionId) = 0;
  virtual void missionsRefreshed(const std::shared_ptr<const SdkContext>& context,
                                 const std::optional<std::string>& unitId) = 0;
  // A page asked for adjoe's offerwall over `over` (its own offerwall stays under it).
  virtual void openAdjoeOfferwall(const std::shared_ptr<const SdkContext>& context,
                                  const std::string& placementId,
                                  std::shared_ptr<OfferwallCallback> callback,
                                  PresentationAnchor* over) = 0;
};

// Everything the offerwall and the placements are made with, handed to them when they are made.
// The facade implements it over its session; nothing below the facade looks the facade up.
class SdkContext {
 public:
  virtual ~SdkContext() = default;
  virtual const PlatformServices& platform() const = 0;
  // The network manager: the API service and the session id.
  virtual std::shared_ptr<NetworkManager> backend() const = 0;
  virtual std::shared_ptr<DeviceUtils> device() const = 0;
  // Asynchronous tasks (requests, immediate events).
  virtual std::shared_ptr<Executor> tasks() const = 0;
  virtual std::shared_ptr<const SessionFacts> session() const = 0;
  virtual std::shared_ptr<EventTracker> tracker() const = 0;
  // Null when nothing answers the pages' placement messages.
  virtual std::shared_ptr<PlacementMessages> placements() const = 0;

  // The session's own services of the layers above. The context only passes them on; each is
  // defined and used by its own layer, and ends with the session that made it.
  // The full-screen offerwall's callbacks and pages (offerwall/callback_slots.h).
  virtual std::shared_ptr<OfferwallSlots> offerwallSlots() const = 0;
  // The live placements the pages reach (placements/placement_registry.h).
  virtual std::shared_ptr<PlacementRegistry> placementRegistry() const = 0;
};

using Context = std::shared_ptr<const SdkContext>;

}  // namespace korvane
