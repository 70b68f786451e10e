#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneContentRecords.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// Banner descriptions for the app to lay out. Nothing is cached: every call is one request, and
/// exactly one of the two blocks runs, on the main thread. Failures are `KorvaneAdError`s:
/// notInitialized for a refusal (no SDK, no user), networkError for a backend answer with success
/// false, unknown for a transport or decoding failure.
KORVANE_EXPORT
@interface KorvaneBanner : NSObject

/// The one banner loader.
@property(class, nonatomic, readonly) KorvaneBanner* shared;

/// Requests the banner of `placementId`; onSuccess gets a response whose success is true.
- (void)getBannerWithPlacementId:(NSString*)placementId
                       onSuccess:(void (^)(KorvaneBannerInfoResponse* response))onSuccess
                       onFailure:(void (^)(NSError* error))onFailure
    NS_SWIFT_NAME(getBanner(placementId:onSuccess:onFailure:));

- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;

@end

NS_ASSUME_NONNULL_END
