#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "korvane/backend/content_records.h"
#include "korvane/values/public_errors.h"

namespace korvane {

class PresentationAnchor;
class SdkContext;

// What the host hears about quizzes, on the main thread.
class KorvaneQuizEventsListener {
 public:
  virtual ~KorvaneQuizEventsListener() = default;
  virtual void onImpressed(const QuizEvent& quizEvent) = 0;
  virtual void onClicked(const QuizEvent& quizEvent) = 0;
  // The quiz page reported completion, once per opening of the quiz. The amount is never
  // negative: the page's "rewardAmount" when it is a whole number from 0, else the quiz's point
  // when it is one, else 0.
  virtual void onQuizCompleted(const QuizEvent& quizEvent, int rewardAmount) = 0;
};

// The quiz placement: loads the user's quizzes, reports impressions and clicks and opens a quiz
// full screen in the offerwall, whose completion message comes back here. Call from the main
// thread; load callbacks arrive there.
class KorvaneQuiz : public std::enable_shared_from_this<KorvaneQuiz> {
  struct Token {
    explicit Token() = default;
  };

 public:
  using SuccessCallback = std::function<void(const QuizResponse&)>;
  using FailureCallback = std::function<void(KorvaneAdError)>;

  // On the process-wide SDK (KorvaneSdk::shared()), read once, now.
  static std::shared_ptr<KorvaneQuiz> create();
  // On the context the SDK makes its own objects with.
  static std::shared_ptr<KorvaneQuiz> create(std::shared_ptr<const SdkContext> context);
  KorvaneQuiz(Token, std::shared_ptr<const SdkContext> context);
  KorvaneQuiz(const KorvaneQuiz&) = delete;
  KorvaneQuiz& operator=(const KorvaneQuiz&) = delete;

  // Held weakly: the quiz never keeps the host's listener alive.
  void setQuizEventsListener(const std::shared_ptr<KorvaneQuizEventsListener>& listener);
  // Loads the list; onSuccess comes first, then one impression per quiz in order. With
  // shouldStoreCallbacks (and the SDK initialised) the callbacks are kept for reload().
  void load(SuccessCallback onSuccess, FailureCallback onFailure,
            bool shouldStoreCallbacks = false);
  void reload();
  std::vector<QuizEvent> quizEvents() const;

  // Records the click, tells the listener, then opens the quiz over `from` (the top screen when
  // null). An unknown id opens nothing.
  void clickQuiz(const std::string& quizId, PresentationAnchor* from);
  void clickQuiz(const QuizEvent& quizEvent, PresentationAnchor* from);
  // Records the click and tells the listener without opening anything.
  void trackClick(const QuizEvent& quizEvent);

 private:
  friend class PlacementRegistry;
  void trackImpression(const QuizEvent& quizEvent);
  // Records "quiz_completed"; reloading is left to the host.
  void refreshAfterCompletion(const QuizEvent& quizEvent);
  void completed(const QuizEvent& quizEvent, int rewardAmount);
  std::shared_ptr<KorvaneQuizEventsListener> listener() const;
  bool refusedBeforeInitialization(const char* operation) const;

  const std::shared_ptr<const SdkContext> context_;
  mutable std::mutex mutex_;
  std::vector<QuizEvent> quizEvents_;
  std::weak_ptr<KorvaneQuizEventsListener> listener_;
  SuccessCallback loadSuccessCallback_;
  FailureCallback loadFailureCallback_;
};

}  // namespace korvane
