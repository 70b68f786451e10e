#import <KorvaneSDK/KorvaneLogger.h>

#include "korvane/util/logger.h"
#import "objc/objc_errors.h"
#import "objc/unavailable.h"
#import "support/first_use.h"
#import "support/objc_text.h"

// The Objective-C KorvaneLogger and the core's korvane::KorvaneLogger share a name; the core's is
// always written out in full here.
using CoreLogger = korvane::KorvaneLogger;
using korvane::ios::toNSString;
using korvane::ios::toStdString;

typedef void (^KorvaneTelemetrySinkBlock)(KorvaneLogLevel, NSString*, NSString*,
                                          NSError* _Nullable);

namespace {

// The app's block as the core's sink. The block is also the sink's owner, which the core hands
// back, so that reading the sink gives the same block back.
struct BlockSink {
  KorvaneTelemetrySinkBlock block;
  void operator()(korvane::LogLevel level, std::string_view tag, std::string_view message,
                  const korvane::Error* error) const {
    block(static_cast<KorvaneLogLevel>(level), toNSString(tag), toNSString(message),
          error ? korvane::ios::toNSError(*error) : nil);
  }
};

}  // namespace

@implementation KorvaneLogger

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"KorvaneLogger has class methods only");
}

+ (KorvaneLogLevel)logLevel {
  return static_cast<KorvaneLogLevel>(CoreLogger::logLevel());
}

+ (void)setLogLevel:(KorvaneLogLevel)logLevel {
  if (std::optional<korvane::LogLevel> known = korvane::logLevelFromRawValue(logLevel)) {
    CoreLogger::setLogLevel(*known);
  } else {
    CoreLogger::w("KorvaneLogger", "Unknown log level " + std::to_string(logLevel) + " ignored");
  }
}

+ (nullable KorvaneTelemetrySinkBlock)telemetrySink {
  if (std::shared_ptr<const void> owner = CoreLogger::telemetrySinkOwner())
    return (__bridge KorvaneTelemetrySinkBlock)owner.get();
  CoreLogger::TelemetrySink sink = CoreLogger::telemetrySink();
  if (!sink) return nil;
  return ^(KorvaneLogLevel level, NSString* tag, NSString* message, NSError* _Nullable error) {
    std::optional<korvane::Error> coreError;
    if (error) coreError = korvane::ios::toError((NSError* _Nonnull)error);
    sink(korvane::logLevelFromRawValue(level).value_or(korvane::LogLevel::error), toStdString(tag),
         toStdString(message), coreError ? &*coreError : nullptr);
  };
}

+ (void)setTelemetrySink:(nullable KorvaneTelemetrySinkBlock)telemetrySink {
  if (!telemetrySink) return CoreLogger::setTelemetrySink(nullptr);
  KorvaneTelemetrySinkBlock block = [telemetrySink copy];
  std::shared_ptr<const void> owner((__bridge_retained const void*)block,
                                    [](const void* held) { CFRelease(held); });
  CoreLogger::setTelemetrySink(BlockSink{block}, std::move(owner));
}

+ (void)e:(NSString*)tag message:(NSString*)message {
  CoreLogger::e(toStdString(tag), toStdString(message));
}

+ (void)e:(NSString*)tag message:(NSString*)message error:(nullable NSError*)error {
  if (!error) return [self e:tag message:message];
  CoreLogger::e(toStdString(tag), toStdString(message),
                korvane::ios::toError((NSError* _Nonnull)error));
}

+ (void)w:(NSString*)tag message:(NSString*)message {
  CoreLogger::w(toStdString(tag), toStdString(message));
}

+ (void)w:(NSString*)tag message:(NSString*)message error:(nullable NSError*)error {
  if (!error) return [self w:tag message:message];
  CoreLogger::w(toStdString(tag), toStdString(message),
                korvane::ios::toError((NSError* _Nonnull)error));
}

+ (void)i:(NSString*)tag message:(NSString*)message {
  CoreLogger::i(toStdString(tag), toStdString(message));
}

+ (void)d:(NSString*)tag message:(NSString*)message {
  CoreLogger::d(toStdString(tag), toStdString(message));
}

+ (void)v:(NSString*)tag message:(NSString*)message {
  CoreLogger::v(toStdString(tag), toStdString(message));
}

+ (NSString*)scrub:(NSString*)text {
  return korvane::ios::toNSString(CoreLogger::scrub(toStdString(text)));
}

@end
