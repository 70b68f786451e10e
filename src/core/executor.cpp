#include "korvane/core/executor.h"

namespace korvane {

ThreadPoolExecutor::ThreadPoolExecutor(std::size_t threads) {
  for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { run(); });
}

ThreadPoolExecutor::~ThreadPoolExecutor() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void ThreadPoolExecutor::submit(std::function<void()> work) {
  {
    std::lock_guard lock(mutex_);
    work_.push_back(std::move(work));
  }
  wake_.notify_one();
}

void ThreadPoolExecutor::run() {
  for (;;) {
    std::function<void()> next;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return stopping_ || !work_.empty(); });
      if (work_.empty()) return;  // stopping, and nothing left to do
      next = std::move(work_.front());
      work_.pop_front();
    }
    next();
  }
}

}  // namespace korvane
