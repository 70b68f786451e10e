#include "backend/record_codec.h"
#include "util/base64.h"

namespace korvane::json {

std::optional<Json> objectFromBase64(const Json& field) {
  if (!field.is_string()) return std::nullopt;
  const std::optional<std::string> bytes = base64::decode(field.get_ref<const std::string&>());
  if (!bytes) return std::nullopt;
  Result<Json> parsed = parse(*bytes);
  if (!parsed || !parsed.value().is_object()) return std::nullopt;
  return std::move(parsed).value();
}

std::string objectToBase64(const Json& object) {
  return base64::encode(dump(object));
}

}  // namespace korvane::json

namespace korvane {
using namespace json;

Status read(const Json& value, AppData& out, const std::string& path) {
  ObjectReader reader(value, path);
  reader.required("appKey", out.appKey)
      .required("appName", out.appName)
      .optional("isActive", out.isActive)
      .required("korvaneHubUrl", out.korvaneHubUrl)
      .optional("trackEventBatchCount", out.trackEventBatchCount)
      .optional("trackEventBatchIntervalMs", out.trackEventBatchIntervalMs)
      .optional("adjoeEnabled", out.adjoeEnabled)
      .optional("adjoeSdkHash", out.adjoeSdkHash)
      .optional("adjoeOfferwallUrl", out.adjoeOfferwallUrl);
  // A malformed configuration is swallowed: the record still decodes, without it.
  if (const Json* config = reader.find("config")) out.config = objectFromBase64(*config);
  return reader.status();
}

Json toJson(const AppData& value) {
  Json j = Json::object();
  j["appKey"] = value.appKey;
  j["appName"] = value.appName;
  putOptional(j, "isActive", value.isActive);
  j["korvaneHubUrl"] = value.korvaneHubUrl;
  putOptional(j, "trackEventBatchCount", value.trackEventBatchCount);
  putOptional(j, "trackEventBatchIntervalMs", value.trackEventBatchIntervalMs);
  putOptional(j, "adjoeEnabled", value.adjoeEnabled);
  putOptional(j, "adjoeSdkHash", value.adjoeSdkHash);
  putOptional(j, "adjoeOfferwallUrl", value.adjoeOfferwallUrl);
  if (value.config) j["config"] = objectToBase64(*value.config);
  return j;
}

Status read(const Json& value, ValidateAppResponse& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("success", out.success)
      .optional("app", out.app)
      .optional("message", out.message)
      .status();
}

Json toJson(const ValidateAppResponse& value) {
  Json j = Json::object();
  j["success"] = value.success;
  if (value.app) j["app"] = toJson(*value.app);
  putOptional(j, "message", value.message);
  return j;
}

Status read(const Json& value, UserData& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("user_id", out.userId)
      .optional("status", out.status)
      .status();
}

Json toJson(const UserData& value) {
  Json j = Json::object();
  j["user_id"] = value.userId;
  putOptional(j, "status", value.status);
  return j;
}

Status read(const Json& value, LoginResponse& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("success", out.success)
      .optional("app", out.app)
      .optional("user", out.user)
      .status();
}

Json toJson(const LoginResponse& value) {
  Json j = Json::object();
  j["success"] = value.success;
  if (value.app) j["app"] = toJson(*value.app);
  if (value.user) j["user"] = toJson(*value.user);
  return j;
}

Status read(const Json& value, DeviceInfo& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("deviceId", out.deviceId)
      .required("deviceModel", out.deviceModel)
      .optional("deviceModelName", out.deviceModelName)
      .required("manufacturer", out.manufacturer)
      .required("platform", out.platform)
      .required("osVersion", out.osVersion)
      .optional("ifa", out.ifa)
      .optional("country", out.country)
      .optional("language", out.language)
      .required("installer", out.installer)
      .optional("screenWidth", out.screenWidth)
      .optional("screenHeight", out.screenHeight)
      .status();
}

Json toJson(const DeviceInfo& value) {
  Json j = Json::object();
  j["deviceId"] = value.deviceId;
  j["deviceModel"] = value.deviceModel;
  putOptional(j, "deviceModelName", value.deviceModelName);
  j["manufacturer"] = value.manufacturer;
  j["platform"] = value.platform;
  j["osVersion"] = value.osVersion;
  putOptional(j, "ifa", value.ifa);
  putOptional(j, "country", value.country);
  putOptional(j, "language", value.language);
  j["installer"] = value.installer;
  putOptional(j, "screenWidth", value.screenWidth);
  putOptional(j, "screenHeight", value.screenHeight);
  return j;
}

Status read(const Json& value, LoginInfo& out, const std::string& path) {
  ObjectReader reader(value, path);
  if (!readEventFields(reader, out).status()) return reader.status();
  std::vector<std::pair<std::string, std::string>> parameters;
  Status status = readTextParameters(reader, parameters, path);
  if (!status) return status;
  out.parameters = Json::object();
  for (auto& [key, text] : parameters) out.parameters[key] = std::move(text);
  return okStatus();
}

Json toJson(const LoginInfo& value) {
  Json j = Json::object();
  writeEventFields(j, value);
  j["parameters"] = value.parameters;
  return j;
}

Status read(const Json& value, LoginRequest& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("userId", out.userId)
      .optional("gender", out.gender)
      .optional("birthYear", out.birthYear)
      .required("loginInfo", out.loginInfo)
      .required("deviceInfo", out.deviceInfo)
      .status();
}

Json toJson(const LoginRequest& value) {
  Json j = Json::object();
  j["userId"] = value.userId;
  putOptional(j, "gender", value.gender);
  putOptional(j, "birthYear", value.birthYear);
  j["loginInfo"] = toJson(value.loginInfo);
  j["deviceInfo"] = toJson(value.deviceInfo);
  return j;
}

}  // namespace korvane
