#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "korvane/backend/app_records.h"
#include "korvane/platform/main_thread.h"
#include "korvane/platform/random_source.h"
#include "korvane/platform/reachability.h"
#include "korvane/values/error.h"
#include "korvane/values/sdk_readiness.h"

namespace korvane {

// What a validation call's outcome means for the SDK's state: ready, or failed and why. An answer
// that refuses the keys is one without an app record whose flag says no.
SdkStatus statusAfterValidation(const Result<ValidateAppResponse>& answer);

// Tries a validation that failed for the network, the server or its answer again: after a
// jittered backoff (2 s doubling up to 5 minutes), and at once when the network comes back.
// Refused keys are final. Any thread; `validate` runs on the main thread or the network's.
class ValidationRetry : public std::enable_shared_from_this<ValidationRetry> {
  struct Token {
    explicit Token() = default;
  };

 public:
  static constexpr double kFirstDelaySeconds = 2.0;
  static constexpr double kMaxDelaySeconds = 300.0;

  static std::shared_ptr<ValidationRetry> create(std::shared_ptr<MainThread> mainThread,
                                                 std::shared_ptr<RandomSource> random,
                                                 std::shared_ptr<Reachability> reachability,
                                                 std::function<void()> validate);
  ValidationRetry(Token, std::shared_ptr<MainThread> mainThread,
                  std::shared_ptr<RandomSource> random, std::shared_ptr<Reachability> reachability,
                  std::function<void()> validate);
  ~ValidationRetry();
  ValidationRetry(const ValidationRetry&) = delete;
  ValidationRetry& operator=(const ValidationRetry&) = delete;

  // Schedules the next attempt, unless the reason is final.
  void failed(SdkFailureReason reason);
  // Stops trying and starts the backoff again from its first step.
  void reset();
  // How many attempts have failed since the last reset.
  int failures() const;

 private:
  void networkChanged(bool connected);
  void attempt(std::uint64_t generation);

  std::shared_ptr<MainThread> mainThread_;
  std::shared_ptr<RandomSource> random_;
  std::shared_ptr<Reachability> reachability_;
  std::function<void()> validate_;
  std::atomic<bool> observingNetwork_{false};
  Subscription networkObservation_;

  mutable std::mutex lock_;
  int failures_ = 0;
  bool waiting_ = false;          // a retry is due (by the timer or the network)
  bool waitsForNetwork_ = false;  // the last failure was the network's
  std::uint64_t generation_ = 0;  // tells the current wait from ended ones
  TaskHandle timer_;
};

}  // namespace korvane
