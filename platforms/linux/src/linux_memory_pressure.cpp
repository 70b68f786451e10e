#include "korvane/linux/linux_memory_pressure.h"

#include <gio/gio.h>

namespace korvane::linux_host {
namespace {

using Weak = std::weak_ptr<LinuxMemoryPressure>;

void onLowMemory(GMemoryMonitor*, GMemoryMonitorWarningLevel, gpointer data) {
  if (auto self = static_cast<Weak*>(data)->lock()) self->notifyLowMemory();
}

void releaseWeak(gpointer data, GClosure*) {
  std::unique_ptr<Weak>(static_cast<Weak*>(data));
}

}  // namespace

LinuxMemoryPressure::LinuxMemoryPressure(std::shared_ptr<MainThread> mainThread)
    : mainThread_(std::move(mainThread)) {}

LinuxMemoryPressure::~LinuxMemoryPressure() {
  if (!monitor_) return;
  g_signal_handler_disconnect(monitor_, handler_);
  g_object_unref(monitor_);
}

Subscription LinuxMemoryPressure::subscribe(std::function<void()> observer) {
  if (!observer) return Subscription();
  std::lock_guard lock(mutex_);
  if (!monitor_) listenToSystem();
  const int id = nextId_++;
  observers_.emplace_back(id, std::make_shared<std::function<void()>>(std::move(observer)));
  return Subscription([weak = weak_from_this(), id] {
    auto self = weak.lock();
    if (!self) return;
    std::lock_guard guard(self->mutex_);
    std::erase_if(self->observers_, [id](const auto& entry) { return entry.first == id; });
  });
}

// Where no service answers, GIO's monitor simply never warns.
void LinuxMemoryPressure::listenToSystem() {
  GMemoryMonitor* monitor = g_memory_monitor_dup_default();
  if (!monitor) return;
  monitor_ = monitor;
  handler_ = g_signal_connect_data(monitor, "low-memory-warning", G_CALLBACK(onLowMemory),
                                   std::make_unique<Weak>(weak_from_this()).release(), releaseWeak,
                                   GConnectFlags{});
}

void LinuxMemoryPressure::notifyLowMemory() {
  if (mainThread_->isCurrent()) return deliver();
  mainThread_->post([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->deliver();
  });
}

void LinuxMemoryPressure::deliver() {
  decltype(observers_) current;
  {
    std::lock_guard lock(mutex_);
    current = observers_;
  }
  for (const auto& [id, observer] : current) (*observer)();
}

}  // namespace korvane::linux_host
