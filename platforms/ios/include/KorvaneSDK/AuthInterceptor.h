#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// Adds the SDK's app key, app secret and user agent to requests for the SDK's backend domain,
/// once per request. The SDK never registers it; an app that wants its own requests to the
/// backend decorated registers it itself: `[NSURLProtocol registerClass:AuthInterceptor.class]`.
/// Its runtime name is `KorvaneAuthInterceptor`, so it cannot collide with another class named
/// `AuthInterceptor` in the app.
__attribute__((objc_runtime_name("KorvaneAuthInterceptor")))
KORVANE_EXPORT
@interface AuthInterceptor : NSURLProtocol
@end

NS_ASSUME_NONNULL_END
