#pragma once

#include <functional>
#include <memory>
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
// already submitted, then joins the workers; it may even happen on one of them (the last owner
// can be a task), in which case that worker finishes on its own.
class ThreadPoolExecutor final : public Executor {
 public:
  explicit ThreadPoolExecutor(std::size_t threads = 2);
  ~ThreadPoolExecutor() override;
  ThreadPoolExecutor(const ThreadPoolExecutor&) = delete;
  ThreadPoolExecutor& operator=(const ThreadPoolExecutor&) = delete;

  void submit(std::function<void()> work) override;

 private:
  struct State;
  std::shared_ptr<State> state_;
  std::vector<std::thread> threads_;
};

}  // namespace korvane
