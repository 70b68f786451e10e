#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "korvane/platform/app_lifecycle.h"
#include "korvane/platform/main_thread.h"

namespace korvane::linux_host {

// A desktop process has no system-defined app lifecycle: the host reports its own (window
// shown or hidden, quitting) and observers hear it on the main thread, except termination, heard
// at once on the thread that reports it. The state starts active.
class HostAppLifecycle final : public AppLifecycle,
                               public std::enable_shared_from_this<HostAppLifecycle> {
 public:
  explicit HostAppLifecycle(std::shared_ptr<MainThread> mainThread);

  AppState state() const override { return state_.load(); }
  [[nodiscard]] Subscription subscribe(std::function<void(AppLifecycleEvent)> observer) override;
  // Delivers at once when called on the main thread or for termination (so the queue is written
  // before the process exits), otherwise posts to the main thread.
  void notify(AppLifecycleEvent event);

 private:
  void deliver(AppLifecycleEvent event);

  std::shared_ptr<MainThread> mainThread_;
  std::atomic<AppState> state_{AppState::active};
  std::mutex mutex_;
  int nextId_ = 0;
  std::vector<std::pair<int, std::shared_ptr<std::function<void(AppLifecycleEvent)>>>> observers_;
};

}  // namespace korvane::linux_host
