#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

// The backend's content records as the placements hand them to the app. Immutable; made by the
// SDK only, so safe to share between threads. Optional numbers are NSNumber (nil when the backend
// sent none); Swift sees them as Int? and Bool?.

/// A banner's description, for the app to lay out.
NS_SWIFT_NAME(BannerInfoResponse)
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneBannerInfoResponse : NSObject
/// The backend's success flag.
@property(nonatomic, readonly) BOOL success;
/// The image's address.
@property(nonatomic, readonly, copy, nullable) NSString* imageUrl;
/// The image's width, if given.
@property(nonatomic, readonly, nullable) NSNumber* imageWidth NS_REFINED_FOR_SWIFT;
/// The image's height, if given.
@property(nonatomic, readonly, nullable) NSNumber* imageHeight NS_REFINED_FOR_SWIFT;
/// The title to show.
@property(nonatomic, readonly, copy, nullable) NSString* titleText;
/// How the banner's link opens, as the backend words it.
@property(nonatomic, readonly, copy, nullable) NSString* linkType;
/// The address to open in the offerwall.
@property(nonatomic, readonly, copy, nullable) NSString* internalLinkUrl;
/// The address to open in the browser.
@property(nonatomic, readonly, copy, nullable) NSString* externalLinkUrl;
/// The record as a JSON object: the backend's keys, absent optional fields left out, ready for
/// NSJSONSerialization. Swift encodes the record itself (`Encodable`) instead.
@property(nonatomic, readonly, copy) NSDictionary<NSString*, id>* jsonObject NS_REFINED_FOR_SWIFT;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// The kind of a mission: "normal" or "offerwall_promotion".
/// Swift sees the `MissionType` enumeration instead.
typedef NSString* KorvaneMissionType NS_TYPED_ENUM NS_REFINED_FOR_SWIFT;
KORVANE_EXTERN KorvaneMissionType const KorvaneMissionTypeNormal;  ///< "normal"
KORVANE_EXTERN KorvaneMissionType const KorvaneMissionTypeOfferwallPromotion;  ///< "offerwall_promotion"

/// One mission of a mission placement.
NS_SWIFT_NAME(Mission)
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneMissionItem : NSObject
/// The backend's id.
@property(nonatomic, readonly, copy) NSString* identifier NS_SWIFT_NAME(id);
/// The title to show.
@property(nonatomic, readonly, copy) NSString* title;
/// The description to show.
@property(nonatomic, readonly, copy) NSString* descriptionText;
/// The image's address.
@property(nonatomic, readonly, copy) NSString* imageUrl;
/// The page the click opens.
@property(nonatomic, readonly, copy) NSString* landingUrl;
/// The reward as the server words it.
@property(nonatomic, readonly, copy) NSString* point;
/// The user's state in it, as the backend words it.
@property(nonatomic, readonly, copy, nullable) NSString* status;
/// Steps done, if counted.
@property(nonatomic, readonly, nullable) NSNumber* progress NS_REFINED_FOR_SWIFT;
/// Steps in all, if counted.
@property(nonatomic, readonly, nullable) NSNumber* total NS_REFINED_FOR_SWIFT;
/// The mission's kind, if given.
@property(nonatomic, readonly, nullable) KorvaneMissionType type NS_REFINED_FOR_SWIFT;
/// Where it stands in the list, if given.
@property(nonatomic, readonly, nullable) NSNumber* impressionOrder NS_REFINED_FOR_SWIFT;
/// The placement it was loaded for.
@property(nonatomic, readonly, copy, nullable) NSString* placementId;
/// The record as a JSON object: the backend's keys, absent optional fields left out, ready for
/// NSJSONSerialization. Swift encodes the record itself (`Encodable`) instead.
@property(nonatomic, readonly, copy) NSDictionary<NSString*, id>* jsonObject NS_REFINED_FOR_SWIFT;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// How far the user is through a mission list.
NS_SWIFT_NAME(MissionProgress)
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneMissionProgress : NSObject
/// Missions completed.
@property(nonatomic, readonly) NSInteger current;
/// Missions in the list.
@property(nonatomic, readonly) NSInteger total;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// A mission list with its progress, reward page and texts.
NS_SWIFT_NAME(MissionResponse)
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneMissionResponse : NSObject
/// The backend's success flag, if sent.
@property(nonatomic, readonly, nullable) NSNumber* success NS_REFINED_FOR_SWIFT;
/// The missions, in the backend's order.
@property(nonatomic, readonly, copy) NSArray<KorvaneMissionItem*>* events;
/// Missions completed.
@property(nonatomic, readonly) NSInteger current;
/// Missions in the list.
@property(nonatomic, readonly) NSInteger total;
/// The reward page, if any.
@property(nonatomic, readonly, copy, nullable) NSString* rewardUrl;
/// The backend's message, if any.
@property(nonatomic, readonly, copy, nullable) NSString* message;
/// The title to show.
@property(nonatomic, readonly, copy, nullable) NSString* titleText;
/// The description to show.
@property(nonatomic, readonly, copy, nullable) NSString* descriptionText;
/// The text under the list.
@property(nonatomic, readonly, copy, nullable) NSString* bottomText;
/// The reward icon's address.
@property(nonatomic, readonly, copy, nullable) NSString* rewardIconUrl;
/// The icon under the list.
@property(nonatomic, readonly, copy, nullable) NSString* bottomIconUrl;
/// The record as a JSON object: the backend's keys, absent optional fields left out, ready for
/// NSJSONSerialization. Swift encodes the record itself (`Encodable`) instead.
@property(nonatomic, readonly, copy) NSDictionary<NSString*, id>* jsonObject NS_REFINED_FOR_SWIFT;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// One quiz of the quiz placement.
NS_SWIFT_NAME(QuizEvent)
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneQuizEvent : NSObject
/// The backend's id.
@property(nonatomic, readonly, copy) NSString* identifier NS_SWIFT_NAME(id);
/// The title to show.
@property(nonatomic, readonly, copy) NSString* title;
/// The description to show.
@property(nonatomic, readonly, copy, nullable) NSString* descriptionText;
/// The image's address.
@property(nonatomic, readonly, copy) NSString* imageUrl;
/// The page the click opens.
@property(nonatomic, readonly, copy) NSString* landingUrl;
/// The reward as the server words it.
@property(nonatomic, readonly, copy) NSString* point;
/// The user's state in it, as the backend words it.
@property(nonatomic, readonly, copy, nullable) NSString* status;
/// Whether the user completed the quiz, if sent.
@property(nonatomic, readonly, nullable) NSNumber* completed NS_REFINED_FOR_SWIFT;
/// Where it stands in the list, if given.
@property(nonatomic, readonly, nullable) NSNumber* impressionOrder NS_REFINED_FOR_SWIFT;
/// The placement it was loaded for.
@property(nonatomic, readonly, copy, nullable) NSString* placementId;
/// The record as a JSON object: the backend's keys, absent optional fields left out, ready for
/// NSJSONSerialization. Swift encodes the record itself (`Encodable`) instead.
@property(nonatomic, readonly, copy) NSDictionary<NSString*, id>* jsonObject NS_REFINED_FOR_SWIFT;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

/// The quiz list with its texts.
NS_SWIFT_NAME(QuizResponse)
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneQuizResponse : NSObject
/// The backend's success flag, if sent.
@property(nonatomic, readonly, nullable) NSNumber* success NS_REFINED_FOR_SWIFT;
/// The title to show.
@property(nonatomic, readonly, copy, nullable) NSString* titleText;
/// The image shown for completed quizzes.
@property(nonatomic, readonly, copy, nullable) NSString* completedImageUrl;
/// That image's width, if given.
@property(nonatomic, readonly, nullable) NSNumber* completedImageWidth NS_REFINED_FOR_SWIFT;
/// That image's height, if given.
@property(nonatomic, readonly, nullable) NSNumber* completedImageHeight NS_REFINED_FOR_SWIFT;
/// The quizzes, in the backend's order.
@property(nonatomic, readonly, copy) NSArray<KorvaneQuizEvent*>* events;
/// The backend's message, if any.
@property(nonatomic, readonly, copy, nullable) NSString* message;
/// The record as a JSON object: the backend's keys, absent optional fields left out, ready for
/// NSJSONSerialization. Swift encodes the record itself (`Encodable`) instead.
@property(nonatomic, readonly, copy) NSDictionary<NSString*, id>* jsonObject NS_REFINED_FOR_SWIFT;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

NS_ASSUME_NONNULL_END
