#pragma once

#import <Foundation/Foundation.h>

#include <memory>
#include <mutex>
#include <vector>

#include "korvane/platform/app_lifecycle.h"
#include "korvane/platform/url_opener.h"

namespace korvane::ios {

// The application's state and its UIApplication notifications (became active, entered the
// background, will enter the foreground, will terminate), handed to observers on the main thread
// in subscription order. The state is read from UIApplication on the main thread and otherwise
// taken from the last notification.
class UIKitAppLifecycle final : public AppLifecycle {
 public:
  UIKitAppLifecycle();
  ~UIKitAppLifecycle() override;
  UIKitAppLifecycle(const UIKitAppLifecycle&) = delete;
  UIKitAppLifecycle& operator=(const UIKitAppLifecycle&) = delete;

  AppState state() const override;
  [[nodiscard]] Subscription subscribe(std::function<void(AppLifecycleEvent)> observer) override;

  struct Observers;

 private:
  std::shared_ptr<Observers> observers_;
  NSArray<id<NSObject>>* tokens_;
};

// URLs handed to UIApplication. canOpenURL needs the scheme in the app's
// LSApplicationQueriesSchemes for other apps' schemes; opening runs on the main thread.
class UIKitUrlOpener final : public UrlOpener {
 public:
  bool canOpen(const std::string& url) const override;
  void open(const std::string& url, std::function<void(bool opened)> completion) override;
};

}  // namespace korvane::ios
