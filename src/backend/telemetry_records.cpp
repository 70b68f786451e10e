#include "backend/record_codec.h"

namespace korvane::json {

Status readTextParameters(const ObjectReader& reader,
                          std::vector<std::pair<std::string, std::string>>& out,
                          const std::string& path) {
  const std::string parametersPath = childPath(path, "parameters");
  const Json* parameters = reader.find("parameters");
  if (!parameters || parameters->is_null()) return missingKey(parametersPath);
  if (!parameters->is_object()) return wrongType(parametersPath, "an object");
  out.clear();
  for (const auto& [key, entry] : parameters->items()) {
    if (!entry.is_string()) return wrongType(childPath(parametersPath, key), "text");
    out.emplace_back(key, entry.get<std::string>());
  }
  return okStatus();
}

}  // namespace korvane::json

namespace korvane {
using namespace json;

Status read(const Json& value, TrackEventRequest& out, const std::string& path) {
  ObjectReader reader(value, path);
  if (!readEventFields(reader, out).status()) return reader.status();
  return readTextParameters(reader, out.parameters, path);
}

Json toJson(const TrackEventRequest& value) {
  Json j = Json::object();
  writeEventFields(j, value);
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
