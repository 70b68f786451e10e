#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "context/sdk_context.h"
#include "korvane/backend/api_service.h"

namespace korvane::placements {

// True, after a warning naming the reason, when the server turned the placements off or the SDK
// is inert.
bool switchedOff(const SdkContext& context, std::string_view tag, std::string_view operation);
// True, after the warning "<operation>: SDK not initialized", when the SDK is not initialised
// (or after switchedOff's warning, when the placements are off).
bool refusedBeforeInitialization(const SdkContext& context, std::string_view tag,
                                 std::string_view operation);
// The SDK's API service, or nothing after logging "Failed to initialize API service: " under
// `tag`.
std::shared_ptr<ApiService> apiService(const SdkContext& context, std::string_view tag);
// The identifier the device layer cached, or the zero identifier.
std::string advertisingIdOrZero(const SdkContext& context);
// Runs `work` on the main thread (queued even when called there, so callbacks never re-enter).
void onMainThread(const SdkContext& context, std::function<void()> work);
// An optional number as decimal text, empty when absent.
std::string decimalOrEmpty(const std::optional<std::int64_t>& number);

}  // namespace korvane::placements
