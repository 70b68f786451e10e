#pragma once

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "backend/json_codec.h"
#include "korvane/telemetry/event.h"

// The event file's form of an event: keys eventId, type, customEventName (when present),
// timestamp, category, payload; the payload travels as base64 of its compact JSON.
namespace korvane {

Status read(const json::Json& value, Event& out, const std::string& path);
json::Json toJson(const Event& event);

// One event's JSON text, as it stands in the file.
std::string encodeEvent(const Event& event);

// A whole event file: a JSON array of events, oldest first.
std::string encodeEventFile(const std::vector<Event>& events);
Result<std::vector<Event>> decodeEventFile(std::string_view text);

// decodeEventFile record by record: one damaged record costs only itself. Fails only when the
// text is not a JSON array.
struct SalvagedEventFile {
  std::vector<Event> events;  // those that decoded, in file order
  std::size_t damaged = 0;
  std::optional<Error> firstDamage;
};
Result<SalvagedEventFile> salvageEventFile(std::string_view text);
// How many events a file holds when decodeEventFile would accept it, without decoding payloads.
std::optional<std::size_t> validEventCount(std::string_view text);

struct EventFileSummary {
  std::size_t events = 0;
  double oldestTimestamp = std::numeric_limits<double>::infinity();  // of all events
};
// validEventCount with the oldest timestamp in the file as well; for a file decoding would refuse,
// the reason.
Result<EventFileSummary> summarizeEventFile(std::string_view text);

}  // namespace korvane
