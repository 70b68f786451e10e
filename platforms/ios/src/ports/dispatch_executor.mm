#import "ports/dispatch_executor.h"

#import <Foundation/Foundation.h>

namespace korvane::ios {

DispatchQueueExecutor::DispatchQueueExecutor(dispatch_queue_t queue) : queue_(queue) {}

void DispatchQueueExecutor::submit(std::function<void()> work) {
  auto task = std::make_shared<std::function<void()>>(std::move(work));
  dispatch_async(queue_, ^{
    @autoreleasepool {
      (*task)();
    }
  });
}

std::shared_ptr<Executor> DispatchQueueExecutor::serial() {
  dispatch_queue_attr_t attributes =
      dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_SERIAL, QOS_CLASS_USER_INITIATED, 0);
  return std::make_shared<DispatchQueueExecutor>(
      dispatch_queue_create("com.korvane.sdk.main", attributes));
}

std::shared_ptr<Executor> DispatchQueueExecutor::tasks() {
  dispatch_queue_attr_t attributes =
      dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_CONCURRENT, QOS_CLASS_UTILITY, 0);
  return std::make_shared<DispatchQueueExecutor>(
      dispatch_queue_create("com.korvane.sdk.tasks", attributes));
}

}  // namespace korvane::ios
