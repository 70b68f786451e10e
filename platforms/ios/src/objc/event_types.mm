#import "objc/event_types.h"

#import "support/objc_text.h"

#include "korvane/raw_value_lists.h"

// The raw values are the core's lists; spelled as literals, the constants are laid out by the
// linker and need no code when the framework loads.
#define KORVANE_EVENT_TYPE_CONSTANT(name, raw) KorvaneEventType const KorvaneEventType##name = @raw;
KORVANE_EVENT_TYPES(KORVANE_EVENT_TYPE_CONSTANT)
#undef KORVANE_EVENT_TYPE_CONSTANT

#define KORVANE_MISSION_TYPE_CONSTANT(name, raw) \
  KorvaneMissionType const KorvaneMissionType##name = @raw;
KORVANE_MISSION_TYPES(KORVANE_MISSION_TYPE_CONSTANT)
#undef KORVANE_MISSION_TYPE_CONSTANT

namespace korvane::ios {

std::optional<EventType> eventTypeFrom(NSString* _Nullable rawValue) {
  if (!rawValue) return std::nullopt;
  return eventTypeFromRawValue(toStdString(rawValue));
}

KorvaneMissionType missionTypeFrom(MissionType type) {
  return type == MissionType::normal ? KorvaneMissionTypeNormal
                                     : KorvaneMissionTypeOfferwallPromotion;
}

}  // namespace korvane::ios
