#import <KorvaneSDK/KorvaneBanner.h>
#import <KorvaneSDK/KorvaneMission.h>
#import <KorvaneSDK/KorvaneQuiz.h>

#include "korvane/placements/korvane_banner.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"
#import "objc/objc_errors.h"
#import "objc/records_internal.h"
#import "objc/unavailable.h"
#import "support/first_use.h"
#import "support/objc_text.h"
#import "web/uikit_screens.h"

using korvane::ios::toNSString;
using korvane::ios::toStdString;

namespace korvane::ios {
namespace {

// The app's mission listener, held weakly: a view controller that owns the placement may listen
// to it without a retain cycle. The core keeps this bridge as long as the placement.
class MissionListenerBridge final : public KorvaneMissionEventsListener {
 public:
  explicit MissionListenerBridge(id<KorvaneMissionEventsListener> target) : target_(target) {}
  void onClicked(const Mission& mission) override { [target_ onClickedMission:item(mission)]; }
  void onImpressed(const Mission& mission) override { [target_ onImpressedMission:item(mission)]; }
  void onCompleted(const Mission& mission) override { [target_ onCompletedMission:item(mission)]; }
  void onProgressed(const Mission& mission) override {
    [target_ onProgressedMission:item(mission)];
  }
  void onRefreshed(const std::optional<std::string>& unitId) override {
    [target_ onRefreshedWithUnitId:toNullableNSString(unitId)];
  }
  // Each placement wraps the app's listener in a bridge of its own; the app's object is the one
  // listener. One that is gone stands for nothing but this bridge.
  const void* identity() const override {
    id<KorvaneMissionEventsListener> target = target_;
    return target ? (__bridge const void*)target : this;
  }

 private:
  static KorvaneMissionItem* item(const Mission& mission) {
    return [[KorvaneMissionItem alloc] initWithRecord:mission];
  }
  __weak id<KorvaneMissionEventsListener> target_;
};

// The app's quiz listener, held weakly: the quiz never keeps it alive.
class QuizListenerBridge final : public KorvaneQuizEventsListener {
 public:
  explicit QuizListenerBridge(id<KorvaneQuizEventsListener> target) : target_(target) {}
  void onImpressed(const QuizEvent& quizEvent) override {
    [target_ onImpressedQuiz:[[KorvaneQuizEvent alloc] initWithRecord:quizEvent]];
  }
  void onClicked(const QuizEvent& quizEvent) override {
    [target_ onClickedQuiz:[[KorvaneQuizEvent alloc] initWithRecord:quizEvent]];
  }
  void onQuizCompleted(const QuizEvent& quizEvent, int rewardAmount) override {
    [target_ onQuizCompleted:[[KorvaneQuizEvent alloc] initWithRecord:quizEvent]
                rewardAmount:rewardAmount];
  }

 private:
  __weak id<KorvaneQuizEventsListener> target_;
};

std::function<void(KorvaneAdError)> failureBlock(void (^onFailure)(NSError*)) {
  return [onFailure](KorvaneAdError error) {
    if (onFailure) onFailure(toNSError(error));
  };
}

}  // namespace
}  // namespace korvane::ios

@implementation KorvaneBanner

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

+ (KorvaneBanner*)shared {
  static KorvaneBanner* shared;
  static dispatch_once_t once;
  dispatch_once(&once, ^{
    shared = [[KorvaneBanner alloc] initShared];
  });
  return shared;
}

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"use KorvaneBanner.shared");
}

- (instancetype)initShared {
  return [super init];
}

- (void)getBannerWithPlacementId:(NSString*)placementId
                       onSuccess:(void (^)(KorvaneBannerInfoResponse*))onSuccess
                       onFailure:(void (^)(NSError*))onFailure {
  korvane::KorvaneBanner::shared().getBanner(
      toStdString(placementId),
      [onSuccess](const korvane::BannerInfoResponse& response) {
        if (onSuccess) onSuccess([[KorvaneBannerInfoResponse alloc] initWithRecord:response]);
      },
      korvane::ios::failureBlock(onFailure));
}

@end

@implementation KorvaneMission {
  std::shared_ptr<korvane::KorvaneMission> _mission;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

- (instancetype)init {
  if ((self = [super init])) _mission = korvane::KorvaneMission::create();
  return self;
}

- (void)loadWithOnSuccess:(void (^)(NSArray<KorvaneMissionItem*>*,
                                    KorvaneMissionProgress*))onSuccess
                onFailure:(void (^)(NSError*))onFailure
     shouldStoreCallbacks:(BOOL)shouldStoreCallbacks {
  _mission->load(
      [onSuccess](const std::vector<korvane::Mission>& missions,
                  korvane::MissionProgress progress) {
        if (onSuccess)
          onSuccess(korvane::ios::missionItems(missions),
                    [[KorvaneMissionProgress alloc] initWithRecord:progress]);
      },
      korvane::ios::failureBlock(onFailure), shouldStoreCallbacks);
}

- (void)setEventsListener:(nullable id<KorvaneMissionEventsListener>)listener {
  _mission->setEventsListener(
      listener ? std::make_shared<korvane::ios::MissionListenerBridge>(listener) : nullptr);
}

- (NSArray<KorvaneMissionItem*>*)getMissions {
  return korvane::ios::missionItems(_mission->getMissions());
}

- (nullable KorvaneMissionItem*)getMissionWithMissionId:(NSString*)missionId {
  std::optional<korvane::Mission> mission = _mission->getMission(toStdString(missionId));
  return mission ? [[KorvaneMissionItem alloc] initWithRecord:*mission] : nil;
}

- (nullable KorvaneMissionResponse*)missionResponse {
  std::optional<korvane::MissionResponse> response = _mission->missionResponse();
  return response ? [[KorvaneMissionResponse alloc] initWithRecord:*response] : nil;
}

- (nullable NSString*)rewardUrl {
  return korvane::ios::toNullableNSString(_mission->rewardUrl());
}

- (void)markAsParticipating:(NSString*)missionId {
  _mission->markAsParticipating(toStdString(missionId));
}

- (BOOL)isParticipating:(NSString*)missionId {
  return _mission->isParticipating(toStdString(missionId));
}

- (void)clickMissionWithId:(NSString*)missionId from:(UIViewController*)viewController {
  _mission->clickMission(toStdString(missionId), korvane::ios::anchorFor(viewController));
}

- (void)clickMission:(KorvaneMissionItem*)mission from:(UIViewController*)viewController {
  if (mission) _mission->clickMission(mission.record, korvane::ios::anchorFor(viewController));
}

- (void)onRewardButtonClickedFrom:(UIViewController*)viewController {
  _mission->onRewardButtonClicked(korvane::ios::anchorFor(viewController));
}

- (void)onMissionClicked:(KorvaneMissionItem*)mission {
  if (mission) _mission->onMissionClicked(mission.record);
}
- (void)onMissionImpressed:(KorvaneMissionItem*)mission {
  if (mission) _mission->onMissionImpressed(mission.record);
}
- (void)onMissionCompleted:(KorvaneMissionItem*)mission {
  if (mission) _mission->onMissionCompleted(mission.record);
}
- (void)onMissionProgressed:(KorvaneMissionItem*)mission {
  if (mission) _mission->onMissionProgressed(mission.record);
}

- (void)destroy {
  _mission->setEventsListener(nullptr);
  _mission->destroy();
}

+ (void)refreshMissionList:(nullable NSString*)unitId {
  korvane::KorvaneMission::refreshMissionList(korvane::ios::toOptionalString(unitId));
}

@end

@implementation KorvaneQuiz {
  std::shared_ptr<korvane::KorvaneQuiz> _quiz;
  // The core holds the listener weakly; this bridge lives with the quiz, and holds the app's
  // listener weakly in turn.
  std::shared_ptr<korvane::ios::QuizListenerBridge> _listener;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

- (instancetype)init {
  if ((self = [super init])) _quiz = korvane::KorvaneQuiz::create();
  return self;
}

- (void)setQuizEventsListener:(nullable id<KorvaneQuizEventsListener>)listener {
  _listener = listener ? std::make_shared<korvane::ios::QuizListenerBridge>(listener) : nullptr;
  _quiz->setQuizEventsListener(_listener);
}

- (void)loadWithOnSuccess:(void (^)(KorvaneQuizResponse*))onSuccess
                onFailure:(void (^)(NSError*))onFailure
     shouldStoreCallbacks:(BOOL)shouldStoreCallbacks {
  _quiz->load(
      [onSuccess](const korvane::QuizResponse& response) {
        if (onSuccess) onSuccess([[KorvaneQuizResponse alloc] initWithRecord:response]);
      },
      korvane::ios::failureBlock(onFailure), shouldStoreCallbacks);
}

- (NSArray<KorvaneQuizEvent*>*)quizEvents {
  return korvane::ios::quizEvents(_quiz->quizEvents());
}

- (void)clickQuizWithId:(NSString*)quizId from:(UIViewController*)viewController {
  _quiz->clickQuiz(toStdString(quizId), korvane::ios::anchorFor(viewController));
}

- (void)clickQuiz:(KorvaneQuizEvent*)quizEvent from:(UIViewController*)viewController {
  if (quizEvent) _quiz->clickQuiz(quizEvent.record, korvane::ios::anchorFor(viewController));
}

- (void)trackClick:(KorvaneQuizEvent*)quizEvent {
  if (quizEvent) _quiz->trackClick(quizEvent.record);
}

@end
