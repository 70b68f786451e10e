#import "objc/config_internal.h"

#include <memory>

#include "korvane/util/logger.h"
#import "objc/unavailable.h"
#import "support/first_use.h"
#import "support/objc_text.h"

using korvane::ios::toNSString;
using korvane::ios::toNullableNSString;
using korvane::ios::toStdString;

@implementation KorvaneSdkConfig {
  // Behind a pointer: the runtime keeps each instance variable's type encoding in the binary,
  // and the value's would name every field of the configuration.
  std::unique_ptr<const korvane::KorvaneSdkConfig> _config;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"build one with KorvaneSdkConfigBuilder");
}

- (instancetype)initWithConfig:(const korvane::KorvaneSdkConfig&)config {
  if ((self = [super init])) _config = std::make_unique<const korvane::KorvaneSdkConfig>(config);
  return self;
}

- (const korvane::KorvaneSdkConfig&)cppConfig {
  return *_config;
}
- (NSString*)appKey {
  return toNSString(_config->appKey());
}
- (NSString*)appSecret {
  return toNSString(_config->appSecret());
}
- (KorvaneSdkConfigEnvironment)environment {
  return static_cast<KorvaneSdkConfigEnvironment>(_config->environment());
}
- (int64_t)timeoutMillis {
  return _config->timeoutMillis();
}
- (BOOL)adjoeEnabled {
  return _config->adjoeEnabled();
}
- (nullable NSString*)adjoeSdkHash {
  return toNullableNSString(_config->adjoeSdkHash());
}
- (NSArray<NSString*>*)trustedOrigins {
  NSMutableArray<NSString*>* origins = [NSMutableArray array];
  for (const std::string& origin : _config->trustedOrigins())
    [origins addObject:toNSString(origin)];
  return origins;
}
- (BOOL)bridgeOriginPolicyEnabled {
  return _config->bridgeOriginPolicyEnabled();
}

@end

@implementation KorvaneSdkConfigBuilder {
  std::unique_ptr<korvane::KorvaneSdkConfig::Builder> _builder;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"use -initWithAppKey:appSecret:");
}

- (instancetype)initWithAppKey:(NSString*)appKey appSecret:(NSString*)appSecret {
  // nil reaches the builder as empty text, which initialisation then refuses with its log line.
  if ((self = [super init]))
    _builder = std::make_unique<korvane::KorvaneSdkConfig::Builder>(toStdString(appKey),
                                                                    toStdString(appSecret));
  return self;
}

- (KorvaneSdkConfigBuilder*)setEnvironment:(KorvaneSdkConfigEnvironment)environment {
  if (std::optional<korvane::KorvaneSdkConfig::Environment> known =
          korvane::environmentFromRawValue(environment)) {
    _builder->setEnvironment(*known);
  } else {
    korvane::KorvaneLogger::w("KorvaneSdkConfig",
                              "Unknown environment " + std::to_string(environment) + " ignored");
  }
  return self;
}

- (KorvaneSdkConfigBuilder*)setTimeoutMillis:(int64_t)timeoutMillis {
  _builder->setTimeoutMillis(timeoutMillis);
  return self;
}

- (KorvaneSdkConfigBuilder*)enableAdjoeWithSdkHash:(NSString*)sdkHash {
  _builder->enableAdjoe(toStdString(sdkHash));
  return self;
}

- (KorvaneSdkConfigBuilder*)disableAdjoe {
  _builder->disableAdjoe();
  return self;
}

- (KorvaneSdkConfigBuilder*)setApiBaseUrl:(NSString*)apiBaseUrl {
  _builder->setApiBaseUrl(toStdString(apiBaseUrl));
  return self;
}

- (KorvaneSdkConfigBuilder*)addTrustedOrigin:(NSString*)origin {
  _builder->addTrustedOrigin(toStdString(origin));
  return self;
}

- (KorvaneSdkConfigBuilder*)setBridgeOriginPolicyEnabled:(BOOL)enabled {
  _builder->setBridgeOriginPolicyEnabled(enabled);
  return self;
}

- (KorvaneSdkConfigBuilder*)setWaitsForConsent:(BOOL)waits {
  _builder->setWaitsForConsent(waits);
  return self;
}

- (KorvaneSdkConfigBuilder*)setAsksForTrackingPermission:(BOOL)asks {
  _builder->setAsksForTrackingPermission(asks);
  return self;
}

- (KorvaneSdkConfig*)build {
  return [[KorvaneSdkConfig alloc] initWithConfig:_builder->build()];
}

@end

NSString* KorvaneSdkUserGenderStringValue(KorvaneSdkUserGender gender) {
  const auto known = korvane::genderFromRawValue(gender);
  return known ? korvane::ios::toNSString(korvane::stringValue(*known)) : @"O";
}

@implementation KorvaneSdkUser {
  std::unique_ptr<const korvane::KorvaneSdkUser> _user;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"use -initWithUserId:");
}

- (instancetype)initWithUser:(const korvane::KorvaneSdkUser&)user {
  if ((self = [super init])) _user = std::make_unique<const korvane::KorvaneSdkUser>(user);
  return self;
}

- (instancetype)initWithUserId:(NSString*)userId {
  return [self initWithUser:korvane::KorvaneSdkUser(toStdString(userId))];
}

- (instancetype)initWithUserId:(NSString*)userId
                   genderValue:(NSInteger)genderValue
                     birthYear:(NSInteger)birthYear {
  return [self
      initWithUser:korvane::KorvaneSdkUser(toStdString(userId), static_cast<long>(genderValue),
                                           static_cast<int>(birthYear))];
}

- (instancetype)initWithUserId:(NSString*)userId
                        gender:(KorvaneSdkUserGender)gender
                     birthYear:(NSInteger)birthYear {
  return [self
      initWithUser:korvane::KorvaneSdkUser(toStdString(userId), korvane::genderFromRawValue(gender),
                                           static_cast<int>(birthYear))];
}

- (instancetype)initWithUserId:(NSString*)userId gender:(KorvaneSdkUserGender)gender {
  return [self
      initWithUser:korvane::KorvaneSdkUser(toStdString(userId), korvane::genderFromRawValue(gender),
                                           std::nullopt)];
}

- (instancetype)initWithUserId:(NSString*)userId birthYear:(NSInteger)birthYear {
  return [self initWithUser:korvane::KorvaneSdkUser(toStdString(userId), std::nullopt,
                                                    static_cast<int>(birthYear))];
}

- (const korvane::KorvaneSdkUser&)cppUser {
  return *_user;
}
- (NSString*)userId {
  return toNSString(_user->userId());
}
- (BOOL)hasGender {
  return _user->gender().has_value();
}
- (KorvaneSdkUserGender)gender {
  return static_cast<KorvaneSdkUserGender>(
      _user->gender().value_or(korvane::KorvaneSdkUser::Gender::other));
}
- (BOOL)hasBirthYear {
  return _user->birthYear().has_value();
}
- (NSInteger)birthYear {
  return _user->birthYear().value_or(0);
}

@end
