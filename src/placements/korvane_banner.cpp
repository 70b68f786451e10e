// Banner descriptions, through the placement class and through the facade.
#include "korvane/placements/korvane_banner.h"

#include "sdk/sdk_session.h"
#include "korvane/core/logger.h"
#include "placements/placement_support.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneBanner";
constexpr const char* kPlatformWord = "ios";

}  // namespace

KorvaneBanner& KorvaneBanner::shared() {
  // Stateless, so nothing is left to destroy at exit.
  static KorvaneBanner banner;
  return banner;
}

void KorvaneBanner::getBanner(const std::string& placementId,
                              std::function<void(const BannerInfoResponse&)> onSuccess,
                              std::function<void(KorvaneAdError)> onFailure) {
  // Every refusal reports notInitialized, the missing user included.
  const auto refuse = [&onFailure] {
    placements::onMainThread([onFailure] {
      if (onFailure) onFailure(KorvaneAdError::notInitialized);
    });
  };
  KorvaneSdk& sdk = KorvaneSdk::shared();
  std::shared_ptr<ApiService> api = sdk.isInitialized() ? placements::apiService(kTag) : nullptr;
  if (!api) {
    KorvaneLogger::w(kTag, "SDK not initialized");
    return refuse();
  }
  if (!sdk.isLoggedIn()) {
    KorvaneLogger::w(kTag, "User not logged in");
    return refuse();
  }
  // A logout may have come in between.
  std::optional<KorvaneSdkUser> user = sdk.getCurrentUser();
  if (!user) {
    KorvaneLogger::w(kTag, "Current user is nil");
    return refuse();
  }
  api->getBannerInfo(user->userId(), placementId, kPlatformWord,
                     [onSuccess = std::move(onSuccess),
                      onFailure = std::move(onFailure)](Result<BannerInfoResponse> answer) {
                       if (!answer) {
                         KorvaneLogger::e(kTag,
                                          "Error loading banner: " + answer.error().description,
                                          answer.error());
                         return placements::onMainThread([onFailure] {
                           if (onFailure) onFailure(KorvaneAdError::unknown);
                         });
                       }
                       if (!answer.value().success) {
                         KorvaneLogger::w(kTag, "Banner response error");
                         return placements::onMainThread([onFailure] {
                           if (onFailure) onFailure(KorvaneAdError::networkError);
                         });
                       }
                       KorvaneLogger::i(kTag, "Banner loaded successfully: " +
                                                  answer.value().imageUrl.value_or(""));
                       placements::onMainThread([onSuccess, response = std::move(answer).value()] {
                         if (onSuccess) onSuccess(response);
                       });
                     });
}

void KorvaneSdk::getBannerInfo(const std::string& placementId,
                               std::function<void(Result<BannerInfoResponse>)> completion) {
  if (!completion) completion = [](Result<BannerInfoResponse>) {};
  if (!isInitialized()) return completion(Error{"KorvaneSDK", -1, "SDK not initialized"});
  std::optional<KorvaneSdkUser> user = getCurrentUser();
  if (!user) return completion(Error{"KorvaneSDK", -2, "User not logged in"});
  std::shared_ptr<SdkSession> session = this->session();
  session->environment().tasks->submit(
      [session, placementId, userId = user->userId(), completion = std::move(completion)] {
        Result<std::shared_ptr<ApiService>> api = session->environment().network->apiService();
        if (!api) return completion(api.error());
        api.value()->getBannerInfo(userId, placementId, kPlatformWord, completion);
      });
}

}  // namespace korvane
