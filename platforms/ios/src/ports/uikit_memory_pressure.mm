#import "ports/uikit_memory_pressure.h"

#import <UIKit/UIKit.h>

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace korvane::ios {

struct UIKitMemoryPressure::Observers {
  std::mutex mutex;
  std::uint64_t nextId = 0;
  std::vector<std::pair<std::uint64_t, std::shared_ptr<std::function<void()>>>> list;

  void notify() {
    decltype(list) snapshot;
    {
      std::lock_guard lock(mutex);
      snapshot = list;
    }
    for (auto& [id, observer] : snapshot) (*observer)();
  }
};

UIKitMemoryPressure::UIKitMemoryPressure() : observers_(std::make_shared<Observers>()) {
  std::weak_ptr<Observers> weak = observers_;
  token_ = [NSNotificationCenter.defaultCenter
      addObserverForName:UIApplicationDidReceiveMemoryWarningNotification
                  object:nil
                   queue:NSOperationQueue.mainQueue
              usingBlock:^(NSNotification*) {
                if (auto observers = weak.lock()) observers->notify();
              }];
}

UIKitMemoryPressure::~UIKitMemoryPressure() {
  [NSNotificationCenter.defaultCenter removeObserver:token_];
}

Subscription UIKitMemoryPressure::subscribe(std::function<void()> observer) {
  if (!observer) return Subscription();
  std::lock_guard lock(observers_->mutex);
  const std::uint64_t id = observers_->nextId++;
  observers_->list.emplace_back(id, std::make_shared<std::function<void()>>(std::move(observer)));
  return Subscription([weak = std::weak_ptr<Observers>(observers_), id] {
    auto observers = weak.lock();
    if (!observers) return;
    std::lock_guard guard(observers->mutex);
    std::erase_if(observers->list, [id](const auto& entry) { return entry.first == id; });
  });
}

}  // namespace korvane::ios
