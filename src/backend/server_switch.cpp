#include "backend/server_switch.h"

#include <algorithm>

namespace korvane {

const char* featureName(SdkFeature feature) {
  switch (feature) {
    case SdkFeature::sdk:
      return "sdk";
    case SdkFeature::telemetry:
      return "telemetry";
    case SdkFeature::offerwall:
      return "offerwall";
    case SdkFeature::placements:
      return "placements";
  }
  return "sdk";
}

std::optional<std::string> turnedOffByServer(const AppData& app, SdkFeature feature) {
  if (app.sdkEnabled == false) return "KorvaneSDK is turned off by the server";
  if (feature == SdkFeature::sdk) return std::nullopt;
  const std::vector<std::string>& off = app.disabledFeatures;
  if (std::find(off.begin(), off.end(), featureName(feature)) == off.end()) return std::nullopt;
  switch (feature) {
    case SdkFeature::telemetry:
      return "Telemetry is turned off by the server";
    case SdkFeature::offerwall:
      return "The offerwall is turned off by the server";
    case SdkFeature::placements:
      return "Placements are turned off by the server";
    case SdkFeature::sdk:
      break;
  }
  return std::nullopt;
}

}  // namespace korvane
