#include "korvane/util/executor.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace korvane {

// Shared with the workers, so it outlives a pool destroyed from one of its own threads.
struct ThreadPoolExecutor::State {
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> work;
  bool stopping = false;

  void run() {
    for (;;) {
      std::function<void()> next;
      {
        std::unique_lock lock(mutex);
        wake.wait(lock, [this] { return stopping || !work.empty(); });
        if (work.empty()) return;  // stopping, and nothing left to do
        next = std::move(work.front());
        work.pop_front();
      }
      next();
    }
  }
};

ThreadPoolExecutor::ThreadPoolExecutor(std::size_t threads) : state_(std::make_shared<State>()) {
  for (std::size_t i = 0; i < threads; ++i)
    threads_.emplace_back([state = state_] { state->run(); });
}

ThreadPoolExecutor::~ThreadPoolExecutor() {
  {
    std::lock_guard lock(state_->mutex);
    state_->stopping = true;
  }
  state_->wake.notify_all();
  for (std::thread& thread : threads_) {
    if (thread.get_id() == std::this_thread::get_id())
      thread.detach();
    else
      thread.join();
  }
}

void ThreadPoolExecutor::submit(std::function<void()> work) {
  {
    std::lock_guard lock(state_->mutex);
    state_->work.push_back(std::move(work));
  }
  state_->wake.notify_one();
}

}  // namespace korvane
