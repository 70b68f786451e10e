#pragma once

#include <deque>
#include <mutex>

#include "korvane/backend/api_service.h"

namespace korvane::testing {

// An API service whose batch answers the test scripts and which records what it was sent. Batches
// are answered at once from the script (else by `answerBatch`, else with success), or held until
// release() when `holdBatches` is set.
class ScriptedApi final : public ApiService {
 public:
  bool holdBatches = false;
  std::function<Result<EventBatchResponse>(const EventBatch&)> answerBatch;  // set before use

  void script(Result<EventBatchResponse> answer) {
    std::lock_guard lock(mutex_);
    answers_.push_back(std::move(answer));
  }
  std::vector<EventBatch> batches() const {
    std::lock_guard lock(mutex_);
    return batches_;
  }
  std::vector<TrackEventRequest> singleEvents() const {
    std::lock_guard lock(mutex_);
    return singles_;
  }
  // Answers the held batches with success, or with `failure` when one is given.
  void release(std::optional<Error> failure = std::nullopt) {
    std::vector<ApiCompletion<EventBatchResponse>> held;
    {
      std::lock_guard lock(mutex_);
      held.swap(held_);
    }
    for (auto& completion : held)
      completion(failure ? Result<EventBatchResponse>(*failure)
                         : Result<EventBatchResponse>(EventBatchResponse{true, 1, {}}));
  }

  void trackEventBatch(const EventBatch& batch,
                       ApiCompletion<EventBatchResponse> completion) override {
    std::optional<Result<EventBatchResponse>> answer;
    {
      std::lock_guard lock(mutex_);
      batches_.push_back(batch);
      if (holdBatches) {
        held_.push_back(std::move(completion));
        return;
      }
      if (!answers_.empty()) {
        answer = std::move(answers_.front());
        answers_.pop_front();
      }
    }
    if (!answer && answerBatch) answer = answerBatch(batch);
    completion(answer ? std::move(*answer)
                      : Result<EventBatchResponse>(EventBatchResponse{
                            true, static_cast<std::int64_t>(batch.events.size()), {}}));
  }
  void trackEvent(const TrackEventRequest& request, ApiCompletion<Unit> completion) override {
    {
      std::lock_guard lock(mutex_);
      singles_.push_back(request);
    }
    completion(Unit{});
  }
  // Validation waits for answerValidation().
  void validateApp(ApiCompletion<ValidateAppResponse> completion) override {
    std::lock_guard lock(mutex_);
    validations_.push_back(std::move(completion));
  }
  // Answers every validation asked for so far; returns how many there were.
  std::size_t answerValidation(const Result<ValidateAppResponse>& answer) {
    std::vector<ApiCompletion<ValidateAppResponse>> waiting;
    {
      std::lock_guard lock(mutex_);
      waiting.swap(validations_);
    }
    for (auto& completion : waiting) completion(answer);
    return waiting.size();
  }
  // Remembers the request and answers with `loginFailure`, or success.
  std::optional<Error> loginFailure;
  void login(const LoginRequest& request, ApiCompletion<LoginResponse> completion) override {
    {
      std::lock_guard lock(mutex_);
      lastLogin_ = request;
      ++logins_;
    }
    if (loginFailure) return completion(*loginFailure);
    completion(LoginResponse{true, std::nullopt, std::nullopt});
  }
  int logins() const {
    std::lock_guard lock(mutex_);
    return logins_;
  }
  std::optional<LoginRequest> lastLogin() const {
    std::lock_guard lock(mutex_);
    return lastLogin_;
  }
  // Content calls answer with what the test set (a failure when nothing was set) and are
  // recorded as "getQuiz userId platform ifa" and the like.
  std::optional<Result<QuizResponse>> quizAnswer;
  std::optional<Result<MissionResponse>> missionAnswer;
  std::optional<Result<BannerInfoResponse>> bannerAnswer;
  std::optional<Result<PlacementUrlResponse>> placementUrlAnswer;
  std::vector<std::string> contentCalls() const {
    std::lock_guard lock(mutex_);
    return contentCalls_;
  }
  void getQuiz(const std::optional<std::string>& userId, const std::optional<std::string>& platform,
               const std::string& ifa, ApiCompletion<QuizResponse> completion) override {
    completion(answerFor(
        quizAnswer, "getQuiz " + userId.value_or("-") + " " + platform.value_or("-") + " " + ifa));
  }
  void getMissions(const std::optional<std::string>& userId,
                   const std::optional<std::string>& platform, const std::string& ifa,
                   ApiCompletion<MissionResponse> completion) override {
    completion(answerFor(missionAnswer, "getMissions " + userId.value_or("-") + " " +
                                            platform.value_or("-") + " " + ifa));
  }
  void getBannerInfo(const std::string& userId, const std::string& placementId,
                     const std::string& platform,
                     ApiCompletion<BannerInfoResponse> completion) override {
    completion(
        answerFor(bannerAnswer, "getBannerInfo " + userId + " " + placementId + " " + platform));
  }
  void getPlacementUrl(const std::string& placementId,
                       ApiCompletion<PlacementUrlResponse> completion) override {
    completion(answerFor(placementUrlAnswer, "getPlacementUrl " + placementId));
  }

 private:
  template <typename T>
  Result<T> answerFor(const std::optional<Result<T>>& answer, std::string call) {
    std::lock_guard lock(mutex_);
    contentCalls_.push_back(std::move(call));
    if (answer) return *answer;
    return Error{"NSURLErrorDomain", -1004, "Could not connect to the server."};
  }

  mutable std::mutex mutex_;
  std::vector<std::string> contentCalls_;
  std::deque<Result<EventBatchResponse>> answers_;
  std::vector<EventBatch> batches_;
  std::vector<TrackEventRequest> singles_;
  std::vector<ApiCompletion<EventBatchResponse>> held_;
  std::optional<LoginRequest> lastLogin_;
  std::vector<ApiCompletion<ValidateAppResponse>> validations_;
  int logins_ = 0;
};

}  // namespace korvane::testing
