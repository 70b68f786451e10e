// The host-facing objects a host makes itself: each takes the process-wide facade's context once,
// when it is made, and keeps it. The host-facing process-wide entry points (the banner, the
// full-screen offerwall's shared callbacks) forward to the facade's session of the moment. The
// only places besides the facade that read the singleton.
#include "korvane/offerwall/offerwall_view.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/placements/korvane_banner.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"
#include "offerwall/callback_slots.h"
#include "placements/banner_loading.h"
#include "sdk/sdk_environment.h"

namespace korvane {

std::shared_ptr<KorvaneMission> KorvaneMission::create() {
  return create(FacadeAccess::context());
}

void KorvaneMission::refreshMissionList(const std::optional<std::string>& unitId) {
  refreshMissionList(*FacadeAccess::context(), unitId);
}

std::shared_ptr<KorvaneQuiz> KorvaneQuiz::create() {
  return create(FacadeAccess::context());
}

KorvaneBanner& KorvaneBanner::shared() {
  // Stateless, so nothing is left to destroy at exit.
  static KorvaneBanner banner;
  return banner;
}

// The banner object is stateless and process-wide, so it reads the facade at each call.
void KorvaneBanner::getBanner(const std::string& placementId,
                              std::function<void(const BannerInfoResponse&)> onSuccess,
                              std::function<void(KorvaneAdError)> onFailure) {
  placements::loadBanner(FacadeAccess::context(), placementId, std::move(onSuccess),
                         std::move(onFailure));
}

std::shared_ptr<KorvaneOfferwallViewController> KorvaneOfferwallViewController::create() {
  return create(FacadeAccess::context());
}

std::shared_ptr<KorvaneOfferwallView> KorvaneOfferwallView::create(FirstPageMaker makeFirstPage) {
  return create(FacadeAccess::context(), std::move(makeFirstPage));
}

namespace {

OfferwallSlots& facadeSlots() {
  return *FacadeAccess::context()->offerwallSlots();
}

}  // namespace

void KorvaneOfferwallViewController::setOfferwallCallback(
    std::shared_ptr<OfferwallCallback> callback) {
  facadeSlots().offerwallCallback = std::move(callback);
}
std::shared_ptr<OfferwallCallback> KorvaneOfferwallViewController::offerwallCallback() {
  return facadeSlots().offerwallCallback;
}
void KorvaneOfferwallViewController::setEventCallback(
    std::shared_ptr<OfferwallEventCallback> callback) {
  facadeSlots().eventCallback = std::move(callback);
}
std::shared_ptr<OfferwallEventCallback> KorvaneOfferwallViewController::eventCallback() {
  return facadeSlots().eventCallback;
}
bool KorvaneOfferwallViewController::hasFiredOnClosed() {
  return facadeSlots().hasFiredOnClosed;
}
void KorvaneOfferwallViewController::setHasFiredOnClosed(bool fired) {
  facadeSlots().hasFiredOnClosed = fired;
}
std::vector<Weak<KorvaneOfferwallViewController>>
KorvaneOfferwallViewController::activeSubControllers() {
  return facadeSlots().activeSubControllers;
}

}  // namespace korvane
