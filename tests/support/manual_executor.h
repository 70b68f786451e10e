#pragma once

#include <deque>
#include <functional>
#include <limits>
#include <mutex>

#include "korvane/util/executor.h"

namespace korvane::testing {

// Background work that runs only when the test says so.
class ManualExecutor final : public Executor {
 public:
  void submit(std::function<void()> work) override {
    std::lock_guard lock(mutex_);
    work_.push_back(std::move(work));
  }
  // Runs queued work, including work it submits, up to `limit` items; returns how much ran.
  int runAll(int limit = std::numeric_limits<int>::max()) {
    int ran = 0;
    while (ran < limit) {
      std::function<void()> next;
      {
        std::lock_guard lock(mutex_);
        if (work_.empty()) return ran;
        next = std::move(work_.front());
        work_.pop_front();
      }
      next();
      ++ran;
    }
    return ran;
  }
  std::size_t pending() const {
    std::lock_guard lock(mutex_);
    return work_.size();
  }

 private:
  mutable std::mutex mutex_;
  std::deque<std::function<void()>> work_;
};

}  // namespace korvane::testing
