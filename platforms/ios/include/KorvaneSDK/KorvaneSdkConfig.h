#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

@class KorvaneSdkConfig;

/// Which backend the SDK talks to.
typedef NS_CLOSED_ENUM(NSInteger, KorvaneSdkConfigEnvironment) {
  /// The live backend.
  KorvaneSdkConfigEnvironmentProduction = 0,
  /// The staging backend.
  KorvaneSdkConfigEnvironmentStaging = 1,
  /// Uses the staging backend as well.
  KorvaneSdkConfigEnvironmentDevelopment = 2,
} NS_SWIFT_NAME(KorvaneSdkConfig.Environment);

/// The app's immutable SDK configuration, made only by `KorvaneSdkConfigBuilder`.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneSdkConfig : NSObject

/// The app's key, sent with every backend request.
@property(nonatomic, readonly, copy) NSString* appKey;
/// The app's secret, sent with every backend request.
@property(nonatomic, readonly, copy) NSString* appSecret;
/// The backend the SDK talks to.
@property(nonatomic, readonly) KorvaneSdkConfigEnvironment environment;
/// The request time-out handed to the transport, in milliseconds.
@property(nonatomic, readonly) int64_t timeoutMillis;
/// Whether adjoe's offerwall may open (unless the backend decides otherwise).
@property(nonatomic, readonly) BOOL adjoeEnabled;
/// adjoe's SDK hash, when adjoe is enabled.
@property(nonatomic, readonly, copy, nullable) NSString* adjoeSdkHash;
/// Origins whose pages may use the offerwall's native bridge besides the addresses the SDK loads.
@property(nonatomic, readonly, copy) NSArray<NSString*>* trustedOrigins;
/// NO only when the app turned the bridge's origin policy off for its own testing.
@property(nonatomic, readonly) BOOL bridgeOriginPolicyEnabled;

- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;

@end

/// Collects the configuration; every setter returns the same builder, so calls chain. Defaults:
/// production, 30000 ms, adjoe disabled.
NS_SWIFT_NAME(KorvaneSdkConfig.Builder)
KORVANE_EXPORT
@interface KorvaneSdkConfigBuilder : NSObject

/// A builder for the app's key and secret with the defaults.
- (instancetype)initWithAppKey:(NSString*)appKey
                     appSecret:(NSString*)appSecret NS_DESIGNATED_INITIALIZER
    NS_SWIFT_NAME(init(appKey:appSecret:));
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;

/// The backend to talk to.
- (KorvaneSdkConfigBuilder*)setEnvironment:(KorvaneSdkConfigEnvironment)environment
    NS_SWIFT_NAME(setEnvironment(_:));
/// Stored as given: no bound is enforced.
- (KorvaneSdkConfigBuilder*)setTimeoutMillis:(int64_t)timeoutMillis
    NS_SWIFT_NAME(setTimeoutMillis(_:));
/// Enables adjoe's offerwall with adjoe's SDK hash.
- (KorvaneSdkConfigBuilder*)enableAdjoeWithSdkHash:(NSString*)sdkHash
    NS_SWIFT_NAME(enableAdjoe(sdkHash:));
/// Disables adjoe's offerwall and forgets its hash.
- (KorvaneSdkConfigBuilder*)disableAdjoe;
/// Sends every backend request to this base URL instead of the environment's (staging,
/// self-hosted backends, local development).
- (KorvaneSdkConfigBuilder*)setApiBaseUrl:(NSString*)apiBaseUrl NS_SWIFT_NAME(setApiBaseUrl(_:));
/// Lets pages from `origin` ("https://offers.example.com"; a full address counts for its origin)
/// use the offerwall's native bridge, as the offerwall's own address can. May be called again.
- (KorvaneSdkConfigBuilder*)addTrustedOrigin:(NSString*)origin NS_SWIFT_NAME(addTrustedOrigin(_:));
/// NO lets every page and frame use the bridge: for the app's own testing only. Default YES.
- (KorvaneSdkConfigBuilder*)setBridgeOriginPolicyEnabled:(BOOL)enabled
    NS_SWIFT_NAME(setBridgeOriginPolicyEnabled(_:));
/// YES makes `initialize` store the configuration and nothing more (no request, no tracking
/// prompt, no advertising identifier read, no event kept) until `setConsent:YES`. Default NO.
- (KorvaneSdkConfigBuilder*)setWaitsForConsent:(BOOL)waits NS_SWIFT_NAME(setWaitsForConsent(_:));
/// NO leaves the tracking prompt to the app: the SDK reads the identifier once the app's prompt
/// allowed it. Default YES.
- (KorvaneSdkConfigBuilder*)setAsksForTrackingPermission:(BOOL)asks
    NS_SWIFT_NAME(setAsksForTrackingPermission(_:));
/// Logs an error for an empty key or secret and builds anyway: only initialisation refuses them.
- (KorvaneSdkConfig*)build;

@end

NS_ASSUME_NONNULL_END
