#pragma once

#include <functional>

#include "korvane/platform/subscription.h"

namespace korvane {

enum class AppState { active, inactive, background };
enum class AppLifecycleEvent {
  didBecomeActive,
  didEnterBackground,
  willEnterForeground,
  willTerminate
};

// The application's state and its lifecycle notifications. Observers are called on the main
// thread, in subscription order, until their Subscription is destroyed.
class AppLifecycle {
 public:
  virtual ~AppLifecycle() = default;
  virtual AppState state() const = 0;
  [[nodiscard]] virtual Subscription subscribe(std::function<void(AppLifecycleEvent)> observer) = 0;
};

}  // namespace korvane
