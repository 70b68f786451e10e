#include "telemetry/event_conversion.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include "backend/json_codec.h"
#include "korvane/util/logger.h"
#include "korvane/version.h"
#include "util/number_text.h"

namespace korvane {
namespace {
constexpr std::string_view kTag = "EventBatchService";
}

std::string formatLocalTimestamp(double millisSince1970) {
  // Timestamps come from the host or a file that may have been tampered with; the cast below is
  // only defined within time_t's range, and the text only within years 1 to 9999 (in any zone).
  constexpr double kFirstSecond = -62135510400.0;  // 0001-01-02T00:00:00Z
  constexpr double kLastSecond = 253402214400.0;   // 9999-12-31T00:00:00Z
  const double wanted = std::isnan(millisSince1970) ? 0.0 : std::floor(millisSince1970 / 1000.0);
  const auto seconds = static_cast<std::time_t>(std::clamp(wanted, kFirstSecond, kLastSecond));
  std::tm local{};
  localtime_r(&seconds, &local);
  char buffer[32];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &local);
  return buffer;
}

std::string formatIso8601(std::chrono::system_clock::time_point time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char buffer[32];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return buffer;
}

std::string parameterText(const JsonValue& value) {
  if (value.is_string()) return value.get<std::string>();
  return json::dump(value);
}

TrackEventRequest toTrackEventRequest(const Event& event, const SendContext& context) {
  TrackEventRequest request;
  request.name = event.name();
  request.sdkVersion = kSdkVersion;
  request.timestamp = formatLocalTimestamp(event.timestamp);
  request.sessionId = context.sessionId;
  request.userId = context.userId;
  request.deviceId = context.deviceId;
  request.ifa = context.ifa;
  request.platform = kPlatformName;
  request.osVersion = context.osVersion;
  if (event.payload && event.payload->is_object())
    for (const auto& [key, value] : event.payload->items())
      request.parameters.emplace_back(key, parameterText(value));
  return request;
}

std::vector<TrackEventRequest> toTrackEventRequests(const std::vector<Event>& events,
                                                    const SendContext& context) {
  KorvaneLogger::d(kTag, [&] {
    return "Converting " + std::to_string(events.size()) + " events to TrackEventRequest format...";
  });
  std::vector<TrackEventRequest> requests;
  requests.reserve(events.size());
  for (const Event& event : events) {
    requests.push_back(toTrackEventRequest(event, context));
    KorvaneLogger::d(kTag, [&] {
      return "Sending event: " + requests.back().name +
             ", Timestamp: " + requests.back().timestamp +
             ", Original timestamp: " + swiftNumber(event.timestamp) +
             ", Raw: " + rawValue(event.type);
    });
  }
  return requests;
}

}  // namespace korvane
