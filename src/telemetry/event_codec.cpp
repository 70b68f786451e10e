#include "telemetry/event_codec.h"

#include "api/record_codec.h"

namespace korvane {

using json::Json;

Status read(const Json& value, Event& out, const std::string& path) {
  json::ObjectReader reader(value, path);
  std::string type;
  reader.required("eventId", out.eventId)
      .required("type", type)
      .optional("customEventName", out.customEventName)
      .required("timestamp", out.timestamp)
      .required("category", out.category);
  if (!reader.status()) return reader.status();
  const std::optional<EventType> parsed = eventTypeFromRawValue(type);
  if (!parsed) return json::corrupted(json::childPath(path, "type"), "unknown event type \"" + type + "\"");
  out.type = *parsed;
  out.payload.reset();
  if (const Json* payload = reader.find("payload"); payload && !payload->is_null()) {
    out.payload = json::objectFromBase64(*payload);
    if (!out.payload) return json::corrupted(json::childPath(path, "payload"), "payload is not base64 of a JSON object");
  }
  return okStatus();
}

Json toJson(const Event& event) {
  Json j = Json::object();
  j["eventId"] = event.eventId;
  j["type"] = rawValue(event.type);
  if (event.customEventName) j["customEventName"] = *event.customEventName;
  j["timestamp"] = event.timestamp;
  j["category"] = event.category;
  if (event.payload) j["payload"] = json::objectToBase64(*event.payload);
  return j;
}

std::string encodeEventFile(const std::vector<Event>& events) {
  Json array = Json::array();
  for (const Event& event : events) array.push_back(toJson(event));
  return json::dump(array);
}

Result<std::vector<Event>> decodeEventFile(std::string_view text) { return json::decode<std::vector<Event>>(text); }

}  // namespace korvane
