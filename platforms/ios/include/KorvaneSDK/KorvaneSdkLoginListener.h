#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneErrors.h>

NS_ASSUME_NONNULL_BEGIN

/// Hears how `loginWithKorvaneSdkUser:listener:` ended, on the main thread. `onSuccess` follows
/// even when the backend request failed; `onFailure:` only when the SDK is not initialised or the
/// user id is empty. The SDK keeps the listener until it has called it.
NS_SWIFT_UI_ACTOR
@protocol KorvaneSdkLoginListener <NSObject>
/// The user is logged in.
- (void)onSuccess;
/// The login was refused; `error` says why.
- (void)onFailure:(KorvaneLoginError)error;
@end

NS_ASSUME_NONNULL_END
