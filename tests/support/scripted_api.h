#pragma once

#include <deque>
#include <mutex>

#include "korvane/api/api_service.h"

namespace korvane::testing {

// An API service whose batch answers the test scripts and which records what it was sent. Batches
// are answered at once from the script (success when it is empty), or held until release() when
// `holdBatches` is set.
class ScriptedApi final : public ApiService {
 public:
  bool holdBatches = false;

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
  void getQuiz(const std::optional<std::string>&, const std::optional<std::string>&,
               const std::string&, ApiCompletion<QuizResponse>) override {}
  void getMissions(const std::optional<std::string>&, const std::optional<std::string>&,
                   const std::string&, ApiCompletion<MissionResponse>) override {}
  void getBannerInfo(const std::string&, const std::string&, const std::string&,
                     ApiCompletion<BannerInfoResponse>) override {}
  void getPlacementUrl(const std::string&, ApiCompletion<PlacementUrlResponse>) override {}

 private:
  mutable std::mutex mutex_;
  std::deque<Result<EventBatchResponse>> answers_;
  std::vector<EventBatch> batches_;
  std::vector<TrackEventRequest> singles_;
  std::vector<ApiCompletion<EventBatchResponse>> held_;
  std::optional<LoginRequest> lastLogin_;
  std::vector<ApiCompletion<ValidateAppResponse>> validations_;
  int logins_ = 0;
};

}  // namespace korvane::testing
