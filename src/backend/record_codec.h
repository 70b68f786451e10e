#pragma once

#include "backend/json_codec.h"
#include "korvane/api/app_records.h"
#include "korvane/api/content_records.h"
#include "korvane/api/content_records_json.h"
#include "korvane/api/telemetry_records.h"

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

// LoginInfo and TrackEventRequest share the telemetry event's fields, in this order.
template <typename Record>
ObjectReader& readEventFields(ObjectReader& reader, Record& out) {
  return reader.required("name", out.name)
      .required("sdkVersion", out.sdkVersion)
      .required("timestamp", out.timestamp)
      .required("sessionId", out.sessionId)
      .optional("userId", out.userId)
      .required("deviceId", out.deviceId)
      .required("ifa", out.ifa)
      .required("platform", out.platform)
      .required("osVersion", out.osVersion);
}

template <typename Record>
void writeEventFields(Json& j, const Record& value) {
  j["name"] = value.name;
  j["sdkVersion"] = value.sdkVersion;
  j["timestamp"] = value.timestamp;
  j["sessionId"] = value.sessionId;
  putOptional(j, "userId", value.userId);
  j["deviceId"] = value.deviceId;
  j["ifa"] = value.ifa;
  j["platform"] = value.platform;
  j["osVersion"] = value.osVersion;
}

// The required "parameters" object of text values, in order.
Status readTextParameters(const ObjectReader& reader,
                          std::vector<std::pair<std::string, std::string>>& out,
                          const std::string& path);

// A JSON object carried as base64 text of its compact JSON; nothing when any step fails.
std::optional<Json> objectFromBase64(const Json& field);
std::string objectToBase64(const Json& object);

}  // namespace korvane::json
