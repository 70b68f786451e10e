#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

// One event as the backend receives it.
struct TrackEventRequest {
  std::string name;
  std::string sdkVersion;
  std::string timestamp;  // "yyyy-MM-dd HH:mm:ss", device time zone
  std::string sessionId;
  std::optional<std::string> userId;
  std::string deviceId;
  std::string ifa;
  std::string platform;
  std::string osVersion;
  std::vector<std::pair<std::string, std::string>>
      parameters;  // payload values as text, in payload order
};

struct EventBatch {
  std::string batchId;
  std::string batchTimestamp;  // ISO 8601, UTC, e.g. 2026-03-01T09:15:00Z
  std::string sdkVersion;
  std::string platform;
  std::vector<TrackEventRequest> events;
};

struct EventBatchResponse {
  bool success = false;
  std::int64_t processedCount = 0;
  std::vector<std::string> failedEventIds;
};

}  // namespace korvane
