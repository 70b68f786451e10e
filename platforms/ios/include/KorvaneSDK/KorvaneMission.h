#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneContentRecords.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

@class UIViewController;

NS_ASSUME_NONNULL_BEGIN

/// What the app hears about a mission placement, on the main thread; onRefreshed asks the app to
/// load the list again.
NS_SWIFT_NAME(KorvaneMissionEventsListener) NS_SWIFT_UI_ACTOR
@protocol KorvaneMissionEventsListener <NSObject>
/// The user clicked `mission`.
- (void)onClickedMission:(KorvaneMissionItem*)mission NS_SWIFT_NAME(onClicked(_:));
/// `mission` was shown to the user.
- (void)onImpressedMission:(KorvaneMissionItem*)mission NS_SWIFT_NAME(onImpressed(_:));
/// The user completed `mission`.
- (void)onCompletedMission:(KorvaneMissionItem*)mission NS_SWIFT_NAME(onCompleted(_:));
/// The user advanced in `mission`.
- (void)onProgressedMission:(KorvaneMissionItem*)mission NS_SWIFT_NAME(onProgressed(_:));
/// The list of `unitId` (nil: every list) should be loaded again.
- (void)onRefreshedWithUnitId:(nullable NSString*)unitId NS_SWIFT_NAME(onRefreshed(unitId:));
@end

/// One mission placement: loads the user's missions, reports impressions, clicks, progress and
/// completion (listener first, then telemetry) and opens mission and reward pages in the
/// offerwall. Every live instance can be reached by the offerwall's pages. Call it from the main
/// thread (a call from another thread is carried out there); load callbacks arrive there.
KORVANE_EXPORT NS_SWIFT_UI_ACTOR
@interface KorvaneMission : NSObject

/// A placement with no missions loaded, joined to the live instances.
- (instancetype)init NS_DESIGNATED_INITIALIZER;

/// Loads the list; every listed mission is reported impressed, in order, before onSuccess. With
/// `shouldStoreCallbacks` the two blocks are kept for later loads. Failures are `KorvaneAdError`s.
- (void)loadWithOnSuccess:(void (^NS_SWIFT_UI_ACTOR)(NSArray<KorvaneMissionItem*>* missions,
                                                     KorvaneMissionProgress* progress))onSuccess
                onFailure:(void (^NS_SWIFT_UI_ACTOR)(NSError* error))onFailure
     shouldStoreCallbacks:(BOOL)shouldStoreCallbacks
    NS_SWIFT_NAME(__load(onSuccess:onFailure:shouldStoreCallbacks:)) NS_REFINED_FOR_SWIFT;
/// Held weakly, as delegates are, so that a view controller that owns the placement can listen to
/// it without a retain cycle: keep the listener alive yourself.
- (void)setEventsListener:(nullable id<KorvaneMissionEventsListener>)listener
    NS_SWIFT_NAME(setEventsListener(_:));
/// The missions of the last successful load.
- (NSArray<KorvaneMissionItem*>*)getMissions;
/// The loaded mission with this id, if any.
- (nullable KorvaneMissionItem*)getMissionWithMissionId:(NSString*)missionId
    NS_SWIFT_NAME(getMission(missionId:));
/// The last loaded list with its progress, reward page and texts.
@property(nonatomic, readonly, nullable) KorvaneMissionResponse* missionResponse;
/// The reward page of the last load, if it named one.
@property(nonatomic, readonly, copy, nullable) NSString* rewardUrl;

/// Remembers that the user takes part in the mission.
- (void)markAsParticipating:(NSString*)missionId NS_SWIFT_NAME(markAsParticipating(_:));
/// Whether `markAsParticipating:` was called for the mission.
- (BOOL)isParticipating:(NSString*)missionId NS_SWIFT_NAME(isParticipating(_:));

/// Reports the click and opens the mission's page over `viewController`. An unknown id opens
/// nothing.
- (void)clickMissionWithId:(NSString*)missionId
                      from:(UIViewController*)viewController NS_SWIFT_NAME(clickMission(_:from:));
/// Reports the click and opens `mission`'s page over `viewController`.
- (void)clickMission:(KorvaneMissionItem*)mission
                from:(UIViewController*)viewController NS_SWIFT_NAME(clickMission(_:from:));

/// Reports a click: the listener first, then telemetry.
- (void)onMissionClicked:(KorvaneMissionItem*)mission NS_SWIFT_NAME(onMissionClicked(_:));
/// Reports an impression: the listener first, then telemetry.
- (void)onMissionImpressed:(KorvaneMissionItem*)mission NS_SWIFT_NAME(onMissionImpressed(_:));
/// Reports a completion: the listener first, then telemetry.
- (void)onMissionCompleted:(KorvaneMissionItem*)mission NS_SWIFT_NAME(onMissionCompleted(_:));
/// Reports progress: the listener first, then telemetry.
- (void)onMissionProgressed:(KorvaneMissionItem*)mission NS_SWIFT_NAME(onMissionProgressed(_:));

/// Opens the reward page of the last load, if it named one.
- (void)onRewardButtonClickedFrom:(UIViewController*)viewController
    NS_SWIFT_NAME(onRewardButtonClicked(from:));
/// Leaves the set of live instances now (and drops the listener) rather than at deallocation.
- (void)destroy;

/// Asks every live instance's listener, once per distinct listener, to load again.
+ (void)refreshMissionList:(nullable NSString*)unitId NS_SWIFT_NAME(refreshMissionList(_:));

@end

NS_ASSUME_NONNULL_END
