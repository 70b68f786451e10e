// Mission placements: loading, reporting and the refresh of the session's live instances.
#include "korvane/placements/korvane_mission.h"

#include <algorithm>
#include <unordered_set>

#include "korvane/util/logger.h"
#include "offerwall/offerwall_opening.h"
#include "placements/placement_registry.h"
#include "placements/placement_support.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneMission";

// The mission landing page's callback: it only logs.
class MissionOfferwallCallback final : public OfferwallCallback {
 public:
  void onOpened() override { KorvaneLogger::d(kTag, "Mission WebView opened"); }
  void onClosed() override { KorvaneLogger::d(kTag, "Mission WebView closed"); }
  void onError(const std::string& message) override {
    KorvaneLogger::d(kTag, "Mission WebView error: " + message);
  }
  void onRewardEarned(int amount) override {
    KorvaneLogger::d(kTag, "Mission reward earned: " + std::to_string(amount));
  }
};

// The reward page's callback: logs, and runs `onClosedCallback` when the page closes.
class RewardOfferwallCallback final : public OfferwallCallback {
 public:
  explicit RewardOfferwallCallback(std::function<void()> onClosedCallback)
      : onClosedCallback_(std::move(onClosedCallback)) {}
  void onOpened() override { KorvaneLogger::d(kTag, "Reward WebView opened"); }
  void onClosed() override {
    KorvaneLogger::d(kTag, "Reward WebView closed");
    if (onClosedCallback_) onClosedCallback_();
  }
  void onError(const std::string& message) override {
    KorvaneLogger::d(kTag, "Reward WebView error: " + message);
  }
  void onRewardEarned(int amount) override {
    KorvaneLogger::d(kTag, "Reward earned: " + std::to_string(amount));
  }

 private:
  std::function<void()> onClosedCallback_;
};

constexpr const char* kReloadLeftToHost =
    "Refreshing mission list after completion - React Native에서 처리";

}  // namespace

std::shared_ptr<KorvaneMission> KorvaneMission::create(std::shared_ptr<const SdkContext> context) {
  auto mission = std::make_shared<KorvaneMission>(Token{}, std::move(context));
  // The instance leaves the registry it joined, even when the session has changed since.
  std::shared_ptr<PlacementRegistry> registry = mission->context_->placementRegistry();
  mission->registry_ = registry;
  if (registry) registry->addMission(mission);
  KorvaneLogger::d(kTag, "KorvaneMission instance created");
  return mission;
}

KorvaneMission::KorvaneMission(Token, std::shared_ptr<const SdkContext> context)
    : context_(std::move(context)) {}

bool KorvaneMission::refusedBeforeInitialization(const char* operation) const {
  return placements::refusedBeforeInitialization(*context_, kTag, operation);
}

KorvaneMission::~KorvaneMission() {
  if (auto registry = registry_.lock()) registry->removeMission(this);
  KorvaneLogger::d(kTag, "KorvaneMission instance deallocated and removed from active list");
}

void KorvaneMission::destroy() {
  auto registry = registry_.lock();
  if (registry && registry->removeMission(this))
    KorvaneLogger::d(kTag, "Removed mission instance from active list");
}

void KorvaneMission::load(SuccessCallback onSuccess, FailureCallback onFailure,
                          bool shouldStoreCallbacks) {
  KorvaneLogger::d(kTag, "Loading missions");
  const SessionFacts& session = *context_->session();
  // Refusals too reach the caller on the main thread, as every load result does.
  const auto refuse = [this, &onFailure] {
    placements::onMainThread(*context_, [onFailure] {
      if (onFailure) onFailure(KorvaneAdError::notInitialized);
    });
  };
  if (placements::switchedOff(*context_, kTag, "load")) return refuse();
  if (!session.isInitialized()) {
    KorvaneLogger::w(kTag, "SDK not initialized");
    return refuse();
  }
  std::optional<KorvaneSdkUser> user = session.currentUser();
  if (!user) {
    KorvaneLogger::w(kTag, "User not logged in");
    return refuse();
  }
  std::shared_ptr<ApiService> api = placements::apiService(*context_, kTag);
  if (!api) {
    KorvaneLogger::e(kTag, "API service is nil after initialization check");
    return refuse();
  }
  if (shouldStoreCallbacks) {
    std::lock_guard lock(mutex_);
    loadSuccessCallback_ = onSuccess;
    loadFailureCallback_ = onFailure;
  }
  api->getMissions(
      user->userId(), "iOS", placements::advertisingIdOrZero(*context_),
      [context = context_, weak = weak_from_this(), onSuccess = std::move(onSuccess),
       onFailure = std::move(onFailure)](Result<MissionResponse> answer) {
        placements::onMainThread(
            *context, [weak, onSuccess, onFailure, answer = std::move(answer)] {
              if (!answer) {
                KorvaneLogger::e(kTag, "Error loading missions: " + answer.error().description);
                if (onFailure) onFailure(KorvaneAdError::loadFailed);
                return;
              }
              if (auto self = weak.lock()) return self->finishLoad(answer.value(), onSuccess);
              // A placement the host let go keeps no list and reports no impression, but its
              // caller still hears how the load ended.
              const MissionResponse& response = answer.value();
              if (onSuccess)
                onSuccess(response.events, MissionProgress{response.current, response.total});
            });
      });
}

void KorvaneMission::finishLoad(const MissionResponse& response, const SuccessCallback& onSuccess) {
  {
    std::lock_guard lock(mutex_);
    missions_ = response.events;
    missionResponse_ = response;
    rewardUrl_ = response.rewardUrl;
  }
  KorvaneLogger::i(kTag, [&] {
    return "Loaded " + std::to_string(response.events.size()) +
           " missions, progress: " + std::to_string(response.current) + "/" +
           std::to_string(response.total) + ", reward_url: " + response.rewardUrl.value_or("nil");
  });
  KorvaneLogger::d(
      kTag, "Tracking impressions for " + std::to_string(response.events.size()) + " missions");
  for (const Mission& mission : response.events) {
    KorvaneLogger::d(kTag, "Calling onMissionImpressed for mission: " + mission.id);
    onMissionImpressed(mission);
  }
  if (onSuccess) onSuccess(response.events, MissionProgress{response.current, response.total});
}

void KorvaneMission::reload() {
  SuccessCallback onSuccess;
  FailureCallback onFailure;
  {
    std::lock_guard lock(mutex_);
    onSuccess = loadSuccessCallback_;
    onFailure = loadFailureCallback_;
  }
  if (!onSuccess && !onFailure) KorvaneLogger::w(kTag, "reload: no stored callbacks");
  load(std::move(onSuccess), std::move(onFailure), false);
}

void KorvaneMission::setEventsListener(std::shared_ptr<KorvaneMissionEventsListener> listener) {
  std::lock_guard lock(mutex_);
  eventsListener_ = std::move(listener);
}

std::vector<Mission> KorvaneMission::getMissions() const {
  if (refusedBeforeInitialization("getMissions")) return {};
  std::lock_guard lock(mutex_);
  return missions_;
}

std::optional<Mission> KorvaneMission::getMission(const std::string& missionId) const {
  if (refusedBeforeInitialization("getMission")) return std::nullopt;
  std::lock_guard lock(mutex_);
  const auto it = std::find_if(missions_.begin(), missions_.end(),
                               [&](const Mission& mission) { return mission.id == missionId; });
  if (it == missions_.end()) return std::nullopt;
  return *it;
}

std::optional<MissionResponse> KorvaneMission::missionResponse() const {
  std::lock_guard lock(mutex_);
  return missionResponse_;
}

std::optional<std::string> KorvaneMission::rewardUrl() const {
  std::lock_guard lock(mutex_);
  return rewardUrl_;
}

void KorvaneMission::markAsParticipating(const std::string& missionId) {
  if (refusedBeforeInitialization("markAsParticipating")) return;
  {
    std::lock_guard lock(mutex_);
    participatingMissions_.insert(missionId);
  }
  KorvaneLogger::i(kTag, "Mission marked as participating: " + missionId);
}

bool KorvaneMission::isParticipating(const std::string& missionId) const {
  if (refusedBeforeInitialization("isParticipating")) return false;
  std::lock_guard lock(mutex_);
  return participatingMissions_.contains(missionId);
}

void KorvaneMission::clickMission(const std::string& missionId, PresentationAnchor* from) {
  if (refusedBeforeInitialization("clickMission")) return;
  std::optional<Mission> mission = getMission(missionId);
  if (!mission) return KorvaneLogger::w(kTag, "Mission not found: " + missionId);
  clickMission(*mission, from);
}

void KorvaneMission::clickMission(const Mission& mission, PresentationAnchor* from) {
  if (refusedBeforeInitialization("clickMission")) return;
  KorvaneLogger::i(kTag, "Mission clicked: " + mission.id);
  onMissionClicked(mission);
  KorvaneLogger::i(kTag, "Opening mission WebView for mission: " + mission.id);
  if (auto registry = registry_.lock()) registry->setActiveMission(shared_from_this());
  offerwall::presentFullScreen(offerwall::offerwallFor(context_, mission.landingUrl),
                               std::make_shared<MissionOfferwallCallback>(), from);
}

void KorvaneMission::onMissionClicked(const Mission& mission) {
  report(Report::clicked, mission, "onMissionClicked");
}
void KorvaneMission::onMissionImpressed(const Mission& mission) {
  report(Report::impressed, mission, "onMissionImpressed");
}
void KorvaneMission::onMissionCompleted(const Mission& mission) {
  report(Report::completed, mission, "onMissionCompleted");
}
void KorvaneMission::onMissionProgressed(const Mission& mission) {
  report(Report::progressed, mission, "onMissionProgressed");
}

void KorvaneMission::report(Report kind, const Mission& mission, const char* operation) {
  if (refusedBeforeInitialization(operation)) return;
  struct Shape {
    const char* logged;
    EventType type;
    void (KorvaneMissionEventsListener::*notify)(const Mission&);
  };
  static constexpr Shape kShapes[] = {
      {"Mission clicked: ", EventType::missionClicked, &KorvaneMissionEventsListener::onClicked},
      {"Mission impressed: ", EventType::missionImpressed,
       &KorvaneMissionEventsListener::onImpressed},
      {"Mission completed: ", EventType::missionCompleted,
       &KorvaneMissionEventsListener::onCompleted},
      {"Mission progressed: ", EventType::missionProgressed,
       &KorvaneMissionEventsListener::onProgressed},
  };
  const Shape& shape = kShapes[static_cast<int>(kind)];
  KorvaneLogger::i(kTag, shape.logged + mission.id);
  std::shared_ptr<KorvaneMissionEventsListener> listener;
  {
    std::lock_guard lock(mutex_);
    listener = eventsListener_;
  }
  if (listener) ((*listener).*shape.notify)(mission);
  context_->tracker()->trackEvent(
      shape.type, "mission",
      JsonValue{{"missionId", mission.id},
                {"missionTitle", mission.title},
                {"impressionOrder", placements::decimalOrEmpty(mission.impressionOrder)},
                {"placementId", mission.placementId.value_or("")}});
  if (kind == Report::completed) KorvaneLogger::d(kTag, kReloadLeftToHost);
}

void KorvaneMission::onRewardButtonClicked(PresentationAnchor* from) {
  if (refusedBeforeInitialization("onRewardButtonClicked")) return;
  KorvaneLogger::i(kTag, "Reward button clicked");
  std::optional<std::string> url = rewardUrl();
  if (!url) return KorvaneLogger::w(kTag, "No reward URL available");
  KorvaneLogger::d(kTag, "Opening reward WebView with URL: " + *url);
  auto callback = std::make_shared<RewardOfferwallCallback>([weak = weak_from_this()] {
    if (weak.lock()) KorvaneLogger::d(kTag, kReloadLeftToHost);
  });
  offerwall::presentFullScreen(offerwall::offerwallFor(context_, *url), callback, from);
}

void KorvaneMission::refreshMissionList(const SdkContext& context,
                                        const std::optional<std::string>& unitId) {
  KorvaneLogger::d(kTag, "[refreshMissionList] Called with unitId: " + unitId.value_or("nil"));
  if (placements::switchedOff(context, kTag, "refreshMissionList")) return;
  context.tracker()->trackEvent(
      EventType::custom, "mission",
      JsonValue{{"action", "refresh_mission_list"}, {"source", "static_method"}});
  std::shared_ptr<PlacementRegistry> registry = context.placementRegistry();
  PlacementRegistry::LiveMissions live =
      registry ? registry->liveMissions() : PlacementRegistry::LiveMissions{};
  if (live.dropped > 0)
    KorvaneLogger::d(kTag, "Cleaned up " + std::to_string(live.dropped) + " nil instances");
  std::unordered_set<const void*> notified;
  for (const auto& mission : live.missions) {
    std::shared_ptr<KorvaneMissionEventsListener> listener;
    {
      std::lock_guard lock(mission->mutex_);
      listener = mission->eventsListener_;
    }
    if (!listener) continue;
    if (!notified.insert(listener->identity()).second) {
      KorvaneLogger::d(kTag, "Skipping duplicate notification for listener");
      continue;
    }
    KorvaneLogger::d(kTag, "Notifying mission instance listener");
    listener->onRefreshed(unitId);
  }
  KorvaneLogger::d(kTag, "[refreshMissionList] Completed - Sent to " +
                             std::to_string(notified.size()) + " unique listeners (from " +
                             std::to_string(live.missions.size()) + " instances)");
}

}  // namespace korvane
