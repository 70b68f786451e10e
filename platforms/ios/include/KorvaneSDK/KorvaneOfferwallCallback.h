#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// What the app hears about one offerwall opening, on the main thread. `onClosed` comes at most
/// once per opening.
NS_SWIFT_NAME(OfferwallCallback) NS_SWIFT_UI_ACTOR
@protocol KorvaneOfferwallCallback <NSObject>
/// The offerwall is on screen.
- (void)onOpened;
/// The offerwall closed.
- (void)onClosed;
/// The offerwall could not open or failed; `message` says why.
- (void)onError:(NSString*)message;
/// A page reported a reward of `amount`.
- (void)onRewardEarned:(NSInteger)amount;
@end

/// Custom events offerwall pages send to the app, and data requests the app answers at once, on
/// the main thread. A nil answer means "no data": the page's callback is then never called.
NS_SWIFT_NAME(OfferwallEventCallback) NS_SWIFT_UI_ACTOR
@protocol KorvaneOfferwallEventCallback <NSObject>
/// A page sent a custom event of `eventType` with its payload.
- (void)onCustomEventWithEventType:(NSString*)eventType
                           payload:(NSDictionary<NSString*, id>*)payload
    NS_SWIFT_NAME(onCustomEvent(eventType:payload:));
/// The answer to a page's data request, or nil for none.
- (nullable NSDictionary<NSString*, id>*)onDataRequestWithRequestId:(NSString*)requestId
                                                        requestType:(NSString*)requestType
                                                             params:(NSDictionary<NSString*, id>*)
                                                                        params
    NS_SWIFT_NAME(onDataRequest(requestId:requestType:params:));
@end

/// An offerwall callback made of four blocks, run on the main thread; absent ones do nothing.
NS_SWIFT_NAME(OfferwallCallbackImpl)
KORVANE_EXPORT
@interface KorvaneOfferwallCallbackImpl : NSObject <KorvaneOfferwallCallback>

/// Runs for onOpened.
@property(nonatomic, copy, nullable) void (^NS_SWIFT_UI_ACTOR onOpenedHandler)(void);
/// Runs for onClosed.
@property(nonatomic, copy, nullable) void (^NS_SWIFT_UI_ACTOR onClosedHandler)(void);
/// Runs for onError:.
@property(nonatomic, copy, nullable) void (^NS_SWIFT_UI_ACTOR onErrorHandler)(NSString* message);
/// Runs for onRewardEarned:.
@property(nonatomic, copy, nullable) void (^NS_SWIFT_UI_ACTOR onRewardEarnedHandler)(NSInteger amount);

/// A callback made of the given handlers.
- (instancetype)initWithOnOpened:(nullable void (^NS_SWIFT_UI_ACTOR)(void))onOpened
                        onClosed:(nullable void (^NS_SWIFT_UI_ACTOR)(void))onClosed
                         onError:(nullable void (^NS_SWIFT_UI_ACTOR)(NSString* message))onError
                  onRewardEarned:(nullable void (^NS_SWIFT_UI_ACTOR)(NSInteger amount))onRewardEarned
    NS_DESIGNATED_INITIALIZER NS_SWIFT_NAME(init(onOpened:onClosed:onError:onRewardEarned:));
/// All four handlers absent.
- (instancetype)init;

@end

NS_ASSUME_NONNULL_END
