#pragma once

#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "korvane/platform/main_thread.h"
#include "manual_clock.h"

namespace korvane::testing {

// A main thread the test drives: nothing runs until the test calls runUntilIdle() or advance().
// Delays are measured on the given ManualClock. The thread that creates it is the main thread.
// post() and postAfter() may be called from any thread.
class ManualMainThread final : public MainThread {
 public:
  explicit ManualMainThread(ManualClock& clock)
      : clock_(clock), owner_(std::this_thread::get_id()) {}

  void post(std::function<void()> work) override;
  TaskHandle postAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
  bool isCurrent() const override { return std::this_thread::get_id() == owner_; }

  // Runs every task that is due now, including ones those tasks post; returns how many ran.
  int runUntilIdle();
  // Moves the clock forward by `by`, running each task at its due time, in due order.
  int advance(std::chrono::milliseconds by);
  // Delays of the pending, uncancelled tasks, measured from now.
  std::vector<std::chrono::milliseconds> pendingDelays() const;

 private:
  struct Task {
    std::chrono::system_clock::time_point due;
    std::uint64_t sequence;
    std::function<void()> work;
    TaskHandle handle;
  };
  bool popDue(std::chrono::system_clock::time_point limit, Task& out);

  ManualClock& clock_;
  std::thread::id owner_;
  mutable std::mutex mutex_;
  std::vector<Task> tasks_;
  std::uint64_t nextSequence_ = 0;
};

}  // namespace korvane::testing
