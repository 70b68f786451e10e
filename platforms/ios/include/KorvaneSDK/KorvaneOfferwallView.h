#import <KorvaneSDK/KorvaneOfferwallCallback.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>
#import <UIKit/UIKit.h>

NS_ASSUME_NONNULL_BEGIN

/// The offerwall as a view for the app's own layout: a stack of pages with fades and the inner
/// scroll position put back on return. The last "close" from the page reports onClosed once and
/// leaves the page for the app to remove. Main thread only.
KORVANE_EXPORT
@interface KorvaneOfferwallView : UIView

/// Held weakly, as delegates are, so that a view controller that owns the view can be its
/// callback without a retain cycle.
- (void)setCallback:(nullable id<KorvaneOfferwallCallback>)callback NS_SWIFT_NAME(setCallback(_:));
/// Held weakly too.
- (void)setEventCallback:(nullable id<KorvaneOfferwallEventCallback>)eventCallback
    NS_SWIFT_NAME(setEventCallback(_:));
/// Loads the offerwall at `baseUrl` with the page's query items and headers.
- (void)loadOfferwallWithBaseUrl:(NSString*)baseUrl
                          userId:(NSString*)userId
                          appKey:(NSString*)appKey
                     placementId:(NSString*)placementId
    NS_SWIFT_NAME(loadOfferwall(baseUrl:userId:appKey:placementId:));
/// Loads the placement's offerwall at the address the backend gives for it; needs an
/// initialised SDK and a logged-in user. Errors come later on the main thread, never during the
/// call. The placement being loaded or shown is not loaded again, nor one whose load failed (load
/// another, or make a new view); one refused before login is loaded by the first call after it.
- (void)loadOfferwallWithPlacementId:(NSString*)placementId
    NS_SWIFT_NAME(loadOfferwall(placementId:));

@end

NS_ASSUME_NONNULL_END
