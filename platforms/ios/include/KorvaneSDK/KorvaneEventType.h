#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// The closed list of telemetry event kinds; the raw value is what the backend receives.
/// Swift sees the `EventType` enumeration instead.
typedef NSString* KorvaneEventType NS_TYPED_ENUM NS_REFINED_FOR_SWIFT;

KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeQuizClicked;        ///< "quiz_clicked"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeQuizImpressed;      ///< "quiz_impressed"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeQuizStarted;        ///< "quiz_started"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeQuizCompleted;      ///< "quiz_completed"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeMissionClicked;     ///< "mission_clicked"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeMissionImpressed;   ///< "mission_impressed"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeMissionCompleted;   ///< "mission_completed"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeMissionProgressed;  ///< "mission_progressed"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeOfferwallOpened;    ///< "offerwall_opened"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeOfferwallClosed;    ///< "offerwall_closed"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeBannerClicked;      ///< "banner_clicked"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeBannerImpressed;    ///< "banner_impressed"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeLoginSuccess;       ///< "login_success"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeLoginFailed;        ///< "login_failed"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeCustom;             ///< "custom"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeSdkError;           ///< "sdk_error"
KORVANE_EXTERN KorvaneEventType const KorvaneEventTypeSdkCrash;           ///< "sdk_crash"

NS_ASSUME_NONNULL_END
