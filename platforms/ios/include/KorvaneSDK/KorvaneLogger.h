#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// Severities ordered by raw value; `none` silences the console.
typedef NS_CLOSED_ENUM(NSInteger, KorvaneLogLevel) {
  KorvaneLogLevelNone = 0,
  KorvaneLogLevelError = 1,
  KorvaneLogLevelWarning = 2,
  KorvaneLogLevelInfo = 3,
  KorvaneLogLevelDebug = 4,
  KorvaneLogLevelVerbose = 5,
} NS_SWIFT_NAME(LogLevel);

/// The SDK's logging, which apps may use too. Lines print to standard output as
/// "[HH:mm:ss.SSS] [L/Tag] message" after credentials and e-mail addresses are masked; the
/// default level is warning. Safe from any thread.
KORVANE_EXPORT
@interface KorvaneLogger : NSObject

@property(class, nonatomic) KorvaneLogLevel logLevel;

+ (void)e:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(e(_:_:));
+ (void)e:(NSString*)tag
    message:(NSString*)message
      error:(nullable NSError*)error NS_SWIFT_NAME(e(_:_:error:));
+ (void)w:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(w(_:_:));
+ (void)w:(NSString*)tag
    message:(NSString*)message
      error:(nullable NSError*)error NS_SWIFT_NAME(w(_:_:error:));
+ (void)i:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(i(_:_:));
+ (void)d:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(d(_:_:));
+ (void)v:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(v(_:_:));
/// The text with credential values ("appKey=***") and whole e-mail addresses ("***") masked.
+ (NSString*)scrub:(NSString*)text NS_SWIFT_NAME(scrub(_:));

- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;

@end

NS_ASSUME_NONNULL_END
