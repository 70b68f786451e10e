#import <KorvaneSDK/KorvaneBanner.h>
#import <KorvaneSDK/KorvaneMission.h>
#import <KorvaneSDK/KorvaneQuiz.h>

#include "korvane/placements/korvane_banner.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"
#import "objc/callback_bridges.h"
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
// to it without a retain cycle. The core keeps this bridge as long as the placement. Events
// raised on another thread (by an Objective-C caller) reach the listener on the main thread.
class MissionListenerBridge final : public KorvaneMissionEventsListener,
                                    public std::enable_shared_from_this<MissionListenerBridge> {
 public:
  explicit MissionListenerBridge(id<KorvaneMissionEventsListener> target) : target_(target) {}
  void onClicked(const Mission& mission) override {
    KorvaneMissionItem* shown = item(mission);
    onMainThread(*this, ^(id<KorvaneMissionEventsListener> target) {
      [target onClickedMission:shown];
    });
  }
  void onImpressed(const Mission& mission) override {
    KorvaneMissionItem* shown = item(mission);
    onMainThread(*this, ^(id<KorvaneMissionEventsListener> target) {
      [target onImpressedMission:shown];
    });
  }
  void onCompleted(const Mission& mission) override {
    KorvaneMissionItem* shown = item(mission);
    onMainThread(*this, ^(id<KorvaneMissionEventsListener> target) {
      [target onCompletedMission:shown];
    });
  }
  void onProgressed(const Mission& mission) override {
    KorvaneMissionItem* shown = item(mission);
    onMainThread(*this, ^(id<KorvaneMissionEventsListener> target) {
      [target onProgressedMission:shown];
    });
  }
  void onRefreshed(const std::optional<std::string>& unitId) override {
    NSString* unit = toNullableNSString(unitId);
    onMainThread(*this, ^(id<KorvaneMissionEventsListener> target) {
      [target onRefreshedWithUnitId:unit];
    });
  }
  id<KorvaneMissionEventsListener> _Nullable target() const { return target_; }
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
class QuizListenerBridge final : public KorvaneQuizEventsListener,
                                 public std::enable_shared_from_this<QuizListenerBridge> {
 public:
  explicit QuizListenerBridge(id<KorvaneQuizEventsListener> target) : target_(target) {}
  void onImpressed(const QuizEvent& quizEvent) override {
    KorvaneQuizEvent* shown = [[KorvaneQuizEvent alloc] initWithRecord:quizEvent];
    onMainThread(*this, ^(id<KorvaneQuizEventsListener> target) {
      [target onImpressedQuiz:shown];
    });
  }
  void onClicked(const QuizEvent& quizEvent) override {
    KorvaneQuizEvent* shown = [[KorvaneQuizEvent alloc] initWithRecord:quizEvent];
    onMainThread(*this, ^(id<KorvaneQuizEventsListener> target) {
      [target onClickedQuiz:shown];
    });
  }
  void onQuizCompleted(const QuizEvent& quizEvent, int rewardAmount) override {
    KorvaneQuizEvent* shown = [[KorvaneQuizEvent alloc] initWithRecord:quizEvent];
    onMainThread(*this, ^(id<KorvaneQuizEventsListener> target) {
      [target onQuizCompleted:shown rewardAmount:rewardAmount];
    });
  }
  id<KorvaneQuizEventsListener> _Nullable target() const { return target_; }

 private:
  __weak id<KorvaneQuizEventsListener> target_;
};

// The placements' calls reach UIKit and the main thread's state; Swift holds its callers on the
// main actor, and one from Objective-C on another thread goes to the main queue.
void onMainQueue(dispatch_block_t work) {
  if (NSThread.isMainThread) {
    work();
  } else {
    dispatch_async(dispatch_get_main_queue(), work);
  }
}

// The app's blocks are let go of on the main thread, where they run (Held).
std::function<void(KorvaneAdError)> failureBlock(void (^onFailure)(NSError*)) {
  return [onFailure = Held(onFailure, false)](KorvaneAdError error) {
    if (auto block = onFailure.get()) block(toNSError(error));
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
      [onSuccess =
           korvane::ios::Held(onSuccess, false)](const korvane::BannerInfoResponse& response) {
        if (auto block = onSuccess.get())
          block([[KorvaneBannerInfoResponse alloc] initWithRecord:response]);
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
      [onSuccess = korvane::ios::Held(onSuccess, false)](
          const std::vector<korvane::Mission>& missions, korvane::MissionProgress progress) {
        if (auto block = onSuccess.get())
          block(korvane::ios::missionItems(missions),
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
  std::shared_ptr<korvane::KorvaneMission> mission = _mission;
  const std::string key = toStdString(missionId);
  korvane::ios::onMainQueue(^{
    mission->clickMission(key, korvane::ios::anchorFor(viewController));
  });
}

- (void)clickMission:(KorvaneMissionItem*)item from:(UIViewController*)viewController {
  std::shared_ptr<korvane::KorvaneMission> mission = _mission;
  if (item)
    korvane::ios::onMainQueue(^{
      mission->clickMission(item.record, korvane::ios::anchorFor(viewController));
    });
}

- (void)onRewardButtonClickedFrom:(UIViewController*)viewController {
  std::shared_ptr<korvane::KorvaneMission> mission = _mission;
  korvane::ios::onMainQueue(^{
    mission->onRewardButtonClicked(korvane::ios::anchorFor(viewController));
  });
}

- (void)onMissionClicked:(KorvaneMissionItem*)item {
  std::shared_ptr<korvane::KorvaneMission> mission = _mission;
  if (item)
    korvane::ios::onMainQueue(^{
      mission->onMissionClicked(item.record);
    });
}
- (void)onMissionImpressed:(KorvaneMissionItem*)item {
  std::shared_ptr<korvane::KorvaneMission> mission = _mission;
  if (item)
    korvane::ios::onMainQueue(^{
      mission->onMissionImpressed(item.record);
    });
}
- (void)onMissionCompleted:(KorvaneMissionItem*)item {
  std::shared_ptr<korvane::KorvaneMission> mission = _mission;
  if (item)
    korvane::ios::onMainQueue(^{
      mission->onMissionCompleted(item.record);
    });
}
- (void)onMissionProgressed:(KorvaneMissionItem*)item {
  std::shared_ptr<korvane::KorvaneMission> mission = _mission;
  if (item)
    korvane::ios::onMainQueue(^{
      mission->onMissionProgressed(item.record);
    });
}

- (void)destroy {
  _mission->setEventsListener(nullptr);
  _mission->destroy();
}

+ (void)refreshMissionList:(nullable NSString*)unitId {
  const std::optional<std::string> unit = korvane::ios::toOptionalString(unitId);
  korvane::ios::onMainQueue(^{
    korvane::KorvaneMission::refreshMissionList(unit);
  });
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
      [onSuccess = korvane::ios::Held(onSuccess, false)](const korvane::QuizResponse& response) {
        if (auto block = onSuccess.get())
          block([[KorvaneQuizResponse alloc] initWithRecord:response]);
      },
      korvane::ios::failureBlock(onFailure), shouldStoreCallbacks);
}

- (NSArray<KorvaneQuizEvent*>*)quizEvents {
  return korvane::ios::quizEvents(_quiz->quizEvents());
}

- (void)clickQuizWithId:(NSString*)quizId from:(UIViewController*)viewController {
  std::shared_ptr<korvane::KorvaneQuiz> quiz = _quiz;
  const std::string key = toStdString(quizId);
  korvane::ios::onMainQueue(^{
    quiz->clickQuiz(key, korvane::ios::anchorFor(viewController));
  });
}

- (void)clickQuiz:(KorvaneQuizEvent*)quizEvent from:(UIViewController*)viewController {
  std::shared_ptr<korvane::KorvaneQuiz> quiz = _quiz;
  if (quizEvent)
    korvane::ios::onMainQueue(^{
      quiz->clickQuiz(quizEvent.record, korvane::ios::anchorFor(viewController));
    });
}

- (void)trackClick:(KorvaneQuizEvent*)quizEvent {
  std::shared_ptr<korvane::KorvaneQuiz> quiz = _quiz;
  if (quizEvent)
    korvane::ios::onMainQueue(^{
      quiz->trackClick(quizEvent.record);
    });
}

@end
