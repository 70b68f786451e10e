#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "korvane/platform/main_thread.h"
#include "korvane/platform/memory_pressure.h"

namespace korvane::linux_host {

// Memory warnings on Linux: GIO's low-memory warning (from the low-memory-monitor service, where
// one runs; listened to from the first subscription on) and those the host reports itself with
// notifyLowMemory (a desktop app that watches its own budget, a test). Observers hear both on the
// main thread.
class LinuxMemoryPressure final : public MemoryPressure,
                                  public std::enable_shared_from_this<LinuxMemoryPressure> {
 public:
  explicit LinuxMemoryPressure(std::shared_ptr<MainThread> mainThread);
  ~LinuxMemoryPressure() override;

  [[nodiscard]] Subscription subscribe(std::function<void()> observer) override;
  // Memory is short: every observer hears it, at once on the main thread, else posted there.
  void notifyLowMemory();

 private:
  void deliver();
  void listenToSystem();

  std::shared_ptr<MainThread> mainThread_;
  std::mutex mutex_;
  int nextId_ = 0;
  std::vector<std::pair<int, std::shared_ptr<std::function<void()>>>> observers_;
  // GIO's monitor and its handler, once something subscribed.
  void* monitor_ = nullptr;
  unsigned long handler_ = 0;
};

}  // namespace korvane::linux_host
