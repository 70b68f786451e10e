#pragma once

#include <optional>
#include <string>

#include "korvane/values/error.h"

namespace korvane {

// Why a placement (banner, mission, quiz) failed.
enum class KorvaneAdError { notInitialized, loadFailed, networkError, noFill, unknown };

const char* localizedDescription(KorvaneAdError error);
// The same failure as an error value (domain "KorvaneAdError", code = the case's index).
Error toError(KorvaneAdError error);

// Why login failed; handed to KorvaneSdkLoginListener::onFailure.
enum class KorvaneLoginError : int {
  notInitialized = 0,
  invalidUserId = 1,
  networkError = 2,
  unknown = 3
};

const char* description(KorvaneLoginError error);
// Login error from its raw value; nothing for values outside 0...3.
std::optional<KorvaneLoginError> loginErrorFromRawValue(long rawValue);

// The facade's own refusals: errors of domain "KorvaneSDK" with these codes.
enum class KorvaneSdkError : long {
  notInitialized = -1,
  notLoggedIn = -2,
  // The backend's validation answer turned the SDK, or the part asked for, off.
  turnedOffByServer = -3,
  // The SDK's start ended the app's process three times in a row: it does nothing until the app
  // or the SDK is updated.
  inertAfterCrashes = -4,
};

inline constexpr const char* kSdkErrorDomain = "KorvaneSDK";
// The refusal as an error value; `description` is what a person reads.
Error toError(KorvaneSdkError code, std::string description);

// Receives the outcome of KorvaneSdk::login on the main thread.
class KorvaneSdkLoginListener {
 public:
  virtual ~KorvaneSdkLoginListener() = default;
  virtual void onSuccess() = 0;
  virtual void onFailure(KorvaneLoginError error) = 0;
};

}  // namespace korvane
