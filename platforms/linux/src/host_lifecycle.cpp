#include "korvane/linux/host_lifecycle.h"

#include <algorithm>

namespace korvane::linux_host {

HostAppLifecycle::HostAppLifecycle(std::shared_ptr<MainThread> mainThread)
    : mainThread_(std::move(mainThread)) {}

Subscription HostAppLifecycle::subscribe(std::function<void(AppLifecycleEvent)> observer) {
  std::lock_guard lock(mutex_);
  const int id = nextId_++;
  observers_.emplace_back(
      id, std::make_shared<std::function<void(AppLifecycleEvent)>>(std::move(observer)));
  return Subscription([weak = weak_from_this(), id] {
    auto self = weak.lock();
    if (!self) return;
    std::lock_guard guard(self->mutex_);
    std::erase_if(self->observers_, [id](const auto& entry) { return entry.first == id; });
  });
}

void HostAppLifecycle::notify(AppLifecycleEvent event) {
  // Termination at once on any thread: a host that exits right after saying so would never run
  // the posted delivery, and its observer (writing unsent events to the file) is thread-safe.
  if (mainThread_->isCurrent() || event == AppLifecycleEvent::willTerminate) return deliver(event);
  mainThread_->post([weak = weak_from_this(), event] {
    if (auto self = weak.lock()) self->deliver(event);
  });
}

void HostAppLifecycle::deliver(AppLifecycleEvent event) {
  if (event == AppLifecycleEvent::didBecomeActive ||
      event == AppLifecycleEvent::willEnterForeground)
    state_.store(AppState::active);
  if (event == AppLifecycleEvent::didEnterBackground) state_.store(AppState::background);
  decltype(observers_) current;
  {
    std::lock_guard lock(mutex_);
    current = observers_;
  }
  // Observers may subscribe or unsubscribe while being called; the copy keeps this safe.
  for (const auto& [id, observer] : current) (*observer)(event);
}

}  // namespace korvane::linux_host
