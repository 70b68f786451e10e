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

Status Base64Object::read(const Json* field, std::optional<Json>& out, const std::string&) {
  if (field) out = objectFromBase64(*field);
  return okStatus();
}

std::optional<Json> Base64Object::toJson(const std::optional<Json>& value) {
  if (!value) return std::nullopt;
  return objectToBase64(*value);
}

Status TextList::read(const Json* field, std::vector<std::string>& out, const std::string&) {
  if (!field || !field->is_array()) return okStatus();
  for (const Json& entry : *field)
    if (entry.is_string()) out.push_back(entry.get<std::string>());
  return okStatus();
}

std::optional<Json> TextList::toJson(const std::vector<std::string>& value) {
  if (value.empty()) return std::nullopt;
  return Json(value);
}

}  // namespace korvane::json

namespace korvane {
using namespace json;

namespace {

constexpr auto kAppDataFields =
    std::tuple{field("appKey", &AppData::appKey),
               field("appName", &AppData::appName),
               field("isActive", &AppData::isActive),
               field("korvaneHubUrl", &AppData::korvaneHubUrl),
               field("trackEventBatchCount", &AppData::trackEventBatchCount),
               field("trackEventBatchIntervalMs", &AppData::trackEventBatchIntervalMs),
               field("adjoeEnabled", &AppData::adjoeEnabled),
               field("adjoeSdkHash", &AppData::adjoeSdkHash),
               field("adjoeOfferwallUrl", &AppData::adjoeOfferwallUrl),
               field("sdkEnabled", &AppData::sdkEnabled),
               field<TextList>("disabledFeatures", &AppData::disabledFeatures),
               field<Base64Object>("config", &AppData::config)};

constexpr auto kValidateAppResponseFields = std::tuple{
    field("success", &ValidateAppResponse::success), field("app", &ValidateAppResponse::app),
    field("message", &ValidateAppResponse::message)};

constexpr auto kUserDataFields =
    std::tuple{field("user_id", &UserData::userId), field("status", &UserData::status)};

constexpr auto kLoginResponseFields =
    std::tuple{field("success", &LoginResponse::success), field("app", &LoginResponse::app),
               field("user", &LoginResponse::user)};

constexpr auto kDeviceInfoFields =
    std::tuple{field("deviceId", &DeviceInfo::deviceId),
               field("deviceModel", &DeviceInfo::deviceModel),
               field("deviceModelName", &DeviceInfo::deviceModelName),
               field("manufacturer", &DeviceInfo::manufacturer),
               field("platform", &DeviceInfo::platform),
               field("osVersion", &DeviceInfo::osVersion),
               field("ifa", &DeviceInfo::ifa),
               field("country", &DeviceInfo::country),
               field("language", &DeviceInfo::language),
               field("installer", &DeviceInfo::installer),
               field("screenWidth", &DeviceInfo::screenWidth),
               field("screenHeight", &DeviceInfo::screenHeight)};

constexpr auto kLoginInfoFields = eventFields<LoginInfo>();

constexpr auto kLoginRequestFields = std::tuple{
    field("userId", &LoginRequest::userId), field("gender", &LoginRequest::gender),
    field("birthYear", &LoginRequest::birthYear), field("loginInfo", &LoginRequest::loginInfo),
    field("deviceInfo", &LoginRequest::deviceInfo)};

}  // namespace

Status read(const Json& value, AppData& out, const std::string& path) {
  return readFields(value, out, path, kAppDataFields);
}
Json toJson(const AppData& value) {
  return writeFields(value, kAppDataFields);
}

Status read(const Json& value, ValidateAppResponse& out, const std::string& path) {
  return readFields(value, out, path, kValidateAppResponseFields);
}
Json toJson(const ValidateAppResponse& value) {
  return writeFields(value, kValidateAppResponseFields);
}

Status read(const Json& value, UserData& out, const std::string& path) {
  return readFields(value, out, path, kUserDataFields);
}
Json toJson(const UserData& value) {
  return writeFields(value, kUserDataFields);
}

Status read(const Json& value, LoginResponse& out, const std::string& path) {
  return readFields(value, out, path, kLoginResponseFields);
}
Json toJson(const LoginResponse& value) {
  return writeFields(value, kLoginResponseFields);
}

Status read(const Json& value, DeviceInfo& out, const std::string& path) {
  return readFields(value, out, path, kDeviceInfoFields);
}
Json toJson(const DeviceInfo& value) {
  return writeFields(value, kDeviceInfoFields);
}

Status read(const Json& value, LoginInfo& out, const std::string& path) {
  return readFields(value, out, path, kLoginInfoFields);
}
Json toJson(const LoginInfo& value) {
  return writeFields(value, kLoginInfoFields);
}

Status read(const Json& value, LoginRequest& out, const std::string& path) {
  return readFields(value, out, path, kLoginRequestFields);
}
Json toJson(const LoginRequest& value) {
  return writeFields(value, kLoginRequestFields);
}

}  // namespace korvane
