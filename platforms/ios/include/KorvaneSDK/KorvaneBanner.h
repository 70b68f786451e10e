#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneContentRecords.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// Banner descriptions for the app to lay out. Nothing is cached: every call is one request, and
/// exactly one of the two blocks runs, on the main thread. Failures are `KorvaneAdError`s:
/// notInitialized for a refusal (no SDK, no user), networkError for a backend answer with success
/// false, unknown for a transport or decoding failure. Safe from any thread.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneBanner : NSObject

/// The one banner loader.
@property(class, nonatomic, readonly) KorvaneBanner* shared;

/// Requests the banner of `placementId`; onSuccess gets a response whose success is true.
- (void)getBannerWithPlacementId:(NSString*)placementId
                       onSuccess:(void (^NS_SWIFT_UI_ACTOR)(KorvaneBannerInfoResponse* response))
                                     onSuccess
                       onFailure:(void (^NS_SWIFT_UI_ACTOR)(NSError* error))onFailure
    NS_SWIFT_NAME(__getBanner(placementId:onSuccess:onFailure:)) NS_REFINED_FOR_SWIFT;

- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;

@end

NS_ASSUME_NONNULL_END
