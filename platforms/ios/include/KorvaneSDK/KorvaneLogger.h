#import <Foundation/Foundation.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>

NS_ASSUME_NONNULL_BEGIN

/// Severities ordered by raw value; `none` silences the console.
typedef NS_CLOSED_ENUM(NSInteger, KorvaneLogLevel) {
  /// Nothing is printed.
  KorvaneLogLevelNone = 0,
  /// Failures only.
  KorvaneLogLevelError = 1,
  /// Failures and warnings (the default).
  KorvaneLogLevelWarning = 2,
  /// Also the SDK's milestones.
  KorvaneLogLevelInfo = 3,
  /// Also details for debugging.
  KorvaneLogLevelDebug = 4,
  /// Everything.
  KorvaneLogLevelVerbose = 5,
} NS_SWIFT_NAME(LogLevel);

/// The SDK's logging, which apps may use too. Lines go to the unified log (subsystem
/// "com.korvane.sdk": Xcode's console, Console, `log stream`) as "[HH:mm:ss.SSS] [L/Tag] message"
/// after credentials and e-mail addresses are masked; the default level is warning. Safe from
/// any thread.
KORVANE_EXPORT
@interface KorvaneLogger : NSObject

/// Lines above this level are dropped.
@property(class, nonatomic) KorvaneLogLevel logLevel;

/// Receives every error and warning line, masked, with the `NSError` logged with it (or nil),
/// whatever `logLevel` says, on the thread that logged it. Once the SDK is initialised it is the
/// SDK's own error reporting: to see the lines too, read it and call it from the block you set.
@property(class, nonatomic, copy, nullable) void (^NS_SWIFT_SENDABLE telemetrySink)
    (KorvaneLogLevel level, NSString* tag, NSString* message, NSError* _Nullable error);

/// Logs an error.
+ (void)e:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(e(_:_:));
/// Logs an error with the `NSError` behind it.
+ (void)e:(NSString*)tag
    message:(NSString*)message
      error:(nullable NSError*)error NS_SWIFT_NAME(e(_:_:error:));
/// Logs a warning.
+ (void)w:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(w(_:_:));
/// Logs a warning with the `NSError` behind it.
+ (void)w:(NSString*)tag
    message:(NSString*)message
      error:(nullable NSError*)error NS_SWIFT_NAME(w(_:_:error:));
/// Logs information.
+ (void)i:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(i(_:_:));
/// Logs a debugging line.
+ (void)d:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(d(_:_:));
/// Logs a verbose line.
+ (void)v:(NSString*)tag message:(NSString*)message NS_SWIFT_NAME(v(_:_:));
/// The text with credential values ("appKey=***") and whole e-mail addresses ("***") masked.
+ (NSString*)scrub:(NSString*)text NS_SWIFT_NAME(scrub(_:));

- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;

@end

NS_ASSUME_NONNULL_END
