#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace korvane {

// Cancels a delayed task. Cancelling after the task ran, or twice, does nothing.
class TaskHandle {
 public:
  TaskHandle() = default;
  explicit TaskHandle(std::shared_ptr<std::atomic<bool>> cancelled)
      : cancelled_(std::move(cancelled)) {}
  void cancel() const {
    if (cancelled_) cancelled_->store(true);
  }
  bool isCancelled() const { return cancelled_ && cancelled_->load(); }

 private:
  std::shared_ptr<std::atomic<bool>> cancelled_;
};

// The UI thread. Posted work runs on it in posting order; delayed work runs no earlier than its
// delay and never after being cancelled. Everything the web container does runs here.
class MainThread {
 public:
  virtual ~MainThread() = default;
  virtual void post(std::function<void()> work) = 0;
  virtual TaskHandle postAfter(std::chrono::milliseconds delay, std::function<void()> work) = 0;
  virtual bool isCurrent() const = 0;
};

}  // namespace korvane
