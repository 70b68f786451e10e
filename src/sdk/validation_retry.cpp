#include "sdk/validation_retry.h"

#include <algorithm>
#include <cmath>

#include "korvane/util/logger.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneSdk";

}  // namespace

SdkStatus statusAfterValidation(const Result<ValidateAppResponse>& answer) {
  if (answer) {
    const ValidateAppResponse& response = answer.value();
    if (!response.success && !response.app)
      return {SdkState::failed, SdkFailureReason::refusedKeys, response.message.value_or("")};
    return {SdkState::ready, std::nullopt, ""};
  }
  const Error& error = answer.error();
  SdkFailureReason reason = SdkFailureReason::malformedAnswer;
  if (error.isNetworkError())
    reason = SdkFailureReason::network;
  else if (error.domain == "ApiService" && error.code >= 500)
    reason = SdkFailureReason::server;
  else if (error.domain == "ApiService" && (error.code == 401 || error.code == 403))
    reason = SdkFailureReason::refusedKeys;
  return {SdkState::failed, reason, error.description};
}

std::shared_ptr<ValidationRetry> ValidationRetry::create(std::shared_ptr<MainThread> mainThread,
                                                         std::shared_ptr<RandomSource> random,
                                                         std::shared_ptr<Reachability> reachability,
                                                         std::function<void()> validate) {
  return std::make_shared<ValidationRetry>(Token{}, std::move(mainThread), std::move(random),
                                           std::move(reachability), std::move(validate));
}

ValidationRetry::ValidationRetry(Token, std::shared_ptr<MainThread> mainThread,
                                 std::shared_ptr<RandomSource> random,
                                 std::shared_ptr<Reachability> reachability,
                                 std::function<void()> validate)
    : mainThread_(std::move(mainThread)),
      random_(std::move(random)),
      reachability_(std::move(reachability)),
      validate_(std::move(validate)) {}

ValidationRetry::~ValidationRetry() {
  networkObservation_.reset();
  std::lock_guard lock(lock_);
  timer_.cancel();
}

void ValidationRetry::failed(SdkFailureReason reason) {
  if (reason == SdkFailureReason::refusedKeys || reason == SdkFailureReason::disabled)
    return reset();
  double delay = 0;
  std::uint64_t generation = 0;
  {
    std::lock_guard lock(lock_);
    ++failures_;
    waitsForNetwork_ = reason == SdkFailureReason::network;
    const double ceiling =
        std::min(kFirstDelaySeconds * std::pow(2.0, failures_ - 1), kMaxDelaySeconds);
    // Half to all of the ceiling: apps that lost the network together do not come back together.
    delay = random_ ? random_->uniform(ceiling / 2, ceiling) : ceiling;
    waiting_ = true;
    generation = ++generation_;
    timer_.cancel();
    timer_ = mainThread_->postAfter(
        std::chrono::milliseconds(static_cast<std::int64_t>(std::llround(delay * 1000.0))),
        [weak = weak_from_this(), generation] {
          if (auto self = weak.lock()) self->attempt(generation);
        });
  }
  // Watching the network only while something waits for it; the observation ends with this.
  if (reachability_ && reason == SdkFailureReason::network && !observingNetwork_.exchange(true))
    networkObservation_ = reachability_->subscribe([weak = weak_from_this()](bool connected) {
      if (auto self = weak.lock()) self->networkChanged(connected);
    });
  KorvaneLogger::i(kTag, "Validation is tried again in " + std::to_string(std::lround(delay)) +
                             " s (" + rawValue(reason) + ")");
}

void ValidationRetry::reset() {
  std::lock_guard lock(lock_);
  failures_ = 0;
  waiting_ = false;
  ++generation_;
  timer_.cancel();
}

int ValidationRetry::failures() const {
  std::lock_guard lock(lock_);
  return failures_;
}

void ValidationRetry::networkChanged(bool connected) {
  if (!connected) return;
  std::uint64_t generation = 0;
  {
    std::lock_guard lock(lock_);
    // A server that failed is not helped by the network coming back.
    if (!waiting_ || !waitsForNetwork_) return;
    generation = generation_;
  }
  KorvaneLogger::i(kTag, "The network is back: validation is tried again");
  attempt(generation);
}

void ValidationRetry::attempt(std::uint64_t generation) {
  {
    std::lock_guard lock(lock_);
    if (!waiting_ || generation != generation_) return;
    waiting_ = false;
    timer_.cancel();
  }
  validate_();
}

}  // namespace korvane
