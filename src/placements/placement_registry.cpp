#include "placements/placement_registry.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

#include "placements/adjoe_manager.h"

namespace korvane {

void PlacementRegistry::addMission(const std::shared_ptr<KorvaneMission>& mission) {
  std::lock_guard lock(lock_);
  missions_.push_back({mission.get(), mission});
}

bool PlacementRegistry::removeMission(const KorvaneMission* mission) {
  std::lock_guard lock(lock_);
  const auto before = missions_.size();
  std::erase_if(missions_, [mission](const Entry& entry) { return entry.identity == mission; });
  return missions_.size() != before;
}

PlacementRegistry::LiveMissions PlacementRegistry::liveMissions() {
  LiveMissions live;
  std::lock_guard lock(lock_);
  std::erase_if(missions_, [&](const Entry& entry) {
    std::shared_ptr<KorvaneMission> mission = entry.mission.lock();
    if (!mission) {
      ++live.dropped;
      return true;
    }
    live.missions.push_back(std::move(mission));
    return false;
  });
  return live;
}

void PlacementRegistry::setActiveMission(const std::shared_ptr<KorvaneMission>& mission) {
  std::lock_guard lock(lock_);
  activeMission_ = mission;
}

void PlacementRegistry::setCurrentQuiz(const std::shared_ptr<KorvaneQuiz>& quiz,
                                       QuizEvent quizEvent) {
  std::lock_guard lock(lock_);
  currentQuiz_ = quiz;
  currentQuizEvent_ = std::move(quizEvent);
}

bool PlacementRegistry::quizCompleted(const JsonValue& data) {
  std::shared_ptr<KorvaneQuiz> quiz;
  std::optional<QuizEvent> quizEvent;
  {
    // One completion per opening: a page that reports again, or reports after another page
    // did, does not complete the quiz (and reward its amount) twice.
    std::lock_guard lock(lock_);
    quiz = currentQuiz_.lock();
    quizEvent = std::exchange(currentQuizEvent_, std::nullopt);
    currentQuiz_.reset();
  }
  if (!quiz || !quizEvent) return false;
  quiz->completed(*quizEvent, quizRewardAmount(data, *quizEvent));
  return true;
}

std::optional<std::pair<std::shared_ptr<KorvaneMission>, Mission>> PlacementRegistry::findMission(
    const std::string& missionId) {
  std::shared_ptr<KorvaneMission> active;
  {
    std::lock_guard lock(lock_);
    active = activeMission_.lock();
  }
  std::vector<std::shared_ptr<KorvaneMission>> candidates = liveMissions().missions;
  if (active) candidates.insert(candidates.begin(), active);
  for (const auto& placement : candidates) {
    if (std::optional<Mission> mission = placement->getMission(missionId))
      return std::make_pair(placement, std::move(*mission));
  }
  return std::nullopt;
}

bool PlacementRegistry::missionCompleted(const std::string& missionId) {
  auto found = findMission(missionId);
  if (found) found->first->onMissionCompleted(found->second);
  return found.has_value();
}

bool PlacementRegistry::missionProgressed(const std::string& missionId) {
  auto found = findMission(missionId);
  if (found) found->first->onMissionProgressed(found->second);
  return found.has_value();
}

void PlacementRegistry::missionsRefreshed(const Context& context,
                                          const std::optional<std::string>& unitId) {
  KorvaneMission::refreshMissionList(*context, unitId);
}

void PlacementRegistry::openAdjoeOfferwall(const Context& context, const std::string& placementId,
                                           std::shared_ptr<OfferwallCallback> callback,
                                           PresentationAnchor* over) {
  KorvaneAdjoeManager::openOfferwall(context, over, placementId, std::move(callback),
                                     AdjoeOpener::page);
}

namespace {

std::optional<int> wholeNumber(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty() || value < 0)
    return std::nullopt;
  return value;
}

}  // namespace

int quizRewardAmount(const JsonValue& data, const QuizEvent& quizEvent) {
  if (data.is_object()) {
    const auto it = data.find("rewardAmount");
    // Both integer kinds: parsed page text is unsigned when positive, a built value signed.
    if (it != data.end() && it->is_number_integer()) {
      const bool negative = !it->is_number_unsigned() && it->get<std::int64_t>() < 0;
      if (!negative &&
          it->get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
        return static_cast<int>(it->get<std::uint64_t>());
    }
  }
  return wholeNumber(quizEvent.point).value_or(0);
}

}  // namespace korvane
