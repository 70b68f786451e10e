#include "korvane/values/public_errors.h"

#include <cstdlib>

namespace korvane {

const char* localizedDescription(KorvaneAdError error) {
  switch (error) {
    case KorvaneAdError::notInitialized:
      return "SDK not initialized";
    case KorvaneAdError::loadFailed:
      return "Failed to load ad";
    case KorvaneAdError::networkError:
      return "Network error occurred";
    case KorvaneAdError::noFill:
      return "No ads available";
    case KorvaneAdError::unknown:
      return "Unknown error occurred";
  }
  std::abort();
}

Error toError(KorvaneAdError error) {
  return Error{"KorvaneAdError", static_cast<long>(error), localizedDescription(error),
               "KorvaneAdError"};
}

Error toError(KorvaneSdkError code, std::string description) {
  return Error{kSdkErrorDomain, static_cast<long>(code), std::move(description), "KorvaneSdkError"};
}

const char* description(KorvaneLoginError error) {
  switch (error) {
    case KorvaneLoginError::notInitialized:
      return "SDK is not initialized";
    case KorvaneLoginError::invalidUserId:
      return "User ID cannot be empty";
    case KorvaneLoginError::networkError:
      return "Network error occurred";
    case KorvaneLoginError::unknown:
      return "Unknown error occurred";
  }
  std::abort();
}

std::optional<KorvaneLoginError> loginErrorFromRawValue(long rawValue) {
  if (rawValue < 0 || rawValue > 3) return std::nullopt;
  return static_cast<KorvaneLoginError>(rawValue);
}

}  // namespace korvane
