#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneContentRecords.h>
#import <KorvaneSDK/KorvaneEventType.h>
#import <KorvaneSDK/KorvaneLogger.h>
#import <KorvaneSDK/KorvaneOfferwallCallback.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>
#import <KorvaneSDK/KorvaneSdkConfig.h>
#import <KorvaneSDK/KorvaneSdkLoginListener.h>
#import <KorvaneSDK/KorvaneSdkReadiness.h>
#import <KorvaneSDK/KorvaneSdkUser.h>

@class UIApplication;
@class UIViewController;

NS_ASSUME_NONNULL_BEGIN

/// The SDK's single entry point. Call `initializeWithApplication:sdkConfig:` once at launch; the
/// SDK counts as initialised only after its backend has validated the app, so log in once
/// `isInitialized` is true. Every method may be called from any thread and none throws: refusals
/// are a log line, plus the callback's `onError:` or the listener's `onFailure:` where there is
/// one. Listener and offerwall callbacks arrive on the main thread.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneSdk : NSObject

/// The one SDK instance.
@property(class, nonatomic, readonly) KorvaneSdk* shared;

/// Stores the configuration (the application weakly), reads the advertising identifier, starts the
/// network layer and telemetry, then validates the app in the background. Refused when already
/// initialised or when the app key or secret is empty. After its start ended the app's process
/// twice in a row the SDK starts in safe mode (no event-file load, no timers, no tracking prompt);
/// after a third time it stays inert until the app or SDK version changes, which this call logs
/// as an error; refusals then carry `KorvaneSdkErrorInertAfterCrashes`.
- (void)initializeWithApplication:(UIApplication*)application
                        sdkConfig:(KorvaneSdkConfig*)sdkConfig
    NS_SWIFT_NAME(initialize(application:sdkConfig:));
/// The same, and `completion` hears on the main thread how the start went: ready, or failed and
/// why (at once for a refused or a duplicate call). A start that failed for the network, the
/// server or its answer is tried again by itself; a status listener follows that.
- (void)initializeWithApplication:(UIApplication*)application
                        sdkConfig:(KorvaneSdkConfig*)sdkConfig
                       completion:(void (^NS_SWIFT_UI_ACTOR)(KorvaneSdkStatus* status))completion
    NS_SWIFT_NAME(initialize(application:sdkConfig:completion:)) NS_SWIFT_DISABLE_ASYNC;
/// Where the start stands now.
@property(nonatomic, readonly) KorvaneSdkStatus* status;
/// Tells `listener` the status now, then every change, until the observation ends.
- (KorvaneObservation*)addStatusListener:(id<KorvaneSdkStatusListener>)listener
    NS_SWIFT_NAME(addStatusListener(_:));
/// Whether an offerwall for `placementId` can be shown now, and if not why.
- (KorvaneOfferwallAvailability*)offerwallAvailabilityForPlacementId:(NSString*)placementId
    NS_SWIFT_NAME(offerwallAvailability(placementId:));
/// Tells `listener` the availability now, then every change, until the observation ends.
- (KorvaneObservation*)addOfferwallAvailabilityListener:
                           (id<KorvaneOfferwallAvailabilityListener>)listener
                                            placementId:(NSString*)placementId
    NS_SWIFT_NAME(addOfferwallAvailabilityListener(_:placementId:));
/// Makes the user current and registers it with the backend; see `KorvaneSdkLoginListener`.
- (void)loginWithKorvaneSdkUser:(KorvaneSdkUser*)korvaneSdkUser
                       listener:(nullable id<KorvaneSdkLoginListener>)listener
    NS_SWIFT_NAME(login(korvaneSdkUser:listener:));
/// Records the logout of the current user, then forgets it.
- (void)logout;
/// Whether the person agreed to the SDK's data use, for a configuration that waits for consent:
/// YES starts what `initialize` left waiting, NO stops it again until the next YES.
- (void)setConsent:(BOOL)given NS_SWIFT_NAME(setConsent(_:));
/// Whether the backend has validated the app.
- (BOOL)isInitialized;
/// Whether a user is logged in.
@property(nonatomic, readonly) BOOL isLoggedIn;
/// The logged-in user, if any.
- (nullable KorvaneSdkUser*)getCurrentUser;
/// The configuration given at initialisation, if any.
- (nullable KorvaneSdkConfig*)getConfig;
/// The SDK's version text, as "1.0.52-rc.2".
- (NSString*)getSDKVersion NS_SWIFT_NAME(getSDKVersion());
/// Sets `KorvaneLogger.logLevel`.
+ (void)setLogLevel:(KorvaneLogLevel)level NS_SWIFT_NAME(setLogLevel(_:));
/// The advertising identifier, or "00000000-0000-0000-0000-000000000000" when there is none, on
/// the main thread: before this returns when called there.
- (void)getAdvertisingIdWithCompletion:(void (^NS_SWIFT_UI_ACTOR)(NSString* advertisingId))completion
    NS_SWIFT_NAME(getAdvertisingId(completion:));

/// Queues an event for the next batch. Payload values must be JSON values (strings, numbers,
/// booleans, NSNull, arrays, string-keyed dictionaries); dates become ISO 8601 text, data base64
/// text, URLs their text, and anything else is left out with a warning.
- (void)trackEventWithEventType:(KorvaneEventType)eventType
                       category:(NSString*)category
                        payload:(nullable NSDictionary<NSString*, id>*)payload
    NS_SWIFT_NAME(__trackEvent(eventType:category:payload:)) NS_REFINED_FOR_SWIFT;
/// An event of type `custom` sent under `eventName`. "session_start" and "user_login" go out at
/// once instead of in the batch.
- (void)trackEventWithCustomName:(NSString*)eventName
                        category:(NSString*)category
                         payload:(nullable NSDictionary<NSString*, id>*)payload
    NS_SWIFT_NAME(trackEventWithCustomName(eventName:category:payload:));
/// An event of type `custom` whose payload also carries the name under "event_name".
- (void)trackCustomEventWithEventName:(NSString*)eventName
                             category:(NSString*)category
                              payload:(nullable NSDictionary<NSString*, id>*)payload
    NS_SWIFT_NAME(trackCustomEvent(eventName:category:payload:));
/// Asks the telemetry pipeline to send one batch now.
- (void)flushEvents;

/// Reports a failure as an "sdk_error" event (unless telemetry is disabled).
- (void)reportSdkError:(NSString*)message
                 error:(nullable NSError*)error
                 layer:(NSString*)layer NS_SWIFT_NAME(reportSdkError(_:error:layer:));
/// Whether failures and crashes are reported as telemetry. Default YES.
@property(class, nonatomic) BOOL telemetryEnabled;

// The offerwall. Each opening checks initialisation, then the user (a refusal is a log line and
// the callback's onError:), installs the callbacks (a given callback restarts the once-only
// onClosed), presents the offerwall full screen over `presentingViewController`, calls onOpened
// and records the opening. The callbacks are kept until the offerwall has closed; the event
// callback until the next opening replaces it.

/// Loads the placement's offerwall ahead of its opening in a page kept off screen (a WKWebView
/// not in any window, its web content process started, the page loaded with its bridge, its
/// identification headers and the current user), so that the next
/// `openOfferwallWithPresentingViewController:placementId:callback:eventCallback:` of that
/// placement presents it at once and loads nothing again. One page is kept: preloading another
/// placement replaces it. It goes on logout, when another user logs in, 10 minutes after it was
/// loaded, on the system's memory warning, and when it fails to load or closes itself unseen; an
/// opening without it loads as always. Until it is shown the page opens nothing outside the app.
/// Refused with a log line as an opening is (not initialised, no user, no offerwall address).
- (void)preloadOfferwallWithPlacementId:(NSString*)placementId
    NS_SWIFT_NAME(preloadOfferwall(placementId:));
/// The offerwall at the address the backend gave at validation.
- (void)openOfferwallWithPresentingViewController:(UIViewController*)presentingViewController
                                      placementId:(NSString*)placementId
                                         callback:(nullable id<KorvaneOfferwallCallback>)callback
                                    eventCallback:
                                        (nullable id<KorvaneOfferwallEventCallback>)eventCallback
    NS_SWIFT_NAME(openOfferwall(presentingViewController:placementId:callback:eventCallback:));
/// The same without callbacks.
- (void)objc_openOfferwallWithPresentingViewController:(UIViewController*)presentingViewController
                                           placementId:(NSString*)placementId
    NS_SWIFT_NAME(objc_openOfferwall(presentingViewController:placementId:));
/// The offerwall at an address the app gives, with the custom bar (`showNavigationBar`) or inside
/// a navigation controller with the system bar (`useNativeNavigationBar`).
- (void)openOfferwallWithUrl:(NSString*)url
                 placementId:(NSString*)placementId
    presentingViewController:(UIViewController*)presentingViewController
                    callback:(nullable id<KorvaneOfferwallCallback>)callback
               eventCallback:(nullable id<KorvaneOfferwallEventCallback>)eventCallback
           showNavigationBar:(BOOL)showNavigationBar
      useNativeNavigationBar:(BOOL)useNativeNavigationBar
    NS_SWIFT_NAME(openOfferwallWithUrl(_:placementId:presentingViewController:callback:eventCallback:showNavigationBar:useNativeNavigationBar:));
/// The same with the custom bar and without callbacks.
- (void)objc_openOfferwallWithUrl:(NSString*)url
                      placementId:(NSString*)placementId
         presentingViewController:(UIViewController*)presentingViewController
    NS_SWIFT_NAME(objc_openOfferwallWithUrl(_:placementId:presentingViewController:));
/// The placement's own offerwall, at the address the backend gives for it.
- (void)
    openOfferwallPindleAdsWithPresentingViewController:(UIViewController*)presentingViewController
                                           placementId:(NSString*)placementId
                                              callback:
                                                  (nullable id<KorvaneOfferwallCallback>)callback
                                         eventCallback:(nullable id<KorvaneOfferwallEventCallback>)
                                                           eventCallback
                                     showNavigationBar:(BOOL)showNavigationBar
                                useNativeNavigationBar:(BOOL)useNativeNavigationBar
    NS_SWIFT_NAME(openOfferwallPindleAds(presentingViewController:placementId:callback:eventCallback:showNavigationBar:useNativeNavigationBar:));
/// adjoe's web offerwall (PlaytimeWeb) with the user's data, in the offerwall with the system bar.
/// Refused unless adjoe is enabled (the backend's setting first, the configuration's otherwise)
/// and the backend gave its address.
- (void)openAdjoeOfferwallWithPresentingViewController:(UIViewController*)presentingViewController
                                           placementId:(NSString*)placementId
                                              callback:
                                                  (nullable id<KorvaneOfferwallCallback>)callback
    NS_SWIFT_NAME(openAdjoeOfferwall(presentingViewController:placementId:callback:));
/// Hands a web address to the system; YES once the request was handed over.
- (BOOL)openExternalBrowser:(NSString*)url
                placementId:(NSString*)placementId
    NS_SWIFT_NAME(openExternalBrowser(_:placementId:));
/// The offerwall address validation returned, if any.
- (nullable NSString*)getOfferwallUrl;

/// The banner for a placement, whatever its success flag. Refusals come at once with an error of
/// `KorvaneSdkErrorDomain`, code -1 (not initialised) or -2 (no user); otherwise the completion
/// runs on a background queue with the response or the transport's error.
- (void)getBannerInfoWithPlacementId:(NSString*)placementId
                          completion:(void (^NS_SWIFT_SENDABLE)(
                                         KorvaneBannerInfoResponse* _Nullable response,
                                         NSError* _Nullable error))completion
    NS_SWIFT_NAME(__getBannerInfo(placementId:completion:)) NS_REFINED_FOR_SWIFT;

- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;

@end

NS_ASSUME_NONNULL_END
