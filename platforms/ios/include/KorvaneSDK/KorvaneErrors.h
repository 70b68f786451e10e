#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// The domain of the errors the placements (banners, missions, quizzes) report.
KORVANE_EXTERN NSErrorDomain const KorvaneAdErrorDomain;

/// Why a placement failed. Delivered as an `NSError` of `KorvaneAdErrorDomain` whose localized
/// description is the case's text. Swift sees the `KorvaneAdError` enumeration instead, which
/// bridges to the same `NSError`.
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
} NS_REFINED_FOR_SWIFT;

/// The case's text, as the errors of `KorvaneAdErrorDomain` carry it: "SDK not initialized",
/// "Failed to load ad", "Network error occurred", "No ads available" or "Unknown error occurred".
KORVANE_EXTERN NSString* KorvaneAdErrorDescription(KorvaneAdError error) NS_REFINED_FOR_SWIFT;

/// The domain of the facade's own refusals (`KorvaneSdkError`).
KORVANE_EXTERN NSErrorDomain const KorvaneSdkErrorDomain NS_SWIFT_NAME(KorvaneSdkErrorDomain);

/// Why the facade refused a request before sending it. Delivered as an `NSError` of
/// `KorvaneSdkErrorDomain`; Swift sees it as the `KorvaneSdkError` error type, whose `Code` a
/// `switch` can match.
typedef NS_ERROR_ENUM(KorvaneSdkErrorDomain, KorvaneSdkError){
    /// The SDK is not initialised.
    KorvaneSdkErrorNotInitialized = -1,
    /// No user is logged in.
    KorvaneSdkErrorNotLoggedIn = -2,
    /// The backend's validation answer turned the SDK, or the part asked for, off; the
    /// description names it ("Placements are turned off by the server").
    KorvaneSdkErrorTurnedOffByServer = -3,
    /// The SDK's start ended the app's process three times in a row: the SDK does nothing until
    /// the app or the SDK is updated.
    KorvaneSdkErrorInertAfterCrashes = -4,
};

/// Why login failed; handed to `KorvaneSdkLoginListener`'s `onFailure:`.
typedef NS_CLOSED_ENUM(NSInteger, KorvaneLoginError) {
  /// The SDK is not initialised.
  KorvaneLoginErrorNotInitialized = 0,
  /// The user id is empty.
  KorvaneLoginErrorInvalidUserId = 1,
  /// The backend could not be reached.
  KorvaneLoginErrorNetworkError = 2,
  /// Any other failure.
  KorvaneLoginErrorUnknown = 3,
};

/// "SDK is not initialized", "User ID cannot be empty", "Network error occurred" or "Unknown
/// error occurred".
KORVANE_EXTERN NSString* KorvaneLoginErrorDescription(KorvaneLoginError error)
    NS_SWIFT_NAME(getter:KorvaneLoginError.description(self:));

NS_ASSUME_NONNULL_END
