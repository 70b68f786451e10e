#include "backend/record_codec.h"

namespace korvane::json {

Status TextParameters::read(const Json* field,
                            std::vector<std::pair<std::string, std::string>>& out,
                            const std::string& path) {
  if (!field || field->is_null()) return missingKey(path);
  if (!field->is_object()) return wrongType(path, "an object");
  out.clear();
  for (const auto& [key, entry] : field->items()) {
    if (!entry.is_string()) return wrongType(childPath(path, key), "text");
    out.emplace_back(key, entry.get<std::string>());
  }
  return okStatus();
}

Status TextParameters::read(const Json* field, Json& out, const std::string& path) {
  std::vector<std::pair<std::string, std::string>> parameters;
  Status status = read(field, parameters, path);
  if (!status) return status;
  out = Json::object();
  for (auto& [key, text] : parameters) out[key] = std::move(text);
  return okStatus();
}

std::optional<Json> TextParameters::toJson(
    const std::vector<std::pair<std::string, std::string>>& value) {
  Json parameters = Json::object();
  for (const auto& [key, text] : value) parameters[key] = text;
  return parameters;
}

void TextParameters::write(JsonWriter& w,
                           const std::vector<std::pair<std::string, std::string>>& value) {
  w.beginObject();
  for (const auto& [key, text] : value) w.field(key, text);
  w.endObject();
}

}  // namespace korvane::json

namespace korvane {
using namespace json;

namespace {

constexpr auto kEventBatchResponseFields =
    std::tuple{field("success", &EventBatchResponse::success),
               field("processedCount", &EventBatchResponse::processedCount),
               field("failedEventIds", &EventBatchResponse::failedEventIds)};

}  // namespace

Status read(const Json& value, TrackEventRequest& out, const std::string& path) {
  return readFields(value, out, path, kTrackEventRequestFields);
}
Json toJson(const TrackEventRequest& value) {
  return writeFields(value, kTrackEventRequestFields);
}

Status read(const Json& value, EventBatch& out, const std::string& path) {
  return readFields(value, out, path, kEventBatchFields);
}
Json toJson(const EventBatch& value) {
  return writeFields(value, kEventBatchFields);
}

Status read(const Json& value, EventBatchResponse& out, const std::string& path) {
  return readFields(value, out, path, kEventBatchResponseFields);
}
Json toJson(const EventBatchResponse& value) {
  return writeFields(value, kEventBatchResponseFields);
}

}  // namespace korvane
