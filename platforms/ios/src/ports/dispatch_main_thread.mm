#import "ports/dispatch_main_thread.h"

#import <Foundation/Foundation.h>

#include <algorithm>

namespace korvane::ios {

void DispatchMainThread::post(std::function<void()> work) {
  auto task = std::make_shared<std::function<void()>>(std::move(work));
  dispatch_async(dispatch_get_main_queue(), ^{
    (*task)();
  });
}

TaskHandle DispatchMainThread::postAfter(std::chrono::milliseconds delay,
                                         std::function<void()> work) {
  auto cancelled = std::make_shared<std::atomic<bool>>(false);
  auto task = std::make_shared<std::function<void()>>(std::move(work));
  const CFTimeInterval seconds = std::max<CFTimeInterval>(0, delay.count() / 1000.0);
  // CFRunLoop calls are safe from any thread, so a timer can be put on the main loop from here.
  CFRunLoopTimerRef timer = CFRunLoopTimerCreateWithHandler(
      kCFAllocatorDefault, CFAbsoluteTimeGetCurrent() + seconds, 0, 0, 0, ^(CFRunLoopTimerRef) {
        if (!cancelled->load()) (*task)();
      });
  CFRunLoopAddTimer(CFRunLoopGetMain(), timer, kCFRunLoopCommonModes);
  CFRelease(timer);
  return TaskHandle(std::move(cancelled));
}

bool DispatchMainThread::isCurrent() const {
  return NSThread.isMainThread;
}

}  // namespace korvane::ios
