#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "korvane/util/json_value.h"

namespace korvane {

// The closed list of telemetry event kinds, in declaration order.
enum class EventType {
  quizClicked,
  quizImpressed,
  quizStarted,
  quizCompleted,
  missionClicked,
  missionImpressed,
  missionCompleted,
  missionProgressed,
  offerwallOpened,
  offerwallClosed,
  bannerClicked,
  bannerImpressed,
  loginSuccess,
  loginFailed,
  custom,
  sdkError,
  sdkCrash,
};

// The raw value used on the wire and in the event file, e.g. "mission_clicked".
const char* rawValue(EventType type);
std::optional<EventType> eventTypeFromRawValue(std::string_view raw);

// One telemetry event. Timestamps are milliseconds since 1970 (fraction kept).
struct Event {
  std::string eventId;
  EventType type = EventType::custom;
  std::optional<std::string> customEventName;
  double timestamp = 0;
  std::string category;
  std::optional<JsonValue> payload;  // a JSON object when present

  static Event make(std::string eventId, EventType type, double timestamp, std::string category,
                    std::optional<JsonValue> payload);
  // A host-defined event: the type is `custom` and the name is kept.
  static Event custom(std::string eventId, std::string customEventName, double timestamp,
                      std::string category, std::optional<JsonValue> payload);

  // customEventName when present, else the type's raw value.
  std::string name() const;

  friend bool operator==(const Event&, const Event&) = default;
};

}  // namespace korvane
