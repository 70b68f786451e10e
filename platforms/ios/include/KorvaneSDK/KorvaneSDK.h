// KorvaneSDK: the rewards offerwall, its placements and telemetry for iPhone and iPad apps.
// `@import KorvaneSDK;` in Objective-C, `import KorvaneSDK` in Swift.
#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

//! The framework's major and minor version as a number (1.0) and its full version text
//! ("1.0.52-rc.2").
KORVANE_EXTERN double KorvaneSDKVersionNumber;
/// The framework's full version text.
KORVANE_EXTERN const unsigned char KorvaneSDKVersionString[];

#import <KorvaneSDK/AuthInterceptor.h>
#import <KorvaneSDK/KorvaneBanner.h>
#import <KorvaneSDK/KorvaneContentRecords.h>
#import <KorvaneSDK/KorvaneErrors.h>
#import <KorvaneSDK/KorvaneEventType.h>
#import <KorvaneSDK/KorvaneLogger.h>
#import <KorvaneSDK/KorvaneMission.h>
#import <KorvaneSDK/KorvaneOfferwallCallback.h>
#import <KorvaneSDK/KorvaneOfferwallView.h>
#import <KorvaneSDK/KorvaneOfferwallViewController.h>
#import <KorvaneSDK/KorvaneQuiz.h>
#import <KorvaneSDK/KorvaneSdkFacade.h>
#import <KorvaneSDK/KorvaneSdkConfig.h>
#import <KorvaneSDK/KorvaneSdkLoginListener.h>
#import <KorvaneSDK/KorvaneSdkReadiness.h>
#import <KorvaneSDK/KorvaneSdkUser.h>
