#pragma once

#include <functional>
#include <string>

#include "korvane/backend/content_records.h"
#include "korvane/values/public_errors.h"

namespace korvane {

// Banner descriptions for the host to lay out. Nothing is cached: every call is one request.
// Exactly one callback runs per call, on the main thread. Refusals (no SDK, no user) report
// notInitialized, a backend answer with success false networkError, a transport or decoding
// failure unknown.
class KorvaneBanner {
 public:
  static KorvaneBanner& shared();

  void getBanner(const std::string& placementId,
                 std::function<void(const BannerInfoResponse&)> onSuccess,
                 std::function<void(KorvaneAdError)> onFailure);

 private:
  KorvaneBanner() = default;
};

}  // namespace korvane
