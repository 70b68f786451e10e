#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// Where the SDK's start stands. `failed` may not be final: a validation that failed for the
/// network, the server or its answer is tried again by itself (with backoff, and when the network
/// comes back), and the state moves on to `validating` and `ready`.
typedef NS_ENUM(NSInteger, KorvaneSdkState) {
  /// `initialize` has not been called, or waits for consent.
  KorvaneSdkStateNotStarted = 0,
  /// The backend is validating the app.
  KorvaneSdkStateValidating = 1,
  /// Validated: the SDK can log a user in and open the offerwall.
  KorvaneSdkStateReady = 2,
  /// The start failed; `failureReason` says why.
  KorvaneSdkStateFailed = 3,
} NS_SWIFT_NAME(KorvaneSdkState);

/// Why the start failed; `none` unless the state is `failed`. Refused keys and a disabled SDK
/// (switched off by the server, or after its start ended the app repeatedly) are final.
typedef NS_ENUM(NSInteger, KorvaneSdkFailureReason) {
  /// Nothing failed.
  KorvaneSdkFailureReasonNone = 0,
  /// The backend refused the app key or secret (or one was empty).
  KorvaneSdkFailureReasonRefusedKeys = 1,
  /// The backend could not be reached; tried again when the network comes back.
  KorvaneSdkFailureReasonNetwork = 2,
  /// The backend failed (HTTP 5xx); tried again after a backoff.
  KorvaneSdkFailureReasonServer = 3,
  /// The backend's answer could not be read; tried again after a backoff.
  KorvaneSdkFailureReasonMalformedAnswer = 4,
  /// Switched off: by the server, or after its start ended the app repeatedly.
  KorvaneSdkFailureReasonDisabled = 5,
} NS_SWIFT_NAME(KorvaneSdkFailureReason);

/// The SDK's status at one moment.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneSdkStatus : NSObject
/// Where the start stands.
@property(nonatomic, readonly) KorvaneSdkState state;
/// Why it failed; `none` unless the state is `failed`.
@property(nonatomic, readonly) KorvaneSdkFailureReason failureReason;
/// What failed, for a log or a developer; empty unless the state is `failed`.
@property(nonatomic, readonly, copy) NSString* message;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// Why an offerwall cannot be shown now; `none` when it can. Checked in this order.
typedef NS_ENUM(NSInteger, KorvaneOfferwallUnavailableReason) {
  /// The offerwall can be shown.
  KorvaneOfferwallUnavailableReasonNone = 0,
  /// The SDK has not finished initializing.
  KorvaneOfferwallUnavailableReasonNotInitialized = 1,
  /// The SDK could not validate the app; see its status.
  KorvaneOfferwallUnavailableReasonValidationFailed = 2,
  /// The offerwall is switched off for this app.
  KorvaneOfferwallUnavailableReasonDisabledByServer = 3,
  /// The backend gave no offerwall address for this app.
  KorvaneOfferwallUnavailableReasonNoOfferwallAddress = 4,
  /// No user is logged in.
  KorvaneOfferwallUnavailableReasonNoUser = 5,
  /// The device is offline: the offline page would show.
  KorvaneOfferwallUnavailableReasonOffline = 6,
} NS_SWIFT_NAME(KorvaneOfferwallUnavailableReason);

/// Whether an offerwall can be shown now, and if not why.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneOfferwallAvailability : NSObject
/// YES when the offerwall can be shown now.
@property(nonatomic, readonly) BOOL isReady;
/// Why not; `none` when ready.
@property(nonatomic, readonly) KorvaneOfferwallUnavailableReason unavailableReason;
/// A sentence saying why, for a log or a developer; empty when ready.
@property(nonatomic, readonly, copy) NSString* reasonDescription;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// Hears the SDK's status, on the main thread: the status when added, then every change.
NS_SWIFT_UI_ACTOR
@protocol KorvaneSdkStatusListener <NSObject>
/// The status now, or a change of it.
- (void)sdkStatusDidChange:(KorvaneSdkStatus*)status;
@end

/// Hears an offerwall's availability, on the main thread: the availability when added, then
/// every change (start, login, logout, network).
NS_SWIFT_UI_ACTOR
@protocol KorvaneOfferwallAvailabilityListener <NSObject>
/// The availability of `placementId`'s offerwall now, or a change of it.
- (void)offerwallAvailabilityDidChange:(KorvaneOfferwallAvailability*)availability
                           placementId:(NSString*)placementId
    NS_SWIFT_NAME(offerwallAvailabilityDidChange(_:placementId:));
@end

/// An observation the SDK keeps until `cancel` or until this object is released. The SDK holds
/// the listener weakly.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneObservation : NSObject
/// Ends the observation: the listener hears nothing more.
- (void)cancel;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

NS_ASSUME_NONNULL_END
