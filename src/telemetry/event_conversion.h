#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "korvane/backend/telemetry_records.h"
#include "korvane/telemetry/event.h"
#include "telemetry/send_context.h"

namespace korvane {

// "yyyy-MM-dd HH:mm:ss" in the device's time zone, for a time in milliseconds since 1970.
std::string formatLocalTimestamp(double millisSince1970);
// ISO 8601 in UTC, e.g. "2026-03-01T09:15:00Z".
std::string formatIso8601(std::chrono::system_clock::time_point time);

// A payload value as the backend's text parameters carry it: strings as they are, anything
// else as its compact JSON text (3, 2.5, true, null, [1,2], {"a":1}).
std::string parameterText(const JsonValue& value);

// Events in queue order to their wire form, with the batch's shared context.
std::vector<TrackEventRequest> toTrackEventRequests(const std::vector<Event>& events,
                                                    const SendContext& context);
TrackEventRequest toTrackEventRequest(const Event& event, const SendContext& context);

}  // namespace korvane
