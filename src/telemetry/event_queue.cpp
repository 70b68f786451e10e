#include "telemetry/event_queue.h"

#include <algorithm>
#include <optional>

namespace korvane {

void EventQueueManager::enqueue(Event event) {
  std::optional<Event> dropped;  // freed after the lock is released
  std::lock_guard lock(queueLock_);
  if (maxQueueSize_ == 0) {  // keeps nothing: the new event is the one dropped
    ++dropped_;
    return;
  }
  if (queue_.size() >= maxQueueSize_) {  // drop-oldest, silently
    dropped = std::move(queue_.front());
    queue_.pop_front();
    ++dropped_;
  }
  queue_.push_back(std::move(event));
  size_.store(queue_.size(), std::memory_order_release);
}

std::vector<Event> EventQueueManager::prepend(std::vector<Event> events) {
  std::lock_guard lock(queueLock_);
  const std::size_t room = maxQueueSize_ - std::min(queue_.size(), maxQueueSize_);
  const auto firstLeft =
      events.begin() + static_cast<std::ptrdiff_t>(std::min(room, events.size()));
  queue_.insert(queue_.begin(), std::make_move_iterator(events.begin()),
                std::make_move_iterator(firstLeft));
  size_.store(queue_.size(), std::memory_order_release);
  events.erase(events.begin(), firstLeft);
  return events;
}

std::vector<Event> EventQueueManager::dequeue(std::size_t maxCount) {
  std::lock_guard lock(queueLock_);
  const std::size_t n = std::min(maxCount, queue_.size());
  std::vector<Event> taken(
      std::make_move_iterator(queue_.begin()),
      std::make_move_iterator(queue_.begin() + static_cast<std::ptrdiff_t>(n)));
  queue_.erase(queue_.begin(), queue_.begin() + static_cast<std::ptrdiff_t>(n));
  size_.store(queue_.size(), std::memory_order_release);
  return taken;
}

std::size_t EventQueueManager::count() const {
  return size_.load(std::memory_order_acquire);
}

std::size_t EventQueueManager::room() const {
  return maxQueueSize_ - std::min(count(), maxQueueSize_);
}

std::vector<Event> EventQueueManager::snapshot() const {
  std::lock_guard lock(queueLock_);
  return {queue_.begin(), queue_.end()};
}

}  // namespace korvane
