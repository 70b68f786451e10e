#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

@class KorvaneSdkUser;

/// A user's gender as the backend knows it.
typedef NS_CLOSED_ENUM(NSInteger, KorvaneSdkUserGender) {
  /// "M".
  KorvaneSdkUserGenderMale = 0,
  /// "F".
  KorvaneSdkUserGenderFemale = 1,
  /// "O".
  KorvaneSdkUserGenderOther = 2,
} NS_SWIFT_NAME(KorvaneSdkUser.Gender);

/// The one-letter text the backend receives for a gender: "M", "F" or "O".
KORVANE_EXTERN NSString* KorvaneSdkUserGenderStringValue(KorvaneSdkUserGender gender)
    NS_SWIFT_NAME(KorvaneSdkUser.__stringValue(of:)) NS_REFINED_FOR_SWIFT;

/// The logged-in user as the app describes it. Immutable. Swift sees `gender` and `birthYear` as
/// optionals and one initialiser taking both as optionals.
KORVANE_EXPORT NS_SWIFT_SENDABLE
@interface KorvaneSdkUser : NSObject

/// The app's id for the user; never empty once logged in.
@property(nonatomic, readonly, copy) NSString* userId;
/// Whether a gender was given; `gender` is meaningful only then.
@property(nonatomic, readonly) BOOL hasGender NS_REFINED_FOR_SWIFT;
/// The user's gender; other when none was given.
@property(nonatomic, readonly) KorvaneSdkUserGender gender NS_REFINED_FOR_SWIFT;
/// Whether a birth year was given; `birthYear` is meaningful only then.
@property(nonatomic, readonly) BOOL hasBirthYear NS_REFINED_FOR_SWIFT;
/// The user's birth year; 0 when none was given.
@property(nonatomic, readonly) NSInteger birthYear NS_REFINED_FOR_SWIFT;

/// A user with neither gender nor birth year.
- (instancetype)initWithUserId:(NSString*)userId NS_SWIFT_NAME(init(userId:));
/// `genderValue` 0 is male, 1 female, any other value other; the birth year is always stored.
- (instancetype)initWithUserId:(NSString*)userId
                   genderValue:(NSInteger)genderValue
                     birthYear:(NSInteger)birthYear
    NS_SWIFT_NAME(init(userId:genderValue:birthYear:));
/// A user with a gender and a birth year.
- (instancetype)initWithUserId:(NSString*)userId
                        gender:(KorvaneSdkUserGender)gender
                     birthYear:(NSInteger)birthYear
    NS_SWIFT_NAME(init(__userId:gender:birthYear:)) NS_REFINED_FOR_SWIFT;
/// A user with a gender and no birth year.
- (instancetype)initWithUserId:(NSString*)userId
                        gender:(KorvaneSdkUserGender)gender
    NS_SWIFT_NAME(init(__userId:gender:)) NS_REFINED_FOR_SWIFT;
/// A user with a birth year and no gender.
- (instancetype)initWithUserId:(NSString*)userId
                     birthYear:(NSInteger)birthYear
    NS_SWIFT_NAME(init(__userId:birthYear:)) NS_REFINED_FOR_SWIFT;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;

@end

NS_ASSUME_NONNULL_END
