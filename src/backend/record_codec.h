#pragma once

#include "backend/json_codec.h"
#include "backend/record_fields.h"
#include "korvane/backend/app_records.h"
#include "korvane/backend/content_records.h"
#include "korvane/backend/content_records_json.h"
#include "korvane/backend/telemetry_records.h"

// JSON forms of the backend records: keys exactly as the backend spells them, encoded in the
// documented order, absent optionals omitted. Every record also decodes, so that the local
// backend and the tests read exactly what the SDK writes.
// Declared in the records' own namespace so that the generic readers find them by argument-
// dependent lookup.
namespace korvane {

using json::Json;

Status read(const Json& value, AppData& out, const std::string& path);
Status read(const Json& value, ValidateAppResponse& out, const std::string& path);
Status read(const Json& value, UserData& out, const std::string& path);
Status read(const Json& value, LoginResponse& out, const std::string& path);
Status read(const Json& value, DeviceInfo& out, const std::string& path);
Status read(const Json& value, LoginInfo& out, const std::string& path);
Status read(const Json& value, LoginRequest& out, const std::string& path);
Status read(const Json& value, QuizEvent& out, const std::string& path);
Status read(const Json& value, QuizResponse& out, const std::string& path);
Status read(const Json& value, MissionType& out, const std::string& path);
Status read(const Json& value, Mission& out, const std::string& path);
Status read(const Json& value, MissionResponse& out, const std::string& path);
Status read(const Json& value, BannerInfoResponse& out, const std::string& path);
Status read(const Json& value, PlacementUrlResponse& out, const std::string& path);
Status read(const Json& value, TrackEventRequest& out, const std::string& path);
Status read(const Json& value, EventBatch& out, const std::string& path);
Status read(const Json& value, EventBatchResponse& out, const std::string& path);

Json toJson(const AppData& value);
Json toJson(const ValidateAppResponse& value);
Json toJson(const UserData& value);
Json toJson(const LoginResponse& value);
Json toJson(const DeviceInfo& value);
Json toJson(const LoginInfo& value);
Json toJson(const LoginRequest& value);
Json toJson(const TrackEventRequest& value);
Json toJson(const EventBatch& value);
Json toJson(const EventBatchResponse& value);

}  // namespace korvane

namespace korvane::json {

// The required "parameters" object of text values, in order: as (key, text) pairs or as the
// object itself.
struct TextParameters {
  static Status read(const Json* field, std::vector<std::pair<std::string, std::string>>& out,
                     const std::string& path);
  static Status read(const Json* field, Json& out, const std::string& path);
  static std::optional<Json> toJson(const std::vector<std::pair<std::string, std::string>>& value);
  static std::optional<Json> toJson(const Json& value) { return value; }
  static void write(JsonWriter& w, const std::vector<std::pair<std::string, std::string>>& value);
};

// A JSON object carried as base64 text of its compact JSON; nothing when any step fails.
std::optional<Json> objectFromBase64(const Json& field);
std::string objectToBase64(const Json& object);

// An optional object carried as base64 text; anything unreadable leaves it absent without
// failing the record.
struct Base64Object {
  static Status read(const Json* field, std::optional<Json>& out, const std::string& path);
  static std::optional<Json> toJson(const std::optional<Json>& value);
};

// An optional list of texts that never fails its record: a value that is not an array reads as
// empty, entries that are not text are skipped; an empty list is left out.
struct TextList {
  static Status read(const Json* field, std::vector<std::string>& out, const std::string& path);
  static std::optional<Json> toJson(const std::vector<std::string>& value);
};

// LoginInfo and TrackEventRequest share the telemetry event's fields, in this order.
template <typename Record>
constexpr auto eventFields() {
  return std::tuple{field("name", &Record::name),
                    field("sdkVersion", &Record::sdkVersion),
                    field("timestamp", &Record::timestamp),
                    field("sessionId", &Record::sessionId),
                    field("userId", &Record::userId),
                    field("deviceId", &Record::deviceId),
                    field("ifa", &Record::ifa),
                    field("platform", &Record::platform),
                    field("osVersion", &Record::osVersion),
                    field<TextParameters>("parameters", &Record::parameters)};
}

// The telemetry records' fields, which the text encoder (telemetry_json.h) uses too.
inline constexpr auto kTrackEventRequestFields = eventFields<TrackEventRequest>();
inline constexpr auto kEventBatchFields = std::tuple{
    field("batchId", &EventBatch::batchId), field("batchTimestamp", &EventBatch::batchTimestamp),
    field("sdkVersion", &EventBatch::sdkVersion), field("platform", &EventBatch::platform),
    field("events", &EventBatch::events)};

}  // namespace korvane::json
