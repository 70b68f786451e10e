#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "korvane/platform/subscription.h"

namespace korvane {

// Observers of one kind of news. `add` returns the Subscription that ends the observation; it
// may outlive the list. `notify` calls every observer, outside the lock, on the caller's thread.
// Any thread.
template <typename... Args>
class Observers {
 public:
  using Observer = std::function<void(Args...)>;

  [[nodiscard]] Subscription add(Observer observer) {
    std::uint64_t id = 0;
    {
      std::lock_guard lock(state_->lock);
      id = ++state_->next;
      state_->observers.emplace(id, std::make_shared<Observer>(std::move(observer)));
    }
    return Subscription([weak = std::weak_ptr<State>(state_), id] {
      if (auto state = weak.lock()) {
        std::lock_guard lock(state->lock);
        state->observers.erase(id);
      }
    });
  }

  void notify(Args... args) const {
    std::vector<std::shared_ptr<Observer>> current;
    {
      std::lock_guard lock(state_->lock);
      for (const auto& [id, observer] : state_->observers) current.push_back(observer);
    }
    for (const auto& observer : current) (*observer)(args...);
  }

  bool empty() const {
    std::lock_guard lock(state_->lock);
    return state_->observers.empty();
  }

 private:
  struct State {
    std::mutex lock;
    std::uint64_t next = 0;
    std::map<std::uint64_t, std::shared_ptr<Observer>> observers;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace korvane
