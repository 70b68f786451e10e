#import "objc/event_types.h"

#import "support/objc_text.h"

// The raw values come from the core, which is where they are defined.
KorvaneEventType const KorvaneEventTypeQuizClicked =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::quizClicked));
KorvaneEventType const KorvaneEventTypeQuizImpressed =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::quizImpressed));
KorvaneEventType const KorvaneEventTypeQuizStarted =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::quizStarted));
KorvaneEventType const KorvaneEventTypeQuizCompleted =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::quizCompleted));
KorvaneEventType const KorvaneEventTypeMissionClicked =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::missionClicked));
KorvaneEventType const KorvaneEventTypeMissionImpressed =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::missionImpressed));
KorvaneEventType const KorvaneEventTypeMissionCompleted =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::missionCompleted));
KorvaneEventType const KorvaneEventTypeMissionProgressed =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::missionProgressed));
KorvaneEventType const KorvaneEventTypeOfferwallOpened =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::offerwallOpened));
KorvaneEventType const KorvaneEventTypeOfferwallClosed =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::offerwallClosed));
KorvaneEventType const KorvaneEventTypeBannerClicked =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::bannerClicked));
KorvaneEventType const KorvaneEventTypeBannerImpressed =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::bannerImpressed));
KorvaneEventType const KorvaneEventTypeLoginSuccess =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::loginSuccess));
KorvaneEventType const KorvaneEventTypeLoginFailed =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::loginFailed));
KorvaneEventType const KorvaneEventTypeCustom =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::custom));
KorvaneEventType const KorvaneEventTypeSdkError =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::sdkError));
KorvaneEventType const KorvaneEventTypeSdkCrash =
    korvane::ios::toNSString(korvane::rawValue(korvane::EventType::sdkCrash));

KorvaneMissionType const KorvaneMissionTypeNormal =
    korvane::ios::toNSString(korvane::rawValue(korvane::MissionType::normal));
KorvaneMissionType const KorvaneMissionTypeOfferwallPromotion =
    korvane::ios::toNSString(korvane::rawValue(korvane::MissionType::offerwallPromotion));

namespace korvane::ios {

std::optional<EventType> eventTypeFrom(NSString* _Nullable rawValue) {
  if (!rawValue) return std::nullopt;
  return eventTypeFromRawValue(toStdString(rawValue));
}

KorvaneMissionType missionTypeFrom(MissionType type) {
  return type == MissionType::normal ? KorvaneMissionTypeNormal
                                     : KorvaneMissionTypeOfferwallPromotion;
}

}  // namespace korvane::ios
