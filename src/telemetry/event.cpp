#include "korvane/telemetry/event.h"

#include <array>

#include "korvane/raw_value_lists.h"

namespace korvane {
namespace {
#define KORVANE_RAW_VALUE(name, raw) raw,
constexpr std::array kRawValues = {KORVANE_EVENT_TYPES(KORVANE_RAW_VALUE)};
#undef KORVANE_RAW_VALUE
static_assert(kRawValues.size() == static_cast<std::size_t>(EventType::sdkCrash) + 1);
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
