#pragma once

#include <optional>
#include <string>

#include "korvane/backend/app_records.h"

namespace korvane {

// What the server's off switch can turn off: the SDK as a whole, or one of its parts.
enum class SdkFeature { sdk, telemetry, offerwall, placements };

// The part's name in the app record's "disabledFeatures" ("sdk" for the whole, which that list
// cannot name: "sdkEnabled" does).
const char* featureName(SdkFeature feature);

// Why the validated app record turns `feature` off, as a person reads it, or nothing when it is
// on. "sdkEnabled": false turns every part off; "disabledFeatures" turns off the parts it names.
std::optional<std::string> turnedOffByServer(const AppData& app, SdkFeature feature);

}  // namespace korvane
