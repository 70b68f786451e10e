#import "ports/uikit_background_time.h"

#import <UIKit/UIKit.h>

#include <atomic>
#include <memory>

#import "support/objc_text.h"

namespace korvane::ios {
namespace {

// One task's identifier, ended at most once by whichever asks first. The expiration handler
// may run before beginBackgroundTask returns the identifier: the end asked for then happens as
// soon as the identifier is known.
struct Task {
  std::atomic<UIBackgroundTaskIdentifier> identifier{UIBackgroundTaskInvalid};
  std::atomic<bool> ended{false};
  void end() {
    ended = true;
    const UIBackgroundTaskIdentifier ending = identifier.exchange(UIBackgroundTaskInvalid);
    if (ending != UIBackgroundTaskInvalid)
      [UIApplication.sharedApplication endBackgroundTask:ending];
  }
  void began(UIBackgroundTaskIdentifier began) {
    identifier = began;
    if (ended) end();
  }
};

}  // namespace

// beginBackgroundTask and endBackgroundTask may be called from any thread.
Subscription UIKitBackgroundTime::begin(const std::string& name) {
  @autoreleasepool {
    auto task = std::make_shared<Task>();
    task->began([UIApplication.sharedApplication beginBackgroundTaskWithName:toNSString(name)
                                                           expirationHandler:^{
                                                             task->end();
                                                           }]);
    return Subscription([task] {
      @autoreleasepool {
        task->end();
      }
    });
  }
}

}  // namespace korvane::ios
