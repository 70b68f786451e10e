#include "placements/placement_support.h"

#include "korvane/util/logger.h"

namespace korvane::placements {

bool switchedOff(const SdkContext& context, std::string_view tag, std::string_view operation) {
  std::optional<Error> off = context.session()->refusal(SdkFeature::placements);
  if (!off) return false;
  KorvaneLogger::w(tag, std::string(operation) + ": " + off->description);
  return true;
}

bool refusedBeforeInitialization(const SdkContext& context, std::string_view tag,
                                 std::string_view operation) {
  if (switchedOff(context, tag, operation)) return true;
  if (context.session()->isInitialized()) return false;
  KorvaneLogger::w(tag, std::string(operation) + ": SDK not initialized");
  return true;
}

std::shared_ptr<ApiService> apiService(const SdkContext& context, std::string_view tag) {
  Result<std::shared_ptr<ApiService>> api = context.backend()->apiService();
  if (api) return api.value();
  KorvaneLogger::e(tag, "Failed to initialize API service: " + api.error().description);
  return nullptr;
}

std::string advertisingIdOrZero(const SdkContext& context) {
  return context.device()->cachedAdvertisingId().value_or(kZeroAdvertisingId);
}

void onMainThread(const SdkContext& context, std::function<void()> work) {
  context.platform().mainThread->post(std::move(work));
}

std::string decimalOrEmpty(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : std::string();
}

}  // namespace korvane::placements
