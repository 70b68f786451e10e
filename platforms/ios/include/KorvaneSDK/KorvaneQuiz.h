#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneContentRecords.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

@class UIViewController;

NS_ASSUME_NONNULL_BEGIN

/// What the app hears about quizzes, on the main thread.
NS_SWIFT_NAME(KorvaneQuizEventsListener) NS_SWIFT_UI_ACTOR
@protocol KorvaneQuizEventsListener <NSObject>
/// `quizEvent` was shown to the user.
- (void)onImpressedQuiz:(KorvaneQuizEvent*)quizEvent NS_SWIFT_NAME(onImpressed(_:));
/// The user clicked `quizEvent`.
- (void)onClickedQuiz:(KorvaneQuizEvent*)quizEvent NS_SWIFT_NAME(onClicked(_:));
/// The quiz page reported completion, once per opening. The amount is the page's "rewardAmount"
/// when it is a whole number from 0 to 2147483647, else the quiz's point when that is a whole
/// number, else 0.
- (void)onQuizCompleted:(KorvaneQuizEvent*)quizEvent
           rewardAmount:(NSInteger)rewardAmount NS_SWIFT_NAME(onQuizCompleted(_:rewardAmount:));
@end

/// The quiz placement: loads the user's quizzes, reports impressions and clicks and opens a quiz
/// full screen in the offerwall. Call it from the main thread (a call from another thread is
/// carried out there); load callbacks arrive there.
KORVANE_EXPORT NS_SWIFT_UI_ACTOR
@interface KorvaneQuiz : NSObject

/// A placement with no quizzes loaded.
- (instancetype)init NS_DESIGNATED_INITIALIZER;

/// Held weakly: the quiz never keeps the listener alive.
- (void)setQuizEventsListener:(nullable id<KorvaneQuizEventsListener>)listener
    NS_SWIFT_NAME(setQuizEventsListener(_:));
/// Loads the list; onSuccess comes first, then one impression per quiz in order. With
/// `shouldStoreCallbacks` the two blocks are kept for later loads. Failures are `KorvaneAdError`s.
- (void)loadWithOnSuccess:(void (^NS_SWIFT_UI_ACTOR)(KorvaneQuizResponse* response))onSuccess
                onFailure:(void (^NS_SWIFT_UI_ACTOR)(NSError* error))onFailure
     shouldStoreCallbacks:(BOOL)shouldStoreCallbacks
    NS_SWIFT_NAME(__load(onSuccess:onFailure:shouldStoreCallbacks:)) NS_REFINED_FOR_SWIFT;
/// The quizzes of the last successful load.
@property(nonatomic, readonly, copy) NSArray<KorvaneQuizEvent*>* quizEvents;

/// Records the click, tells the listener, then opens the quiz over `viewController`. An unknown id
/// opens nothing.
- (void)clickQuizWithId:(NSString*)quizId
                   from:(UIViewController*)viewController NS_SWIFT_NAME(clickQuiz(_:from:));
/// Records the click, tells the listener, then opens `quizEvent` over `viewController`.
- (void)clickQuiz:(KorvaneQuizEvent*)quizEvent
             from:(UIViewController*)viewController NS_SWIFT_NAME(clickQuiz(_:from:));
/// Records the click and tells the listener without opening anything.
- (void)trackClick:(KorvaneQuizEvent*)quizEvent NS_SWIFT_NAME(trackClick(_:));

@end

NS_ASSUME_NONNULL_END
