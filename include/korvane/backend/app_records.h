#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "korvane/util/json_value.h"

namespace korvane {

// The application's server-side record, returned by validation and login.
struct AppData {
  std::string appKey;
  std::string appName;
  std::optional<bool> isActive;
  std::string korvaneHubUrl;
  std::optional<std::int64_t> trackEventBatchCount;
  std::optional<std::int64_t> trackEventBatchIntervalMs;
  std::optional<bool> adjoeEnabled;
  std::optional<std::string> adjoeSdkHash;
  std::optional<std::string> adjoeOfferwallUrl;
  // The server's off switch, an extension of the record: false turns the whole SDK off.
  std::optional<bool> sdkEnabled;
  // Parts the server turned off: "telemetry", "offerwall", "placements". Other names and
  // entries that are not text are ignored; so is a value that is not an array.
  std::vector<std::string> disabledFeatures;
  // Free-form server configuration (a JSON object). On the wire it is base64 text of the
  // object's JSON; anything unreadable there leaves it absent without failing the record.
  std::optional<JsonValue> config;

  friend bool operator==(const AppData&, const AppData&) = default;
};

struct ValidateAppResponse {
  bool success = false;
  std::optional<AppData> app;
  std::optional<std::string> message;
};

struct UserData {
  std::string userId;  // "user_id" on the wire
  std::optional<std::string> status;
};

struct LoginResponse {
  bool success = false;
  std::optional<AppData> app;
  std::optional<UserData> user;
};

// How the device describes itself to the backend at login.
struct DeviceInfo {
  std::string deviceId;
  std::string deviceModel;
  std::optional<std::string> deviceModelName;
  std::string manufacturer = "Apple";
  std::string platform = "iOS";
  std::string osVersion;
  std::optional<std::string> ifa;
  std::optional<std::string> country;
  std::optional<std::string> language;
  std::string installer;
  std::optional<std::int64_t> screenWidth;
  std::optional<std::int64_t> screenHeight;
};

// The login event, shaped like a telemetry event with the advertising identifier added.
struct LoginInfo {
  std::string name;
  std::string sdkVersion;
  std::string timestamp;  // whole milliseconds since 1970, as decimal text
  std::string sessionId;
  std::optional<std::string> userId;
  std::string deviceId;
  std::string ifa;
  std::string platform;
  std::string osVersion;
  JsonValue parameters = JsonValue::object();
};

struct LoginRequest {
  std::string userId;
  std::optional<std::string> gender;     // "M", "F" or "O"
  std::optional<std::string> birthYear;  // decimal digits
  LoginInfo loginInfo;
  DeviceInfo deviceInfo;
};

}  // namespace korvane
