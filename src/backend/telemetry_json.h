#pragma once

#include <string>

#include "korvane/backend/telemetry_records.h"

// The telemetry bodies written straight to text: the same JSON as the records' toJson, without
// building a document first (this runs for every batch).
namespace korvane {

std::string encodeTrackEventBody(const TrackEventRequest& event);
std::string encodeBatchBody(const EventBatch& batch);

}  // namespace korvane
