#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "korvane/backend/content_records.h"
#include "korvane/values/public_errors.h"

namespace korvane {

class PlacementRegistry;
class PresentationAnchor;
class SdkContext;

// What the host hears about one mission placement. Mission events arrive on the thread that
// raised them (the main thread for loads and pages); onRefreshed asks the host to load again.
class KorvaneMissionEventsListener {
 public:
  virtual ~KorvaneMissionEventsListener() = default;
  virtual void onClicked(const Mission& mission) = 0;
  virtual void onImpressed(const Mission& mission) = 0;
  virtual void onCompleted(const Mission& mission) = 0;
  virtual void onProgressed(const Mission& mission) = 0;
  virtual void onRefreshed(const std::optional<std::string>& unitId) = 0;
  // The object this listener stands for: listeners with one identity hear a refresh once. A
  // platform layer that wraps the app's object per placement returns that object.
  virtual const void* identity() const { return this; }
};

// One mission placement: loads the user's mission list, reports impressions, clicks, progress and
// completion (listener first, then telemetry) and opens mission and reward pages in the
// offerwall. Every live instance is registered with the SDK's session of its making, so the
// offerwall's pages can reach it. Call from the main thread; load callbacks arrive there.
class KorvaneMission : public std::enable_shared_from_this<KorvaneMission> {
  struct Token {
    explicit Token() = default;
  };

 public:
  using SuccessCallback = std::function<void(const std::vector<Mission>&, MissionProgress)>;
  using FailureCallback = std::function<void(KorvaneAdError)>;

  // On the process-wide SDK (KorvaneSdk::shared()), read once, now.
  static std::shared_ptr<KorvaneMission> create();
  // On the context the SDK makes its own objects with.
  static std::shared_ptr<KorvaneMission> create(std::shared_ptr<const SdkContext> context);
  KorvaneMission(Token, std::shared_ptr<const SdkContext> context);
  ~KorvaneMission();
  KorvaneMission(const KorvaneMission&) = delete;
  KorvaneMission& operator=(const KorvaneMission&) = delete;

  // Loads the list; every listed mission is reported impressed, in order, before onSuccess.
  // With shouldStoreCallbacks the two callbacks are kept for reload().
  void load(SuccessCallback onSuccess, FailureCallback onFailure,
            bool shouldStoreCallbacks = false);
  // Loads again with the stored callbacks (a refresh request's natural answer).
  void reload();
  void setEventsListener(std::shared_ptr<KorvaneMissionEventsListener> listener);

  std::vector<Mission> getMissions() const;
  std::optional<Mission> getMission(const std::string& missionId) const;
  std::optional<MissionResponse> missionResponse() const;
  std::optional<std::string> rewardUrl() const;

  void markAsParticipating(const std::string& missionId);
  bool isParticipating(const std::string& missionId) const;

  // Reports the click and opens the mission's landing page over `from` (the top screen when
  // null). An unknown id opens nothing.
  void clickMission(const std::string& missionId, PresentationAnchor* from);
  void clickMission(const Mission& mission, PresentationAnchor* from);

  void onMissionClicked(const Mission& mission);
  void onMissionImpressed(const Mission& mission);
  void onMissionCompleted(const Mission& mission);
  void onMissionProgressed(const Mission& mission);

  // Opens the reward page of the last load, if it named one.
  void onRewardButtonClicked(PresentationAnchor* from);
  // Leaves the registry now rather than at destruction.
  void destroy();

  // Asks every live instance of the SDK's session, once per distinct listener, to load again.
  static void refreshMissionList(const std::optional<std::string>& unitId);
  // The same, recording the refresh through `context`.
  static void refreshMissionList(const SdkContext& context,
                                 const std::optional<std::string>& unitId);

 private:
  enum class Report { clicked, impressed, completed, progressed };
  void report(Report kind, const Mission& mission, const char* operation);
  void finishLoad(const MissionResponse& response, const SuccessCallback& onSuccess);
  bool refusedBeforeInitialization(const char* operation) const;

  const std::shared_ptr<const SdkContext> context_;
  // The registry it joined when it was made; it dies with its session.
  std::weak_ptr<PlacementRegistry> registry_;
  mutable std::mutex mutex_;
  std::vector<Mission> missions_;
  std::optional<MissionResponse> missionResponse_;
  std::optional<std::string> rewardUrl_;
  std::shared_ptr<KorvaneMissionEventsListener> eventsListener_;
  std::set<std::string> participatingMissions_;
  SuccessCallback loadSuccessCallback_;
  FailureCallback loadFailureCallback_;
};

}  // namespace korvane
