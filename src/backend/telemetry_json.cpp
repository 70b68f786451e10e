#include "backend/telemetry_json.h"

#include "backend/json_writer.h"

namespace korvane {
namespace {

void writeEvent(json::JsonWriter& w, const TrackEventRequest& e) {
  w.beginObject();
  w.field("name", e.name);
  w.field("sdkVersion", e.sdkVersion);
  w.field("timestamp", e.timestamp);
  w.field("sessionId", e.sessionId);
  if (e.userId) w.field("userId", *e.userId);
  w.field("deviceId", e.deviceId);
  w.field("ifa", e.ifa);
  w.field("platform", e.platform);
  w.field("osVersion", e.osVersion);
  w.key("parameters");
  w.beginObject();
  for (const auto& [key, text] : e.parameters) w.field(key, text);
  w.endObject();
  w.endObject();
}

}  // namespace

std::string encodeTrackEventBody(const TrackEventRequest& event) {
  std::string out;
  out.reserve(400);
  json::JsonWriter w(out);
  writeEvent(w, event);
  return out;
}

std::string encodeBatchBody(const EventBatch& batch) {
  std::string out;
  out.reserve(160 + batch.events.size() * 400);
  json::JsonWriter w(out);
  w.beginObject();
  w.field("batchId", batch.batchId);
  w.field("batchTimestamp", batch.batchTimestamp);
  w.field("sdkVersion", batch.sdkVersion);
  w.field("platform", batch.platform);
  w.key("events");
  w.beginArray();
  for (const TrackEventRequest& event : batch.events) writeEvent(w, event);
  w.endArray();
  w.endObject();
  return out;
}

}  // namespace korvane
