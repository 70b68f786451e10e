#pragma once

#import <KorvaneSDK/KorvaneSdkConfig.h>
#import <KorvaneSDK/KorvaneSdkUser.h>

#include "korvane/values/sdk_config.h"
#include "korvane/values/sdk_user.h"

NS_ASSUME_NONNULL_BEGIN

@interface KorvaneSdkConfig ()
- (instancetype)initWithConfig:(const korvane::KorvaneSdkConfig&)config NS_DESIGNATED_INITIALIZER;
@property(nonatomic, readonly) const korvane::KorvaneSdkConfig& cppConfig;
@end

@interface KorvaneSdkUser ()
- (instancetype)initWithUser:(const korvane::KorvaneSdkUser&)user NS_DESIGNATED_INITIALIZER;
@property(nonatomic, readonly) const korvane::KorvaneSdkUser& cppUser;
@end

NS_ASSUME_NONNULL_END
