#pragma once

#include "korvane/platform/main_thread.h"

namespace korvane::ios {

// The main thread on the main dispatch queue. Delayed work is a one-shot timer on the main run
// loop in the common modes, so it also fires while the person scrolls.
class DispatchMainThread final : public MainThread {
 public:
  void post(std::function<void()> work) override;
  TaskHandle postAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
  bool isCurrent() const override;
};

}  // namespace korvane::ios
