#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

// The backend's content records as the placements hand them to the app. Immutable; made by the
// SDK only. Optional numbers are NSNumber (nil when the backend sent none).

/// A banner's description, for the app to lay out.
NS_SWIFT_NAME(BannerInfoResponse)
KORVANE_EXPORT
@interface KorvaneBannerInfoResponse : NSObject
@property(nonatomic, readonly) BOOL success;
@property(nonatomic, readonly, copy, nullable) NSString* imageUrl;
@property(nonatomic, readonly, nullable) NSNumber* imageWidth;
@property(nonatomic, readonly, nullable) NSNumber* imageHeight;
@property(nonatomic, readonly, copy, nullable) NSString* titleText;
@property(nonatomic, readonly, copy, nullable) NSString* linkType;
@property(nonatomic, readonly, copy, nullable) NSString* internalLinkUrl;
@property(nonatomic, readonly, copy, nullable) NSString* externalLinkUrl;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// The kind of a mission: "normal" or "offerwall_promotion".
typedef NSString* KorvaneMissionType NS_TYPED_ENUM NS_SWIFT_NAME(MissionType);
KORVANE_EXTERN KorvaneMissionType const KorvaneMissionTypeNormal;
KORVANE_EXTERN KorvaneMissionType const KorvaneMissionTypeOfferwallPromotion;

/// One mission of a mission placement.
NS_SWIFT_NAME(Mission)
KORVANE_EXPORT
@interface KorvaneMissionItem : NSObject
@property(nonatomic, readonly, copy) NSString* identifier NS_SWIFT_NAME(id);
@property(nonatomic, readonly, copy) NSString* title;
@property(nonatomic, readonly, copy) NSString* descriptionText;
@property(nonatomic, readonly, copy) NSString* imageUrl;
@property(nonatomic, readonly, copy) NSString* landingUrl;
/// The reward as the server words it.
@property(nonatomic, readonly, copy) NSString* point;
@property(nonatomic, readonly, copy, nullable) NSString* status;
@property(nonatomic, readonly, nullable) NSNumber* progress;
@property(nonatomic, readonly, nullable) NSNumber* total;
@property(nonatomic, readonly, nullable) KorvaneMissionType type;
@property(nonatomic, readonly, nullable) NSNumber* impressionOrder;
@property(nonatomic, readonly, copy, nullable) NSString* placementId;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// How far the user is through a mission list.
NS_SWIFT_NAME(MissionProgress)
KORVANE_EXPORT
@interface KorvaneMissionProgress : NSObject
@property(nonatomic, readonly) NSInteger current;
@property(nonatomic, readonly) NSInteger total;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// A mission list with its progress, reward page and texts.
NS_SWIFT_NAME(MissionResponse)
KORVANE_EXPORT
@interface KorvaneMissionResponse : NSObject
@property(nonatomic, readonly, nullable) NSNumber* success;
@property(nonatomic, readonly, copy) NSArray<KorvaneMissionItem*>* events;
@property(nonatomic, readonly) NSInteger current;
@property(nonatomic, readonly) NSInteger total;
@property(nonatomic, readonly, copy, nullable) NSString* rewardUrl;
@property(nonatomic, readonly, copy, nullable) NSString* message;
@property(nonatomic, readonly, copy, nullable) NSString* titleText;
@property(nonatomic, readonly, copy, nullable) NSString* descriptionText;
@property(nonatomic, readonly, copy, nullable) NSString* bottomText;
@property(nonatomic, readonly, copy, nullable) NSString* rewardIconUrl;
@property(nonatomic, readonly, copy, nullable) NSString* bottomIconUrl;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// One quiz of the quiz placement.
NS_SWIFT_NAME(QuizEvent)
KORVANE_EXPORT
@interface KorvaneQuizEvent : NSObject
@property(nonatomic, readonly, copy) NSString* identifier NS_SWIFT_NAME(id);
@property(nonatomic, readonly, copy) NSString* title;
@property(nonatomic, readonly, copy, nullable) NSString* descriptionText;
@property(nonatomic, readonly, copy) NSString* imageUrl;
@property(nonatomic, readonly, copy) NSString* landingUrl;
/// The reward as the server words it.
@property(nonatomic, readonly, copy) NSString* point;
@property(nonatomic, readonly, copy, nullable) NSString* status;
@property(nonatomic, readonly, nullable) NSNumber* completed;
@property(nonatomic, readonly, nullable) NSNumber* impressionOrder;
@property(nonatomic, readonly, copy, nullable) NSString* placementId;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// The quiz list with its texts.
NS_SWIFT_NAME(QuizResponse)
KORVANE_EXPORT
@interface KorvaneQuizResponse : NSObject
@property(nonatomic, readonly, nullable) NSNumber* success;
@property(nonatomic, readonly, copy, nullable) NSString* titleText;
@property(nonatomic, readonly, copy, nullable) NSString* completedImageUrl;
@property(nonatomic, readonly, nullable) NSNumber* completedImageWidth;
@property(nonatomic, readonly, nullable) NSNumber* completedImageHeight;
@property(nonatomic, readonly, copy) NSArray<KorvaneQuizEvent*>* events;
@property(nonatomic, readonly, copy, nullable) NSString* message;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

NS_ASSUME_NONNULL_END
