#include "api/record_codec.h"

namespace korvane {
using namespace json;

Status read(const Json& value, TrackEventRequest& out, const std::string& path) {
  ObjectReader reader(value, path);
  reader.required("name", out.name)
      .required("sdkVersion", out.sdkVersion)
      .required("timestamp", out.timestamp)
      .required("sessionId", out.sessionId)
      .optional("userId", out.userId)
      .required("deviceId", out.deviceId)
      .required("ifa", out.ifa)
      .required("platform", out.platform)
      .required("osVersion", out.osVersion);
  if (!reader.status()) return reader.status();
  const std::string parametersPath = childPath(path, "parameters");
  const Json* parameters = reader.find("parameters");
  if (!parameters || parameters->is_null()) return missingKey(parametersPath);
  if (!parameters->is_object()) return wrongType(parametersPath, "an object");
  out.parameters.clear();
  for (const auto& [key, entry] : parameters->items()) {
    if (!entry.is_string()) return wrongType(childPath(parametersPath, key), "text");
    out.parameters.emplace_back(key, entry.get<std::string>());
  }
  return okStatus();
}

Json toJson(const TrackEventRequest& value) {
  Json j = Json::object();
  j["name"] = value.name;
  j["sdkVersion"] = value.sdkVersion;
  j["timestamp"] = value.timestamp;
  j["sessionId"] = value.sessionId;
  putOptional(j, "userId", value.userId);
  j["deviceId"] = value.deviceId;
  j["ifa"] = value.ifa;
  j["platform"] = value.platform;
  j["osVersion"] = value.osVersion;
  Json parameters = Json::object();
  for (const auto& [key, text] : value.parameters) parameters[key] = text;
  j["parameters"] = std::move(parameters);
  return j;
}

Status read(const Json& value, EventBatch& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("batchId", out.batchId)
      .required("batchTimestamp", out.batchTimestamp)
      .required("sdkVersion", out.sdkVersion)
      .required("platform", out.platform)
      .required("events", out.events)
      .status();
}

Json toJson(const EventBatch& value) {
  Json j = Json::object();
  j["batchId"] = value.batchId;
  j["batchTimestamp"] = value.batchTimestamp;
  j["sdkVersion"] = value.sdkVersion;
  j["platform"] = value.platform;
  j["events"] = Json::array();
  for (const TrackEventRequest& event : value.events) j["events"].push_back(toJson(event));
  return j;
}

Status read(const Json& value, EventBatchResponse& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("success", out.success)
      .required("processedCount", out.processedCount)
      .required("failedEventIds", out.failedEventIds)
      .status();
}

Json toJson(const EventBatchResponse& value) {
  Json j = Json::object();
  j["success"] = value.success;
  j["processedCount"] = value.processedCount;
  j["failedEventIds"] = value.failedEventIds;
  return j;
}

}  // namespace korvane
