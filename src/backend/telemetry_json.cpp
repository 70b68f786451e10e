#include "backend/telemetry_json.h"

#include "backend/json_writer.h"
#include "backend/record_codec.h"

namespace korvane {

// Found by the batch's events array through argument-dependent lookup.
static void writeText(json::JsonWriter& w, const TrackEventRequest& event) {
  json::writeTextFields(w, event, json::kTrackEventRequestFields);
}

std::string encodeTrackEventBody(const TrackEventRequest& event) {
  std::string out;
  out.reserve(400);
  json::JsonWriter w(out);
  writeText(w, event);
  return out;
}

std::string encodeBatchBody(const EventBatch& batch) {
  std::string out;
  out.reserve(160 + batch.events.size() * 400);
  json::JsonWriter w(out);
  json::writeTextFields(w, batch, json::kEventBatchFields);
  return out;
}

}  // namespace korvane
