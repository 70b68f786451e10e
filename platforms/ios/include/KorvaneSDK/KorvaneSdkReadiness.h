#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// Where the SDK's start stands. `failed` may not be final: a validation that failed for the
/// network, the server or its answer is tried again by itself (with backoff, and when the network
/// comes back), and the state moves on to `validating` and `ready`.
typedef NS_ENUM(NSInteger, KorvaneSdkState) {
  KorvaneSdkStateNotStarted = 0,
  KorvaneSdkStateValidating = 1,
  KorvaneSdkStateReady = 2,
  KorvaneSdkStateFailed = 3,
} NS_SWIFT_NAME(KorvaneSdkState);

/// Why the start failed; `none` unless the state is `failed`. Refused keys and a disabled SDK
/// (switched off by the server, or after its start ended the app repeatedly) are final.
typedef NS_ENUM(NSInteger, KorvaneSdkFailureReason) {
  KorvaneSdkFailureReasonNone = 0,
  KorvaneSdkFailureReasonRefusedKeys = 1,
  KorvaneSdkFailureReasonNetwork = 2,
  KorvaneSdkFailureReasonServer = 3,
  KorvaneSdkFailureReasonMalformedAnswer = 4,
  KorvaneSdkFailureReasonDisabled = 5,
} NS_SWIFT_NAME(KorvaneSdkFailureReason);

/// The SDK's status at one moment.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneSdkStatus : NSObject
@property(nonatomic, readonly) KorvaneSdkState state;
@property(nonatomic, readonly) KorvaneSdkFailureReason failureReason;
/// What failed, for a log or a developer; empty unless the state is `failed`.
@property(nonatomic, readonly, copy) NSString* message;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// Why an offerwall cannot be shown now; `none` when it can. Checked in this order.
typedef NS_ENUM(NSInteger, KorvaneOfferwallUnavailableReason) {
  KorvaneOfferwallUnavailableReasonNone = 0,
  KorvaneOfferwallUnavailableReasonNotInitialized = 1,
  KorvaneOfferwallUnavailableReasonValidationFailed = 2,
  KorvaneOfferwallUnavailableReasonDisabledByServer = 3,
  KorvaneOfferwallUnavailableReasonNoOfferwallAddress = 4,
  KorvaneOfferwallUnavailableReasonNoUser = 5,
  KorvaneOfferwallUnavailableReasonOffline = 6,
} NS_SWIFT_NAME(KorvaneOfferwallUnavailableReason);

/// Whether an offerwall can be shown now, and if not why.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneOfferwallAvailability : NSObject
@property(nonatomic, readonly) BOOL isReady;
@property(nonatomic, readonly) KorvaneOfferwallUnavailableReason unavailableReason;
/// A sentence saying why, for a log or a developer; empty when ready.
@property(nonatomic, readonly, copy) NSString* reasonDescription;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// Hears the SDK's status, on the main thread: the status when added, then every change.
NS_SWIFT_UI_ACTOR
@protocol KorvaneSdkStatusListener <NSObject>
- (void)sdkStatusDidChange:(KorvaneSdkStatus*)status;
@end

/// Hears an offerwall's availability, on the main thread: the availability when added, then
/// every change (start, login, logout, network).
NS_SWIFT_UI_ACTOR
@protocol KorvaneOfferwallAvailabilityListener <NSObject>
- (void)offerwallAvailabilityDidChange:(KorvaneOfferwallAvailability*)availability
                           placementId:(NSString*)placementId
    NS_SWIFT_NAME(offerwallAvailabilityDidChange(_:placementId:));
@end

/// An observation the SDK keeps until `cancel` or until this object is released. The SDK holds
/// the listener weakly.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneObservation : NSObject
- (void)cancel;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

NS_ASSUME_NONNULL_END
