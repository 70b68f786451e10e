#pragma once

#import <KorvaneSDK/KorvaneContentRecords.h>
#import <KorvaneSDK/KorvaneEventType.h>

#include <optional>

#include "korvane/backend/content_records.h"
#include "korvane/telemetry/event.h"

NS_ASSUME_NONNULL_BEGIN

namespace korvane::ios {

// The event type a raw value names; nothing for text that is not one of the seventeen.
std::optional<EventType> eventTypeFrom(NSString* _Nullable rawValue);
KorvaneMissionType missionTypeFrom(MissionType type);

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
