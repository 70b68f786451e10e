// Quiz placements: loading, impressions, clicks and the completion the quiz page reports.
#include "korvane/placements/korvane_quiz.h"

#include <algorithm>

#include "korvane/util/logger.h"
#include "offerwall/offerwall_opening.h"
#include "placements/placement_registry.h"
#include "placements/placement_support.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneQuiz";

// The quiz screen's callback: it only logs. Completion arrives through the page's
// "quizCompleted" message, the one signal a quiz page gives.
class QuizOfferwallCallback final : public OfferwallCallback {
 public:
  void onOpened() override { KorvaneLogger::d(kTag, "Quiz WebView opened"); }
  void onClosed() override { KorvaneLogger::d(kTag, "Quiz WebView closed"); }
  void onError(const std::string& message) override {
    KorvaneLogger::e(kTag, "Quiz WebView error: " + message);
  }
  void onRewardEarned(int amount) override {
    KorvaneLogger::i(kTag, "Quiz reward earned: " + std::to_string(amount));
  }
};

JsonValue quizPayload(const QuizEvent& quizEvent, bool withLandingUrl) {
  JsonValue payload{{"quizId", quizEvent.id}, {"quizTitle", quizEvent.title}};
  if (withLandingUrl) payload["landingUrl"] = quizEvent.landingUrl;
  payload["impressionOrder"] = placements::decimalOrEmpty(quizEvent.impressionOrder);
  payload["placementId"] = quizEvent.placementId.value_or("");
  return payload;
}

}  // namespace

std::shared_ptr<KorvaneQuiz> KorvaneQuiz::create(std::shared_ptr<const SdkContext> context) {
  return std::make_shared<KorvaneQuiz>(Token{}, std::move(context));
}

KorvaneQuiz::KorvaneQuiz(Token, std::shared_ptr<const SdkContext> context)
    : context_(std::move(context)) {}

bool KorvaneQuiz::refusedBeforeInitialization(const char* operation) const {
  return placements::refusedBeforeInitialization(*context_, kTag, operation);
}

void KorvaneQuiz::setQuizEventsListener(
    const std::shared_ptr<KorvaneQuizEventsListener>& listener) {
  std::lock_guard lock(mutex_);
  listener_ = listener;
}

std::shared_ptr<KorvaneQuizEventsListener> KorvaneQuiz::listener() const {
  std::lock_guard lock(mutex_);
  return listener_.lock();
}

std::vector<QuizEvent> KorvaneQuiz::quizEvents() const {
  std::lock_guard lock(mutex_);
  return quizEvents_;
}

void KorvaneQuiz::load(SuccessCallback onSuccess, FailureCallback onFailure,
                       bool shouldStoreCallbacks) {
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
  std::shared_ptr<ApiService> api = placements::apiService(*context_, kTag);
  if (shouldStoreCallbacks) {
    std::lock_guard lock(mutex_);
    loadSuccessCallback_ = onSuccess;
    loadFailureCallback_ = onFailure;
  }
  std::optional<KorvaneSdkUser> user = session.currentUser();
  if (!user) {
    KorvaneLogger::w(kTag, "User not logged in");
    return refuse();
  }
  if (!api) {
    KorvaneLogger::e(kTag, "API service is nil after initialization check");
    return refuse();
  }
  api->getQuiz(
      user->userId(), "iOS", placements::advertisingIdOrZero(*context_),
      [context = context_, weak = weak_from_this(), onSuccess = std::move(onSuccess),
       onFailure = std::move(onFailure)](Result<QuizResponse> answer) {
        placements::onMainThread(
            *context, [weak, onSuccess, onFailure, answer = std::move(answer)] {
              if (!answer) {
                KorvaneLogger::e(kTag, "Error loading quiz events: " + answer.error().description);
                if (onFailure) onFailure(KorvaneAdError::loadFailed);
                return;
              }
              const QuizResponse& response = answer.value();
              auto self = weak.lock();
              // A placement the host let go keeps no list and reports no impression, but its
              // caller still hears how the load ended.
              if (!self) {
                if (onSuccess) onSuccess(response);
                return;
              }
              {
                std::lock_guard lock(self->mutex_);
                self->quizEvents_ = response.events;
              }
              const std::string count = std::to_string(response.events.size());
              KorvaneLogger::i(kTag, "Loaded " + count + " quiz events");
              if (onSuccess) onSuccess(response);
              KorvaneLogger::d(kTag, "Tracking impressions for " + count + " quiz events");
              for (const QuizEvent& quizEvent : response.events) {
                KorvaneLogger::d(kTag, "Calling trackImpression for quiz: " + quizEvent.id);
                self->trackImpression(quizEvent);
              }
            });
      });
}

void KorvaneQuiz::reload() {
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

void KorvaneQuiz::trackImpression(const QuizEvent& quizEvent) {
  KorvaneLogger::i(kTag, "Tracking impression for quiz: " + quizEvent.id);
  context_->tracker()->trackEvent(EventType::quizImpressed, "quiz", quizPayload(quizEvent, false));
  if (auto listener = this->listener()) listener->onImpressed(quizEvent);
}

void KorvaneQuiz::clickQuiz(const std::string& quizId, PresentationAnchor* from) {
  if (refusedBeforeInitialization("clickQuiz")) return;
  std::optional<QuizEvent> found;
  {
    std::lock_guard lock(mutex_);
    const auto it =
        std::find_if(quizEvents_.begin(), quizEvents_.end(),
                     [&](const QuizEvent& quizEvent) { return quizEvent.id == quizId; });
    if (it != quizEvents_.end()) found = *it;
  }
  if (!found) return KorvaneLogger::w(kTag, "Quiz not found: " + quizId);
  clickQuiz(*found, from);
}

void KorvaneQuiz::clickQuiz(const QuizEvent& quizEvent, PresentationAnchor* from) {
  if (refusedBeforeInitialization("clickQuiz")) return;
  KorvaneLogger::d(kTag, "Quiz clicked: " + quizEvent.id);
  trackClick(quizEvent);
  auto controller = offerwall::offerwallFor(context_, quizEvent.landingUrl);
  controller->contextType = "quiz";
  controller->quizId = quizEvent.id;
  controller->quizTitle = quizEvent.title;
  if (auto registry = context_->placementRegistry())
    registry->setCurrentQuiz(shared_from_this(), quizEvent);
  offerwall::presentFullScreen(controller, std::make_shared<QuizOfferwallCallback>(), from);
}

void KorvaneQuiz::trackClick(const QuizEvent& quizEvent) {
  if (refusedBeforeInitialization("trackClick")) return;
  KorvaneLogger::d(kTag, "Tracking click for quiz: " + quizEvent.id);
  context_->tracker()->trackEvent(EventType::quizClicked, "quiz", quizPayload(quizEvent, true));
  if (auto listener = this->listener()) listener->onClicked(quizEvent);
}

void KorvaneQuiz::refreshAfterCompletion(const QuizEvent& quizEvent) {
  KorvaneLogger::d(kTag, "[iOS SDK - Quiz] refreshAfterCompletion 호출됨 - React Native에서 처리");
  context_->tracker()->trackEvent(EventType::quizCompleted, "quiz", quizPayload(quizEvent, false));
}

void KorvaneQuiz::completed(const QuizEvent& quizEvent, int rewardAmount) {
  refreshAfterCompletion(quizEvent);
  if (auto listener = this->listener()) listener->onQuizCompleted(quizEvent, rewardAmount);
}

}  // namespace korvane
