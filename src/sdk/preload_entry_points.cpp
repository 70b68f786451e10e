// The facade's preloaded offerwall: keeping one page warm, handing it to the next opening, and
// letting it go when the user changes.
#include "korvane/sdk/korvane_sdk.h"
#include "korvane/util/logger.h"
#include "offerwall/offerwall_opening.h"
#include "offerwall/warm_offerwall.h"
#include "sdk/sdk_session.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneSdk";

}  // namespace

std::shared_ptr<offerwall::WarmOfferwall> KorvaneSdk::warmOfferwall() const {
  if (auto existing = existingWarmOfferwall()) return existing;
  // Made outside the lock: it asks the context (and so the session) for the platform.
  auto made = offerwall::WarmOfferwall::create(context());
  std::lock_guard lock(sessionLock_);
  if (!warm_) warm_ = std::move(made);
  return warm_;
}

std::shared_ptr<offerwall::WarmOfferwall> KorvaneSdk::existingWarmOfferwall() const {
  std::lock_guard lock(sessionLock_);
  return warm_;
}

void KorvaneSdk::preloadOfferwall(const std::string& placementId) {
  const Context context = this->context();
  const std::shared_ptr<MainThread>& mainThread = context->platform().mainThread;
  if (mainThread && !mainThread->isCurrent()) {
    mainThread->post([this, placementId] { preloadOfferwall(placementId); });
    return;
  }
  if (!offerwall::preconditionsHold(*context->session(), false, nullptr)) return;
  std::optional<AppData> app = context->session()->validatedAppData();
  if (!app || app->korvaneHubUrl.empty()) {
    KorvaneLogger::w(kTag, "Offerwall URL not available; nothing preloaded");
    return;
  }
  warmOfferwall()->keep(
      {placementId, app->korvaneHubUrl, context->session()->currentUser()->userId()});
}

std::shared_ptr<KorvaneOfferwallViewController> KorvaneSdk::takePreloaded(
    const std::string& placementId, const std::string& url) {
  std::shared_ptr<offerwall::WarmOfferwall> warm = existingWarmOfferwall();
  std::optional<KorvaneSdkUser> user = context()->session()->currentUser();
  if (!warm || !user) return nullptr;
  return warm->take({placementId, url, user->userId()});
}

void KorvaneSdk::forgetPreloadedUnlessFor(const std::optional<std::string>& userId) {
  std::shared_ptr<offerwall::WarmOfferwall> warm = existingWarmOfferwall();
  if (!warm) return;
  auto forget = [warm, userId] {
    if (userId) return warm->dropUnlessFor(*userId);
    warm->drop("the user logged out");
  };
  const std::shared_ptr<MainThread>& mainThread = context()->platform().mainThread;
  if (!mainThread || mainThread->isCurrent()) return forget();
  mainThread->post(std::move(forget));
}

}  // namespace korvane
