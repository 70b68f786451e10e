#include "korvane/values/sdk_readiness.h"

namespace korvane {

const char* rawValue(SdkState state) {
  switch (state) {
    case SdkState::notStarted:
      return "not_started";
    case SdkState::validating:
      return "validating";
    case SdkState::ready:
      return "ready";
    case SdkState::failed:
      return "failed";
  }
  return "failed";
}

const char* rawValue(SdkFailureReason reason) {
  switch (reason) {
    case SdkFailureReason::refusedKeys:
      return "refused_keys";
    case SdkFailureReason::network:
      return "network";
    case SdkFailureReason::server:
      return "server";
    case SdkFailureReason::malformedAnswer:
      return "malformed_answer";
    case SdkFailureReason::disabled:
      return "disabled";
  }
  return "server";
}

const char* describe(SdkFailureReason reason) {
  switch (reason) {
    case SdkFailureReason::refusedKeys:
      return "The backend refused the app key or secret; initialize again with the right keys.";
    case SdkFailureReason::network:
      return "The backend could not be reached; validation is tried again when the network "
             "comes back.";
    case SdkFailureReason::server:
      return "The backend failed; validation is tried again shortly.";
    case SdkFailureReason::malformedAnswer:
      return "The backend's answer could not be read; validation is tried again shortly.";
    case SdkFailureReason::disabled:
      return "The SDK is switched off: by the server, or after its start ended the app repeatedly.";
  }
  return "";
}

const char* rawValue(OfferwallUnavailableReason reason) {
  switch (reason) {
    case OfferwallUnavailableReason::notInitialized:
      return "not_initialized";
    case OfferwallUnavailableReason::validationFailed:
      return "validation_failed";
    case OfferwallUnavailableReason::disabledByServer:
      return "disabled_by_server";
    case OfferwallUnavailableReason::noOfferwallAddress:
      return "no_offerwall_address";
    case OfferwallUnavailableReason::noUser:
      return "no_user";
    case OfferwallUnavailableReason::offline:
      return "offline";
  }
  return "not_initialized";
}

const char* describe(OfferwallUnavailableReason reason) {
  switch (reason) {
    case OfferwallUnavailableReason::notInitialized:
      return "The SDK has not finished initializing.";
    case OfferwallUnavailableReason::validationFailed:
      return "The SDK could not validate the app.";
    case OfferwallUnavailableReason::disabledByServer:
      return "The offerwall is switched off for this app.";
    case OfferwallUnavailableReason::noOfferwallAddress:
      return "The backend gave no offerwall address for this app.";
    case OfferwallUnavailableReason::noUser:
      return "No user is logged in.";
    case OfferwallUnavailableReason::offline:
      return "The device is offline.";
  }
  return "";
}

}  // namespace korvane
