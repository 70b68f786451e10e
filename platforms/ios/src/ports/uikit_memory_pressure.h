#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "korvane/platform/memory_pressure.h"

namespace korvane::ios {

// UIApplicationDidReceiveMemoryWarningNotification, handed to observers on the main thread in
// subscription order.
class UIKitMemoryPressure final : public MemoryPressure {
 public:
  UIKitMemoryPressure();
  ~UIKitMemoryPressure() override;
  UIKitMemoryPressure(const UIKitMemoryPressure&) = delete;
  UIKitMemoryPressure& operator=(const UIKitMemoryPressure&) = delete;

  [[nodiscard]] Subscription subscribe(std::function<void()> observer) override;

  struct Observers;

 private:
  std::shared_ptr<Observers> observers_;
  id<NSObject> token_;
};

}  // namespace korvane::ios
