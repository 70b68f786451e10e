#pragma once

#include <optional>
#include <string>

namespace korvane {

// Where the SDK's start stands. `failed` may not be final: a validation that failed for the
// network, the server or its answer is tried again (with backoff, and when the network comes
// back), and the state moves on to `validating` and `ready` by itself.
enum class SdkState { notStarted, validating, ready, failed };

// Why the start failed. Refused keys and a disabled SDK are final: the app has to initialize
// again with other keys, or the SDK waits for a new version or the server's word.
enum class SdkFailureReason { refusedKeys, network, server, malformedAnswer, disabled };

struct SdkStatus {
  SdkState state = SdkState::notStarted;
  std::optional<SdkFailureReason> reason;  // set only when failed
  std::string message;                     // what failed, for a log or a developer

  friend bool operator==(const SdkStatus&, const SdkStatus&) = default;
};

// "not_started", "validating", "ready", "failed".
const char* rawValue(SdkState state);
// "refused_keys", "network", "server", "malformed_answer", "disabled".
const char* rawValue(SdkFailureReason reason);
// A sentence for a person: what the reason means and what happens next.
const char* describe(SdkFailureReason reason);

// Why an offerwall cannot be shown right now, in the order they are checked.
enum class OfferwallUnavailableReason {
  notInitialized,      // the start has not finished validating (yet)
  validationFailed,    // validation failed; see the SDK status for why
  disabledByServer,    // the backend switched the offerwall off for this app
  noOfferwallAddress,  // validation gave no offerwall address
  noUser,              // nobody is logged in
  offline,             // the device has no network: the offline page would show
};

struct OfferwallAvailability {
  std::optional<OfferwallUnavailableReason> unavailable;  // nothing: ready to show

  bool isReady() const { return !unavailable.has_value(); }
  friend bool operator==(const OfferwallAvailability&, const OfferwallAvailability&) = default;
};

// "not_initialized", "validation_failed", "disabled_by_server", "no_offerwall_address",
// "no_user", "offline".
const char* rawValue(OfferwallUnavailableReason reason);
const char* describe(OfferwallUnavailableReason reason);

}  // namespace korvane
