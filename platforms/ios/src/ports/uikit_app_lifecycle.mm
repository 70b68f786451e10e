#import "ports/uikit_app_lifecycle.h"

#import <UIKit/UIKit.h>

#include "korvane/util/logger.h"
#import "support/objc_text.h"

namespace korvane::ios {

struct UIKitAppLifecycle::Observers {
  std::mutex mutex;
  std::uint64_t nextId = 0;
  std::vector<std::pair<std::uint64_t, std::shared_ptr<std::function<void(AppLifecycleEvent)>>>>
      list;
  AppState lastState = AppState::active;

  void notify(AppLifecycleEvent event, AppState state) {
    decltype(list) snapshot;
    {
      std::lock_guard lock(mutex);
      lastState = state;
      snapshot = list;
    }
    for (auto& [id, observer] : snapshot) (*observer)(event);
  }
};

namespace {

AppState translate(UIApplicationState state) {
  switch (state) {
    case UIApplicationStateActive:
      return AppState::active;
    case UIApplicationStateInactive:
      return AppState::inactive;
    case UIApplicationStateBackground:
      return AppState::background;
  }
  return AppState::inactive;
}

}  // namespace

UIKitAppLifecycle::UIKitAppLifecycle() : observers_(std::make_shared<Observers>()) {
  struct Mapping {
    NSNotificationName name;
    AppLifecycleEvent event;
    AppState state;
  };
  const Mapping mappings[] = {
      {UIApplicationDidBecomeActiveNotification, AppLifecycleEvent::didBecomeActive,
       AppState::active},
      {UIApplicationDidEnterBackgroundNotification, AppLifecycleEvent::didEnterBackground,
       AppState::background},
      {UIApplicationWillEnterForegroundNotification, AppLifecycleEvent::willEnterForeground,
       AppState::inactive},
      {UIApplicationWillTerminateNotification, AppLifecycleEvent::willTerminate,
       AppState::background},
  };
  NSMutableArray<id<NSObject>>* tokens = [NSMutableArray array];
  std::weak_ptr<Observers> weak = observers_;
  for (const Mapping& mapping : mappings) {
    const AppLifecycleEvent event = mapping.event;
    const AppState state = mapping.state;
    [tokens
        addObject:[NSNotificationCenter.defaultCenter addObserverForName:mapping.name
                                                                  object:nil
                                                                   queue:NSOperationQueue.mainQueue
                                                              usingBlock:^(NSNotification*) {
                                                                if (auto observers = weak.lock())
                                                                  observers->notify(event, state);
                                                              }]];
  }
  tokens_ = tokens;
}

UIKitAppLifecycle::~UIKitAppLifecycle() {
  for (id<NSObject> token in tokens_) [NSNotificationCenter.defaultCenter removeObserver:token];
}

AppState UIKitAppLifecycle::state() const {
  if (NSThread.isMainThread) return translate(UIApplication.sharedApplication.applicationState);
  std::lock_guard lock(observers_->mutex);
  return observers_->lastState;
}

Subscription UIKitAppLifecycle::subscribe(std::function<void(AppLifecycleEvent)> observer) {
  std::lock_guard lock(observers_->mutex);
  const std::uint64_t id = observers_->nextId++;
  observers_->list.emplace_back(
      id, std::make_shared<std::function<void(AppLifecycleEvent)>>(std::move(observer)));
  return Subscription([weak = std::weak_ptr<Observers>(observers_), id] {
    auto observers = weak.lock();
    if (!observers) return;
    std::lock_guard lock(observers->mutex);
    std::erase_if(observers->list, [id](const auto& entry) { return entry.first == id; });
  });
}

bool UIKitUrlOpener::canOpen(const std::string& url) const {
  NSURL* target = [NSURL URLWithString:toNSString(std::string_view(url))];
  if (!target) return false;
  if (NSThread.isMainThread) return [UIApplication.sharedApplication canOpenURL:target];
  // UIApplication answers on the main thread only, and waiting for it from here could deadlock:
  // the core asks from the main thread, so this is a caller's mistake, refused with a log line.
  KorvaneLogger::e("UrlOpener", "canOpenURL asked off the main thread; answering no");
  return false;
}

void UIKitUrlOpener::open(const std::string& url, std::function<void(bool)> completion) {
  NSURL* target = [NSURL URLWithString:toNSString(std::string_view(url))];
  auto done = std::make_shared<std::function<void(bool)>>(std::move(completion));
  dispatch_async(dispatch_get_main_queue(), ^{
    if (!target) {
      if (*done) (*done)(false);
      return;
    }
    [UIApplication.sharedApplication openURL:target
        options:@{}
        completionHandler:^(BOOL success) {
          if (*done) (*done)(success);
        }];
  });
}

}  // namespace korvane::ios
