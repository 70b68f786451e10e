#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <mutex>
#include <vector>

#include "korvane/telemetry/event.h"

namespace korvane {

// The events waiting to be sent, oldest first. Safe from any thread.
class EventQueueProtocol {
 public:
  virtual ~EventQueueProtocol() = default;
  // Appends at the tail; when full, the oldest event is dropped first.
  virtual void enqueue(Event event) = 0;
  // Puts `events` (oldest first, all older than what is queued) ahead of the queued events, as
  // many of the oldest of them as there is room for, and returns the rest.
  virtual std::vector<Event> prepend(std::vector<Event> events) = 0;
  // Removes and returns up to maxCount events from the head, in order.
  virtual std::vector<Event> dequeue(std::size_t maxCount) = 0;
  virtual std::size_t count() const = 0;
  // How many events fit before enqueueing drops the oldest.
  virtual std::size_t room() const = 0;
  // The queued events, oldest first, left in place.
  virtual std::vector<Event> snapshot() const = 0;
};

class EventQueueManager final : public EventQueueProtocol {
 public:
  explicit EventQueueManager(std::size_t maxQueueSize = 500) : maxQueueSize_(maxQueueSize) {}

  void enqueue(Event event) override;
  std::vector<Event> prepend(std::vector<Event> events) override;
  std::vector<Event> dequeue(std::size_t maxCount) override;
  std::size_t count() const override;
  std::size_t room() const override;
  std::vector<Event> snapshot() const override;
  // How many events the bound has pushed out since construction.
  std::size_t droppedCount() const { return dropped_.load(); }

 private:
  const std::size_t maxQueueSize_;
  mutable std::mutex queueLock_;
  std::deque<Event> queue_;
  // The queue's size, written under the lock and read without it by count(): a consistent
  // value without taking the lock on every tracked event.
  std::atomic<std::size_t> size_{0};
  std::atomic<std::size_t> dropped_{0};
};

}  // namespace korvane
