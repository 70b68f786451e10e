#pragma once

#import <dispatch/dispatch.h>

#include "korvane/util/executor.h"

namespace korvane::ios {

// The core's background work on a dispatch queue. Each piece of work runs inside its own
// autorelease pool, so what Foundation autoreleases for a request, a defaults read or an error
// report is freed when that piece ends, not never (a bare thread has no pool).
class DispatchQueueExecutor final : public Executor {
 public:
  explicit DispatchQueueExecutor(dispatch_queue_t queue);
  void submit(std::function<void()> work) override;

  // The facade's serial queue, "com.korvane.sdk.main" (user-initiated).
  static std::shared_ptr<Executor> serial();
  // A concurrent queue for the asynchronous tasks (backend calls, batches).
  static std::shared_ptr<Executor> tasks();

 private:
  dispatch_queue_t queue_;
};

}  // namespace korvane::ios
