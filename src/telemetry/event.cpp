#include "korvane/telemetry/event.h"

#include <array>

namespace korvane {
namespace {
constexpr std::array<const char*, 17> kRawValues = {
    "quiz_clicked",      "quiz_impressed",     "quiz_started",
    "quiz_completed",    "mission_clicked",    "mission_impressed",
    "mission_completed", "mission_progressed", "offerwall_opened",
    "offerwall_closed",  "banner_clicked",     "banner_impressed",
    "login_success",     "login_failed",       "custom",
    "sdk_error",         "sdk_crash"};
}  // namespace

const char* rawValue(EventType type) {
  return kRawValues[static_cast<std::size_t>(type)];
}

std::optional<EventType> eventTypeFromRawValue(std::string_view raw) {
  for (std::size_t i = 0; i < kRawValues.size(); ++i)
    if (raw == kRawValues[i]) return static_cast<EventType>(i);
  return std::nullopt;
}

Event Event::make(std::string eventId, EventType type, double timestamp, std::string category,
                  std::optional<JsonValue> payload) {
  return Event{std::move(eventId), type, std::nullopt, timestamp, std::move(category),
               std::move(payload)};
}

Event Event::custom(std::string eventId, std::string customEventName, double timestamp,
                    std::string category, std::optional<JsonValue> payload) {
  return Event{std::move(eventId), EventType::custom,   std::move(customEventName),
               timestamp,          std::move(category), std::move(payload)};
}

std::string Event::name() const {
  return customEventName ? *customEventName : rawValue(type);
}

}  // namespace korvane
