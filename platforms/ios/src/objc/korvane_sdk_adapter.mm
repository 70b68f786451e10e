#import <KorvaneSDK/KorvaneSdkFacade.h>
#import <UIKit/UIKit.h>

#include "korvane/sdk/korvane_sdk.h"
#import "objc/callback_bridges.h"
#import "objc/config_internal.h"
#import "objc/event_types.h"
#import "objc/foundation_json.h"
#import "objc/objc_errors.h"
#import "objc/readiness_internal.h"
#import "objc/records_internal.h"
#import "objc/unavailable.h"
#import "support/first_use.h"
#import "support/objc_text.h"
#import "web/uikit_screens.h"

using korvane::ios::toNSString;
using korvane::ios::toStdString;

namespace {

korvane::KorvaneSdk& core() {
  return korvane::KorvaneSdk::shared();
}

}  // namespace

@implementation KorvaneSdk {
  __weak UIApplication* _application;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

+ (KorvaneSdk*)shared {
  static KorvaneSdk* shared;
  static dispatch_once_t once;
  dispatch_once(&once, ^{
    shared = [[KorvaneSdk alloc] initShared];
  });
  return shared;
}

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"use KorvaneSdk.shared");
}

- (instancetype)initShared {
  return [super init];
}

- (void)initializeWithApplication:(UIApplication*)application
                        sdkConfig:(KorvaneSdkConfig*)sdkConfig {
  if (!sdkConfig) {
    korvane::KorvaneLogger::e("KorvaneSdk", "SDK configuration is missing. Initialization failed.");
    return;
  }
  // The application is only kept (weakly), as the product documents; the core never calls it.
  _application = application;
  // An inert SDK's refusal is logged by the core; this form returns nothing.
  (void)core().initialize(sdkConfig.cppConfig);
}

- (void)initializeWithApplication:(UIApplication*)application
                        sdkConfig:(KorvaneSdkConfig*)sdkConfig
                       completion:(void (^)(KorvaneSdkStatus* status))completion {
  if (!sdkConfig) {
    korvane::KorvaneLogger::e("KorvaneSdk", "SDK configuration is missing. Initialization failed.");
    return;
  }
  _application = application;
  core().initialize(sdkConfig.cppConfig, [heard = korvane::ios::Held(completion, false)](
                                             const korvane::SdkStatus& status) {
    if (auto block = heard.get()) block([[KorvaneSdkStatus alloc] initWithStatus:status]);
  });
}

- (KorvaneSdkStatus*)status {
  return [[KorvaneSdkStatus alloc] initWithStatus:core().status()];
}

- (KorvaneObservation*)addStatusListener:(id<KorvaneSdkStatusListener>)listener {
  __weak id<KorvaneSdkStatusListener> weakListener = listener;
  return [[KorvaneObservation alloc]
      initWithSubscription:core().observeStatus([weakListener](const korvane::SdkStatus& status) {
        [weakListener sdkStatusDidChange:[[KorvaneSdkStatus alloc] initWithStatus:status]];
      })];
}

- (KorvaneOfferwallAvailability*)offerwallAvailabilityForPlacementId:(NSString*)placementId {
  return [[KorvaneOfferwallAvailability alloc]
      initWithAvailability:core().offerwallAvailability(toStdString(placementId))];
}

- (KorvaneObservation*)addOfferwallAvailabilityListener:
                           (id<KorvaneOfferwallAvailabilityListener>)listener
                                            placementId:(NSString*)placementId {
  __weak id<KorvaneOfferwallAvailabilityListener> weakListener = listener;
  NSString* placement = [placementId copy];
  return [[KorvaneObservation alloc]
      initWithSubscription:
          core().observeOfferwallAvailability(
              toStdString(placementId),
              [weakListener, placement](const korvane::OfferwallAvailability& availability) {
                [weakListener offerwallAvailabilityDidChange:[[KorvaneOfferwallAvailability alloc]
                                                                 initWithAvailability:availability]
                                                 placementId:placement];
              })];
}

- (void)loginWithKorvaneSdkUser:(KorvaneSdkUser*)korvaneSdkUser
                       listener:(nullable id<KorvaneSdkLoginListener>)listener {
  // A missing user is an empty user id, which login refuses as invalidUserId.
  core().login(korvaneSdkUser ? korvaneSdkUser.cppUser : korvane::KorvaneSdkUser(""),
               korvane::ios::bridge(listener));
}

- (void)logout {
  core().logout();
}

- (void)setConsent:(BOOL)given {
  core().setConsent(given);
}

- (BOOL)isInitialized {
  return core().isInitialized();
}

- (BOOL)isLoggedIn {
  return core().isLoggedIn();
}

- (nullable KorvaneSdkUser*)getCurrentUser {
  std::optional<korvane::KorvaneSdkUser> user = core().getCurrentUser();
  return user ? [[KorvaneSdkUser alloc] initWithUser:*user] : nil;
}

- (nullable KorvaneSdkConfig*)getConfig {
  std::optional<korvane::KorvaneSdkConfig> config = core().getConfig();
  return config ? [[KorvaneSdkConfig alloc] initWithConfig:*config] : nil;
}

- (NSString*)getSDKVersion {
  return toNSString(core().getSDKVersion());
}

+ (void)setLogLevel:(KorvaneLogLevel)level {
  KorvaneLogger.logLevel = level;
}

- (void)getAdvertisingIdWithCompletion:(void (^)(NSString*))completion {
  if (!completion) return;
  core().getAdvertisingId([completion = korvane::ios::Held(completion, false)](std::string value) {
    NSString* advertisingId = toNSString(value);
    void (^block)(NSString*) = completion.get();
    if (NSThread.isMainThread) return block(advertisingId);
    dispatch_async(dispatch_get_main_queue(), ^{
      block(advertisingId);
    });
  });
}

- (void)trackEventWithEventType:(KorvaneEventType)eventType
                       category:(NSString*)category
                        payload:(nullable NSDictionary<NSString*, id>*)payload {
  const std::optional<korvane::EventType> type = korvane::ios::eventTypeFrom(eventType);
  if (!type) {
    korvane::KorvaneLogger::w(
        "KorvaneSdk", "Unknown event type " + toStdString(eventType) + "; event not tracked");
    return;
  }
  core().trackEvent(*type, toStdString(category),
                    korvane::ios::jsonObjectFrom(payload, "trackEvent"));
}

- (void)trackEventWithCustomName:(NSString*)eventName
                        category:(NSString*)category
                         payload:(nullable NSDictionary<NSString*, id>*)payload {
  core().trackEventWithCustomName(
      toStdString(eventName), toStdString(category),
      korvane::ios::jsonObjectFrom(payload, "trackEventWithCustomName"));
}

- (void)trackCustomEventWithEventName:(NSString*)eventName
                             category:(NSString*)category
                              payload:(nullable NSDictionary<NSString*, id>*)payload {
  core().trackCustomEvent(toStdString(eventName), toStdString(category),
                          korvane::ios::jsonObjectFrom(payload, "trackCustomEvent"));
}

- (void)flushEvents {
  core().flushEvents();
}

- (void)reportSdkError:(NSString*)message error:(nullable NSError*)error layer:(NSString*)layer {
  if (!error) {
    korvane::KorvaneSdk::reportSdkError(toStdString(message), nullptr, toStdString(layer));
    return;
  }
  const korvane::Error converted = korvane::ios::toError((NSError* _Nonnull)error);
  korvane::KorvaneSdk::reportSdkError(toStdString(message), &converted, toStdString(layer));
}

+ (BOOL)telemetryEnabled {
  return korvane::KorvaneSdk::telemetryEnabled();
}

+ (void)setTelemetryEnabled:(BOOL)telemetryEnabled {
  korvane::KorvaneSdk::setTelemetryEnabled(telemetryEnabled);
}

- (void)preloadOfferwallWithPlacementId:(NSString*)placementId {
  core().preloadOfferwall(toStdString(placementId));
}

- (void)openOfferwallWithPresentingViewController:(UIViewController*)presentingViewController
                                      placementId:(NSString*)placementId
                                         callback:(nullable id<KorvaneOfferwallCallback>)callback
                                    eventCallback:
                                        (nullable id<KorvaneOfferwallEventCallback>)eventCallback {
  core().openOfferwall(korvane::ios::anchorFor(presentingViewController), toStdString(placementId),
                       korvane::ios::bridge(callback), korvane::ios::bridge(eventCallback));
}

- (void)objc_openOfferwallWithPresentingViewController:(UIViewController*)presentingViewController
                                           placementId:(NSString*)placementId {
  [self openOfferwallWithPresentingViewController:presentingViewController
                                      placementId:placementId
                                         callback:nil
                                    eventCallback:nil];
}

- (void)openOfferwallWithUrl:(NSString*)url
                 placementId:(NSString*)placementId
    presentingViewController:(UIViewController*)presentingViewController
                    callback:(nullable id<KorvaneOfferwallCallback>)callback
               eventCallback:(nullable id<KorvaneOfferwallEventCallback>)eventCallback
           showNavigationBar:(BOOL)showNavigationBar
      useNativeNavigationBar:(BOOL)useNativeNavigationBar {
  core().openOfferwallWithUrl(toStdString(url), toStdString(placementId),
                              korvane::ios::anchorFor(presentingViewController),
                              korvane::ios::bridge(callback), korvane::ios::bridge(eventCallback),
                              showNavigationBar, useNativeNavigationBar);
}

- (void)objc_openOfferwallWithUrl:(NSString*)url
                      placementId:(NSString*)placementId
         presentingViewController:(UIViewController*)presentingViewController {
  [self openOfferwallWithUrl:url
                   placementId:placementId
      presentingViewController:presentingViewController
                      callback:nil
                 eventCallback:nil
             showNavigationBar:NO
        useNativeNavigationBar:NO];
}

- (void)
    openOfferwallPindleAdsWithPresentingViewController:(UIViewController*)presentingViewController
                                           placementId:(NSString*)placementId
                                              callback:
                                                  (nullable id<KorvaneOfferwallCallback>)callback
                                         eventCallback:(nullable id<KorvaneOfferwallEventCallback>)
                                                           eventCallback
                                     showNavigationBar:(BOOL)showNavigationBar
                                useNativeNavigationBar:(BOOL)useNativeNavigationBar {
  core().openOfferwallPindleAds(korvane::ios::anchorFor(presentingViewController),
                                toStdString(placementId), korvane::ios::bridge(callback),
                                korvane::ios::bridge(eventCallback), showNavigationBar,
                                useNativeNavigationBar);
}

- (void)openAdjoeOfferwallWithPresentingViewController:(UIViewController*)presentingViewController
                                           placementId:(NSString*)placementId
                                              callback:
                                                  (nullable id<KorvaneOfferwallCallback>)callback {
  core().openAdjoeOfferwall(korvane::ios::anchorFor(presentingViewController),
                            toStdString(placementId), korvane::ios::bridge(callback));
}

- (BOOL)openExternalBrowser:(NSString*)url placementId:(NSString*)placementId {
  return core().openExternalBrowser(toStdString(url), toStdString(placementId));
}

- (nullable NSString*)getOfferwallUrl {
  return korvane::ios::toNullableNSString(core().getOfferwallUrl());
}

- (void)getBannerInfoWithPlacementId:(NSString*)placementId
                          completion:(void (^)(KorvaneBannerInfoResponse* _Nullable,
                                               NSError* _Nullable))completion {
  core().getBannerInfo(
      toStdString(placementId), [completion = korvane::ios::Held(completion, false)](
                                    korvane::Result<korvane::BannerInfoResponse> answer) {
        auto block = completion.get();
        if (!block) return;
        if (answer) {
          block([[KorvaneBannerInfoResponse alloc] initWithRecord:answer.value()], nil);
        } else {
          block(nil, korvane::ios::toNSError(answer.error()));
        }
      });
}

@end
