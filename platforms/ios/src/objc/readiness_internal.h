#pragma once

#import <KorvaneSDK/KorvaneSdkReadiness.h>

#include "korvane/platform/subscription.h"
#include "korvane/values/sdk_readiness.h"

NS_ASSUME_NONNULL_BEGIN

@interface KorvaneSdkStatus ()
- (instancetype)initWithStatus:(const korvane::SdkStatus&)status NS_DESIGNATED_INITIALIZER;
@end

@interface KorvaneOfferwallAvailability ()
- (instancetype)initWithAvailability:(const korvane::OfferwallAvailability&)availability
    NS_DESIGNATED_INITIALIZER;
@end

@interface KorvaneObservation ()
- (instancetype)initWithSubscription:(korvane::Subscription)subscription NS_DESIGNATED_INITIALIZER;
@end

NS_ASSUME_NONNULL_END
