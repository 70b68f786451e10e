#include "korvane/telemetry/event_queue.h"

namespace korvane {

void EventQueueManager::enqueue(Event event) {
  std::lock_guard lock(queueLock_);
  if (queue_.size() >= maxQueueSize_) queue_.pop_front();  // drop-oldest, silently
  queue_.push_back(std::move(event));
}

std::vector<Event> EventQueueManager::dequeue(std::size_t maxCount) {
  std::lock_guard lock(queueLock_);
  const std::size_t n = std::min(maxCount, queue_.size());
  std::vector<Event> taken(std::make_move_iterator(queue_.begin()), std::make_move_iterator(queue_.begin() + static_cast<std::ptrdiff_t>(n)));
  queue_.erase(queue_.begin(), queue_.begin() + static_cast<std::ptrdiff_t>(n));
  return taken;
}

std::size_t EventQueueManager::count() const {
  std::lock_guard lock(queueLock_);
  return queue_.size();
}

std::vector<Event> EventQueueManager::snapshot() const {
  std::lock_guard lock(queueLock_);
  return {queue_.begin(), queue_.end()};
}

}  // namespace korvane
