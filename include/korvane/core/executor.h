#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace korvane {

// Runs background work ("asynchronous tasks") off the caller's thread. Safe from any thread.
class Executor {
 public:
  virtual ~Executor() = default;
  virtual void submit(std::function<void()> work) = 0;
};

// A fixed set of worker threads taking work in submission order. Destruction finishes the work
// already submitted, then joins the workers.
class ThreadPoolExecutor final : public Executor {
 public:
  explicit ThreadPoolExecutor(std::size_t threads = 2);
  ~ThreadPoolExecutor() override;
  ThreadPoolExecutor(const ThreadPoolExecutor&) = delete;
  ThreadPoolExecutor& operator=(const ThreadPoolExecutor&) = delete;

  void submit(std::function<void()> work) override;

 private:
  void run();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> work_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace korvane
