#pragma once

#include <functional>
#include <string>

#include "context/sdk_context.h"
#include "korvane/backend/content_records.h"
#include "korvane/values/public_errors.h"

namespace korvane::placements {

// The platform word banner requests carry.
inline constexpr const char* kBannerPlatformWord = "ios";

// KorvaneBanner::getBanner on `context`: one request, exactly one callback, on the main thread.
void loadBanner(const Context& context, const std::string& placementId,
                std::function<void(const BannerInfoResponse&)> onSuccess,
                std::function<void(KorvaneAdError)> onFailure);

}  // namespace korvane::placements
