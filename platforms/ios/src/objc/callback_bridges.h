#pragma once

#import <KorvaneSDK/KorvaneOfferwallCallback.h>
#import <KorvaneSDK/KorvaneSdkLoginListener.h>

#include <memory>

#include "korvane/offerwall/offerwall_callback.h"
#include "korvane/values/public_errors.h"

NS_ASSUME_NONNULL_BEGIN

namespace korvane::ios {

// Holds an app's object (or block) strongly, or weakly (as delegates are held). The app's object
// may be a view controller, whose last release must happen on the main thread: the core lets go
// of what holds it on its own queues too, so a strong hold that ends elsewhere hands its reference
// to the main queue instead of releasing it there.
template <typename Object>
class Held {
 public:
  Held(Object object, bool weak)
      : strong_(weak ? Object() : object), weak_(weak ? object : Object()) {}
  Held(const Held&) = default;
  Held& operator=(const Held&) = delete;
  ~Held() {
    if (!strong_ || NSThread.isMainThread) return;
    const void* reference = CFBridgingRetain(strong_);
    strong_ = nil;
    dispatch_async(dispatch_get_main_queue(), ^{
      CFRelease(reference);
    });
  }
  Object get() const { return strong_ ? strong_ : weak_; }

 private:
  Object strong_;
  __weak Object weak_;
};

// Calls `call` with the bridge's target on the main thread, where the app is promised its
// listener and callback calls: at once there, else from the main queue. From elsewhere the bridge
// travels, not the app's object, so that only the main thread retains and releases the object.
template <typename Bridge, typename Object>
void onMainThread(const Bridge& bridge, void (^call)(Object)) {
  if (NSThread.isMainThread) return call(bridge.target());
  std::shared_ptr<const Bridge> kept = bridge.shared_from_this();
  dispatch_async(dispatch_get_main_queue(), ^{
    call(kept->target());
  });
}

// The core's callback interfaces, forwarding to the app's Objective-C objects on the main thread.
// The facade's openings hold the app's objects strongly, which the core keeps only as long as the
// product keeps them (until the offerwall closed, until the next opening); the embedded view holds
// them weakly.
class OfferwallCallbackBridge final : public OfferwallCallback,
                                      public std::enable_shared_from_this<OfferwallCallbackBridge> {
 public:
  OfferwallCallbackBridge(id<KorvaneOfferwallCallback> target, bool weak) : target_(target, weak) {}
  void onOpened() override;
  void onClosed() override;
  void onError(const std::string& message) override;
  void onRewardEarned(int amount) override;
  id<KorvaneOfferwallCallback> _Nullable target() const { return target_.get(); }
  void* platformObject() const override { return (__bridge void*)target_.get(); }

 private:
  Held<id<KorvaneOfferwallCallback>> target_;
};

class OfferwallEventCallbackBridge final
    : public OfferwallEventCallback,
      public std::enable_shared_from_this<OfferwallEventCallbackBridge> {
 public:
  OfferwallEventCallbackBridge(id<KorvaneOfferwallEventCallback> target, bool weak)
      : target_(target, weak) {}
  void onCustomEvent(const std::string& eventType, const JsonValue& payload) override;
  std::optional<JsonValue> onDataRequest(const std::string& requestId,
                                         const std::string& requestType,
                                         const JsonValue& params) override;
  id<KorvaneOfferwallEventCallback> _Nullable target() const { return target_.get(); }
  void* platformObject() const override { return (__bridge void*)target_.get(); }

 private:
  Held<id<KorvaneOfferwallEventCallback>> target_;
};

// Null for nil.
std::shared_ptr<OfferwallCallback> bridge(id<KorvaneOfferwallCallback> _Nullable callback);
std::shared_ptr<OfferwallEventCallback> bridge(
    id<KorvaneOfferwallEventCallback> _Nullable callback);
std::shared_ptr<OfferwallCallback> weakBridge(id<KorvaneOfferwallCallback> _Nullable callback);
std::shared_ptr<OfferwallEventCallback> weakBridge(
    id<KorvaneOfferwallEventCallback> _Nullable callback);
std::shared_ptr<KorvaneSdkLoginListener> bridge(id<KorvaneSdkLoginListener> _Nullable listener);
// The app's object behind a bridge the core holds; nil for none or for the SDK's own callbacks.
id<KorvaneOfferwallCallback> _Nullable unbridged(
    const std::shared_ptr<OfferwallCallback>& callback);
id<KorvaneOfferwallEventCallback> _Nullable unbridged(
    const std::shared_ptr<OfferwallEventCallback>& callback);

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
