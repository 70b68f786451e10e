#pragma once

#include "korvane/backend/content_records.h"
#include "korvane/util/json_value.h"

namespace korvane {

// The content records as JSON objects, with the backend's keys in its order and absent optional
// fields left out: what a record gives when the app encodes it.
JsonValue toJson(const QuizEvent& value);
JsonValue toJson(const QuizResponse& value);
JsonValue toJson(const Mission& value);
JsonValue toJson(const MissionResponse& value);
JsonValue toJson(const BannerInfoResponse& value);
JsonValue toJson(const PlacementUrlResponse& value);

}  // namespace korvane
