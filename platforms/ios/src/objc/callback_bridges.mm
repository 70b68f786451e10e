#import "objc/callback_bridges.h"

#import "objc/foundation_json.h"
#import "support/objc_text.h"

using korvane::ios::toNSString;

@implementation KorvaneOfferwallCallbackImpl

- (instancetype)initWithOnOpened:(nullable void (^)(void))onOpened
                        onClosed:(nullable void (^)(void))onClosed
                         onError:(nullable void (^)(NSString*))onError
                  onRewardEarned:(nullable void (^)(NSInteger))onRewardEarned {
  if ((self = [super init])) {
    _onOpenedHandler = [onOpened copy];
    _onClosedHandler = [onClosed copy];
    _onErrorHandler = [onError copy];
    _onRewardEarnedHandler = [onRewardEarned copy];
  }
  return self;
}

- (instancetype)init {
  return [self initWithOnOpened:nil onClosed:nil onError:nil onRewardEarned:nil];
}

- (void)onOpened {
  if (self.onOpenedHandler) self.onOpenedHandler();
}
- (void)onClosed {
  if (self.onClosedHandler) self.onClosedHandler();
}
- (void)onError:(NSString*)message {
  if (self.onErrorHandler) self.onErrorHandler(message);
}
- (void)onRewardEarned:(NSInteger)amount {
  if (self.onRewardEarnedHandler) self.onRewardEarnedHandler(amount);
}

@end

namespace korvane::ios {
namespace {

class LoginListenerBridge final : public KorvaneSdkLoginListener,
                                  public std::enable_shared_from_this<LoginListenerBridge> {
 public:
  explicit LoginListenerBridge(id<KorvaneSdkLoginListener> target) : target_(target, false) {}
  void onSuccess() override {
    onMainThread(*this, ^(id<KorvaneSdkLoginListener> target) {
      [target onSuccess];
    });
  }
  void onFailure(KorvaneLoginError error) override {
    onMainThread(*this, ^(id<KorvaneSdkLoginListener> target) {
      [target onFailure:static_cast<::KorvaneLoginError>(error)];
    });
  }
  id<KorvaneSdkLoginListener> target() const { return target_.get(); }

 private:
  Held<id<KorvaneSdkLoginListener>> target_;
};

}  // namespace

void OfferwallCallbackBridge::onOpened() {
  onMainThread(*this, ^(id<KorvaneOfferwallCallback> target) {
    [target onOpened];
  });
}
void OfferwallCallbackBridge::onClosed() {
  onMainThread(*this, ^(id<KorvaneOfferwallCallback> target) {
    [target onClosed];
  });
}
void OfferwallCallbackBridge::onError(const std::string& message) {
  NSString* text = toNSString(message);
  onMainThread(*this, ^(id<KorvaneOfferwallCallback> target) {
    [target onError:text];
  });
}
void OfferwallCallbackBridge::onRewardEarned(int amount) {
  onMainThread(*this, ^(id<KorvaneOfferwallCallback> target) {
    [target onRewardEarned:amount];
  });
}

void OfferwallEventCallbackBridge::onCustomEvent(const std::string& eventType,
                                                 const JsonValue& payload) {
  NSString* type = toNSString(eventType);
  NSDictionary* body = dictionaryFrom(payload);
  onMainThread(*this, ^(id<KorvaneOfferwallEventCallback> target) {
    [target onCustomEventWithEventType:type payload:body];
  });
}

std::optional<JsonValue> OfferwallEventCallbackBridge::onDataRequest(const std::string& requestId,
                                                                     const std::string& requestType,
                                                                     const JsonValue& params) {
  id answer = [target() onDataRequestWithRequestId:toNSString(requestId)
                                       requestType:toNSString(requestType)
                                            params:dictionaryFrom(params)];
  if (![answer isKindOfClass:NSDictionary.class]) return std::nullopt;  // nil means "no data"
  return jsonObjectFrom(answer, "onDataRequest answer for " + requestId);
}

std::shared_ptr<OfferwallCallback> bridge(id<KorvaneOfferwallCallback> _Nullable callback) {
  if (!callback) return nullptr;
  return std::make_shared<OfferwallCallbackBridge>(callback, false);
}

std::shared_ptr<OfferwallEventCallback> bridge(
    id<KorvaneOfferwallEventCallback> _Nullable callback) {
  if (!callback) return nullptr;
  return std::make_shared<OfferwallEventCallbackBridge>(callback, false);
}

std::shared_ptr<OfferwallCallback> weakBridge(id<KorvaneOfferwallCallback> _Nullable callback) {
  if (!callback) return nullptr;
  return std::make_shared<OfferwallCallbackBridge>(callback, true);
}

std::shared_ptr<OfferwallEventCallback> weakBridge(
    id<KorvaneOfferwallEventCallback> _Nullable callback) {
  if (!callback) return nullptr;
  return std::make_shared<OfferwallEventCallbackBridge>(callback, true);
}

std::shared_ptr<KorvaneSdkLoginListener> bridge(id<KorvaneSdkLoginListener> _Nullable listener) {
  if (!listener) return nullptr;
  return std::make_shared<LoginListenerBridge>(listener);
}

// The bridges name the app's object; the SDK's own callbacks name none.
id<KorvaneOfferwallCallback> _Nullable unbridged(
    const std::shared_ptr<OfferwallCallback>& callback) {
  id app = callback ? (__bridge id)callback->platformObject() : nil;
  return [app conformsToProtocol:@protocol(KorvaneOfferwallCallback)] ? app : nil;
}

id<KorvaneOfferwallEventCallback> _Nullable unbridged(
    const std::shared_ptr<OfferwallEventCallback>& callback) {
  id app = callback ? (__bridge id)callback->platformObject() : nil;
  return [app conformsToProtocol:@protocol(KorvaneOfferwallEventCallback)] ? app : nil;
}

}  // namespace korvane::ios
