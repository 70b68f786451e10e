#import "api/callback_bridges.h"

#import "api/foundation_json.h"
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

class LoginListenerBridge final : public KorvaneSdkLoginListener {
 public:
  explicit LoginListenerBridge(id<KorvaneSdkLoginListener> target) : target_(target) {}
  void onSuccess() override { [target_ onSuccess]; }
  void onFailure(KorvaneLoginError error) override {
    [target_ onFailure:static_cast<::KorvaneLoginError>(error)];
  }

 private:
  id<KorvaneSdkLoginListener> target_;
};

}  // namespace

void OfferwallCallbackBridge::onOpened() {
  [target() onOpened];
}
void OfferwallCallbackBridge::onClosed() {
  [target() onClosed];
}
void OfferwallCallbackBridge::onError(const std::string& message) {
  [target() onError:toNSString(message)];
}
void OfferwallCallbackBridge::onRewardEarned(int amount) {
  [target() onRewardEarned:amount];
}

void OfferwallEventCallbackBridge::onCustomEvent(const std::string& eventType,
                                                 const JsonValue& payload) {
  [target() onCustomEventWithEventType:toNSString(eventType) payload:dictionaryFrom(payload)];
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

id<KorvaneOfferwallCallback> _Nullable unbridged(
    const std::shared_ptr<OfferwallCallback>& callback) {
  auto* app = dynamic_cast<OfferwallCallbackBridge*>(callback.get());
  return app ? app->target() : nil;
}

id<KorvaneOfferwallEventCallback> _Nullable unbridged(
    const std::shared_ptr<OfferwallEventCallback>& callback) {
  auto* app = dynamic_cast<OfferwallEventCallbackBridge*>(callback.get());
  return app ? app->target() : nil;
}

}  // namespace korvane::ios
