// Banner descriptions for the placement class.
#include "korvane/placements/korvane_banner.h"

#include "korvane/util/logger.h"
#include "placements/banner_loading.h"
#include "placements/placement_support.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneBanner";

}  // namespace

void placements::loadBanner(const Context& context, const std::string& placementId,
                            std::function<void(const BannerInfoResponse&)> onSuccess,
                            std::function<void(KorvaneAdError)> onFailure) {
  // Every refusal reports notInitialized, the missing user included.
  const auto refuse = [&onFailure, &context] {
    placements::onMainThread(*context, [onFailure] {
      if (onFailure) onFailure(KorvaneAdError::notInitialized);
    });
  };
  if (placements::switchedOff(*context, kTag, "getBanner")) return refuse();
  const SessionFacts& session = *context->session();
  std::shared_ptr<ApiService> api =
      session.isInitialized() ? placements::apiService(*context, kTag) : nullptr;
  if (!api) {
    KorvaneLogger::w(kTag, "SDK not initialized");
    return refuse();
  }
  if (!session.currentUser()) {
    KorvaneLogger::w(kTag, "User not logged in");
    return refuse();
  }
  // A logout may have come in between.
  std::optional<KorvaneSdkUser> user = session.currentUser();
  if (!user) {
    KorvaneLogger::w(kTag, "Current user is nil");
    return refuse();
  }
  api->getBannerInfo(
      user->userId(), placementId, placements::kBannerPlatformWord,
      [context, onSuccess = std::move(onSuccess),
       onFailure = std::move(onFailure)](Result<BannerInfoResponse> answer) {
        if (!answer) {
          KorvaneLogger::e(kTag, "Error loading banner: " + answer.error().description,
                           answer.error());
          return placements::onMainThread(*context, [onFailure] {
            if (onFailure) onFailure(KorvaneAdError::unknown);
          });
        }
        if (!answer.value().success) {
          KorvaneLogger::w(kTag, "Banner response error");
          return placements::onMainThread(*context, [onFailure] {
            if (onFailure) onFailure(KorvaneAdError::networkError);
          });
        }
        KorvaneLogger::i(kTag,
                         "Banner loaded successfully: " + answer.value().imageUrl.value_or(""));
        placements::onMainThread(*context, [onSuccess, response = std::move(answer).value()] {
          if (onSuccess) onSuccess(response);
        });
      });
}

}  // namespace korvane
