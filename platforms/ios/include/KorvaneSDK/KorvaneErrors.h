#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// The domain of the errors the placements (banners, missions, quizzes) report.
KORVANE_EXTERN NSErrorDomain const KorvaneAdErrorDomain;

/// Why a placement failed. Delivered as an `NSError` of `KorvaneAdErrorDomain` whose localized
/// description is the case's text; Swift sees it as the `KorvaneAdError` error type.
typedef NS_ERROR_ENUM(KorvaneAdErrorDomain, KorvaneAdError){
    /// "SDK not initialized"
    KorvaneAdErrorNotInitialized = 0,
    /// "Failed to load ad"
    KorvaneAdErrorLoadFailed = 1,
    /// "Network error occurred"
    KorvaneAdErrorNetworkError = 2,
    /// "No ads available"
    KorvaneAdErrorNoFill = 3,
    /// "Unknown error occurred"
    KorvaneAdErrorUnknown = 4,
};

/// The domain of the facade's own refusals: -1 (not initialised) and -2 (no user logged in).
KORVANE_EXTERN NSErrorDomain const KorvaneSdkErrorDomain NS_SWIFT_NAME(KorvaneSdkErrorDomain);

/// Why login failed; handed to `KorvaneSdkLoginListener`'s `onFailure:`.
typedef NS_CLOSED_ENUM(NSInteger, KorvaneLoginError) {
  KorvaneLoginErrorNotInitialized = 0,
  KorvaneLoginErrorInvalidUserId = 1,
  KorvaneLoginErrorNetworkError = 2,
  KorvaneLoginErrorUnknown = 3,
};

/// "SDK is not initialized", "User ID cannot be empty", "Network error occurred" or "Unknown
/// error occurred".
KORVANE_EXTERN NSString* KorvaneLoginErrorDescription(KorvaneLoginError error)
    NS_SWIFT_NAME(getter:KorvaneLoginError.description(self:));

NS_ASSUME_NONNULL_END
