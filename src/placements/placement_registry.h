#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "context/sdk_context.h"
#include "korvane/backend/content_records.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"

namespace korvane {

// The session's record of live mission placements and of the quiz being shown, which is how the
// offerwall's pages reach the placements. The session owns it and the context hands it out, so a
// placement registered in one session is not reached from another. Never holds a placement alive;
// never calls one while its lock is held.
class PlacementRegistry final : public PlacementMessages {
 public:
  void addMission(const std::shared_ptr<KorvaneMission>& mission);
  // True when the instance was still registered.
  bool removeMission(const KorvaneMission* mission);
  struct LiveMissions {
    std::vector<std::shared_ptr<KorvaneMission>> missions;  // registry order
    std::size_t dropped = 0;                                // entries whose instance was gone
  };
  LiveMissions liveMissions();
  // The placement whose mission page was opened last: asked first about mission messages.
  void setActiveMission(const std::shared_ptr<KorvaneMission>& mission);
  void setCurrentQuiz(const std::shared_ptr<KorvaneQuiz>& quiz, QuizEvent quizEvent);

  // PlacementMessages
  bool quizCompleted(const JsonValue& data) override;
  bool missionCompleted(const std::string& missionId) override;
  bool missionProgressed(const std::string& missionId) override;
  void missionsRefreshed(const Context& context, const std::optional<std::string>& unitId) override;
  void openAdjoeOfferwall(const Context& context, const std::string& placementId,
                          std::shared_ptr<OfferwallCallback> callback,
                          PresentationAnchor* over) override;

 private:
  struct Entry {
    const KorvaneMission* identity;
    std::weak_ptr<KorvaneMission> mission;
  };
  // The placement that holds `missionId` (the active one first) and its mission.
  std::optional<std::pair<std::shared_ptr<KorvaneMission>, Mission>> findMission(
      const std::string& missionId);

  std::mutex lock_;
  std::vector<Entry> missions_;
  std::weak_ptr<KorvaneMission> activeMission_;
  std::weak_ptr<KorvaneQuiz> currentQuiz_;
  std::optional<QuizEvent> currentQuizEvent_;
};

// The reward a quiz completion carries, never negative: the page's "rewardAmount" when it is a
// whole number from 0 to INT_MAX, else the quiz's point when it is one, else 0.
int quizRewardAmount(const JsonValue& data, const QuizEvent& quizEvent);

}  // namespace korvane
