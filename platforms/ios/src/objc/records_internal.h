#pragma once

#import <KorvaneSDK/KorvaneContentRecords.h>

#include "korvane/backend/content_records.h"

NS_ASSUME_NONNULL_BEGIN

// Each record keeps the core's value it shows, so that the app can hand it back (a mission to
// report, a quiz to open) without losing anything.

@interface KorvaneBannerInfoResponse ()
- (instancetype)initWithRecord:(const korvane::BannerInfoResponse&)record NS_DESIGNATED_INITIALIZER;
@end

@interface KorvaneMissionItem ()
- (instancetype)initWithRecord:(const korvane::Mission&)record NS_DESIGNATED_INITIALIZER;
@property(nonatomic, readonly) const korvane::Mission& record;
@end

@interface KorvaneMissionProgress ()
- (instancetype)initWithRecord:(const korvane::MissionProgress&)record NS_DESIGNATED_INITIALIZER;
@end

@interface KorvaneMissionResponse ()
- (instancetype)initWithRecord:(const korvane::MissionResponse&)record NS_DESIGNATED_INITIALIZER;
@end

@interface KorvaneQuizEvent ()
- (instancetype)initWithRecord:(const korvane::QuizEvent&)record NS_DESIGNATED_INITIALIZER;
@property(nonatomic, readonly) const korvane::QuizEvent& record;
@end

@interface KorvaneQuizResponse ()
- (instancetype)initWithRecord:(const korvane::QuizResponse&)record NS_DESIGNATED_INITIALIZER;
@end

namespace korvane::ios {

NSArray<KorvaneMissionItem*>* missionItems(const std::vector<Mission>& missions);
NSArray<KorvaneQuizEvent*>* quizEvents(const std::vector<QuizEvent>& events);

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
