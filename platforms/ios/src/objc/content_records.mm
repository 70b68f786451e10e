#import "objc/records_internal.h"

#import "objc/event_types.h"
#import "objc/foundation_json.h"
#import "objc/unavailable.h"
#import "support/objc_text.h"

#include <memory>

#include "korvane/backend/content_records_json.h"

using korvane::ios::toNSString;
using korvane::ios::toNullableNSString;

namespace {

NSNumber* _Nullable number(const std::optional<std::int64_t>& value) {
  return value ? @(*value) : nil;
}

NSNumber* _Nullable number(const std::optional<bool>& value) {
  return value ? @(*value) : nil;
}

}  // namespace

// Each object holds its record behind a pointer: the runtime keeps the type encoding of every
// instance variable in the binary, and a record's names every field of the record (2 KiB for
// a mission), a pointer's only the record's name.

// One getter per field of the core's record: text, optional text, optional number, integer.
#define KORVANE_TEXT(name, field)      \
  -(NSString*)name {                   \
    return toNSString(_record->field); \
  }
#define KORVANE_OPTIONAL_TEXT(name, field)     \
  -(nullable NSString*)name {                  \
    return toNullableNSString(_record->field); \
  }
#define KORVANE_NUMBER(name, field) \
  -(nullable NSNumber*)name {       \
    return number(_record->field);  \
  }
#define KORVANE_INTEGER(name, field)               \
  -(NSInteger)name {                               \
    return static_cast<NSInteger>(_record->field); \
  }

// The record's JSON form comes from the core's encoder, so the keys cannot drift from the wire.
#define KORVANE_JSON_OBJECT                                         \
  -(NSDictionary<NSString*, id>*)jsonObject {                       \
    return korvane::ios::dictionaryFrom(korvane::toJson(*_record)); \
  }

#define KORVANE_RECORD_INIT_UNAVAILABLE                              \
  -(instancetype)init {                                              \
    KORVANE_UNAVAILABLE_INITIALIZER(@"records are made by the SDK"); \
  }

@implementation KorvaneBannerInfoResponse {
  std::unique_ptr<const korvane::BannerInfoResponse> _record;
}
KORVANE_RECORD_INIT_UNAVAILABLE
KORVANE_JSON_OBJECT
- (instancetype)initWithRecord:(const korvane::BannerInfoResponse&)record {
  if ((self = [super init])) _record = std::make_unique<const korvane::BannerInfoResponse>(record);
  return self;
}
- (BOOL)success {
  return _record->success;
}
KORVANE_OPTIONAL_TEXT(imageUrl, imageUrl)
KORVANE_NUMBER(imageWidth, imageWidth)
KORVANE_NUMBER(imageHeight, imageHeight)
KORVANE_OPTIONAL_TEXT(titleText, titleText)
KORVANE_OPTIONAL_TEXT(linkType, linkType)
KORVANE_OPTIONAL_TEXT(internalLinkUrl, internalLinkUrl)
KORVANE_OPTIONAL_TEXT(externalLinkUrl, externalLinkUrl)
@end

@implementation KorvaneMissionItem {
  std::unique_ptr<const korvane::Mission> _record;
}
KORVANE_RECORD_INIT_UNAVAILABLE
KORVANE_JSON_OBJECT
- (instancetype)initWithRecord:(const korvane::Mission&)record {
  if ((self = [super init])) _record = std::make_unique<const korvane::Mission>(record);
  return self;
}
- (const korvane::Mission&)record {
  return *_record;
}
KORVANE_TEXT(identifier, id)
KORVANE_TEXT(title, title)
KORVANE_TEXT(descriptionText, description)
KORVANE_TEXT(imageUrl, imageUrl)
KORVANE_TEXT(landingUrl, landingUrl)
KORVANE_TEXT(point, point)
KORVANE_OPTIONAL_TEXT(status, status)
KORVANE_NUMBER(progress, progress)
KORVANE_NUMBER(total, total)
- (nullable KorvaneMissionType)type {
  return _record->type ? korvane::ios::missionTypeFrom(*_record->type) : nil;
}
KORVANE_NUMBER(impressionOrder, impressionOrder)
KORVANE_OPTIONAL_TEXT(placementId, placementId)
- (NSString*)description {
  return [NSString stringWithFormat:@"<Mission %@ \"%@\">", self.identifier, self.title];
}
@end

@implementation KorvaneMissionProgress {
  std::unique_ptr<const korvane::MissionProgress> _record;
}
KORVANE_RECORD_INIT_UNAVAILABLE
- (instancetype)initWithRecord:(const korvane::MissionProgress&)record {
  if ((self = [super init])) _record = std::make_unique<const korvane::MissionProgress>(record);
  return self;
}
KORVANE_INTEGER(current, current)
KORVANE_INTEGER(total, total)
@end

@implementation KorvaneMissionResponse {
  std::unique_ptr<const korvane::MissionResponse> _record;
}
KORVANE_RECORD_INIT_UNAVAILABLE
KORVANE_JSON_OBJECT
- (instancetype)initWithRecord:(const korvane::MissionResponse&)record {
  if ((self = [super init])) _record = std::make_unique<const korvane::MissionResponse>(record);
  return self;
}
KORVANE_NUMBER(success, success)
- (NSArray<KorvaneMissionItem*>*)events {
  return korvane::ios::missionItems(_record->events);
}
KORVANE_INTEGER(current, current)
KORVANE_INTEGER(total, total)
KORVANE_OPTIONAL_TEXT(rewardUrl, rewardUrl)
KORVANE_OPTIONAL_TEXT(message, message)
KORVANE_OPTIONAL_TEXT(titleText, titleText)
KORVANE_OPTIONAL_TEXT(descriptionText, descriptionText)
KORVANE_OPTIONAL_TEXT(bottomText, bottomText)
KORVANE_OPTIONAL_TEXT(rewardIconUrl, rewardIconUrl)
KORVANE_OPTIONAL_TEXT(bottomIconUrl, bottomIconUrl)
@end

@implementation KorvaneQuizEvent {
  std::unique_ptr<const korvane::QuizEvent> _record;
}
KORVANE_RECORD_INIT_UNAVAILABLE
KORVANE_JSON_OBJECT
- (instancetype)initWithRecord:(const korvane::QuizEvent&)record {
  if ((self = [super init])) _record = std::make_unique<const korvane::QuizEvent>(record);
  return self;
}
- (const korvane::QuizEvent&)record {
  return *_record;
}
KORVANE_TEXT(identifier, id)
KORVANE_TEXT(title, title)
KORVANE_OPTIONAL_TEXT(descriptionText, description)
KORVANE_TEXT(imageUrl, imageUrl)
KORVANE_TEXT(landingUrl, landingUrl)
KORVANE_TEXT(point, point)
KORVANE_OPTIONAL_TEXT(status, status)
KORVANE_NUMBER(completed, completed)
KORVANE_NUMBER(impressionOrder, impressionOrder)
KORVANE_OPTIONAL_TEXT(placementId, placementId)
- (NSString*)description {
  return [NSString stringWithFormat:@"<QuizEvent %@ \"%@\">", self.identifier, self.title];
}
@end

@implementation KorvaneQuizResponse {
  std::unique_ptr<const korvane::QuizResponse> _record;
}
KORVANE_RECORD_INIT_UNAVAILABLE
KORVANE_JSON_OBJECT
- (instancetype)initWithRecord:(const korvane::QuizResponse&)record {
  if ((self = [super init])) _record = std::make_unique<const korvane::QuizResponse>(record);
  return self;
}
KORVANE_NUMBER(success, success)
KORVANE_OPTIONAL_TEXT(titleText, titleText)
KORVANE_OPTIONAL_TEXT(completedImageUrl, completedImageUrl)
KORVANE_NUMBER(completedImageWidth, completedImageWidth)
KORVANE_NUMBER(completedImageHeight, completedImageHeight)
- (NSArray<KorvaneQuizEvent*>*)events {
  return korvane::ios::quizEvents(_record->events);
}
KORVANE_OPTIONAL_TEXT(message, message)
@end

namespace korvane::ios {

NSArray<KorvaneMissionItem*>* missionItems(const std::vector<Mission>& missions) {
  NSMutableArray<KorvaneMissionItem*>* items = [NSMutableArray arrayWithCapacity:missions.size()];
  for (const Mission& mission : missions)
    [items addObject:[[KorvaneMissionItem alloc] initWithRecord:mission]];
  return items;
}

NSArray<KorvaneQuizEvent*>* quizEvents(const std::vector<QuizEvent>& events) {
  NSMutableArray<KorvaneQuizEvent*>* items = [NSMutableArray arrayWithCapacity:events.size()];
  for (const QuizEvent& event : events)
    [items addObject:[[KorvaneQuizEvent alloc] initWithRecord:event]];
  return items;
}

}  // namespace korvane::ios
