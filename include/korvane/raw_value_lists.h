#pragma once

// The raw values of the closed lists that platform layers publish as string constants, as
// X(Name, "raw") entries in declaration order. The core's tables and the iOS layer's NSString
// constants are both made from these lists: the texts are written once, and the constants stay
// literals that the linker lays out, so nothing has to build them when the framework loads.

// EventType (korvane/telemetry/event.h).
#define KORVANE_EVENT_TYPES(X)               \
  X(QuizClicked, "quiz_clicked")             \
  X(QuizImpressed, "quiz_impressed")         \
  X(QuizStarted, "quiz_started")             \
  X(QuizCompleted, "quiz_completed")         \
  X(MissionClicked, "mission_clicked")       \
  X(MissionImpressed, "mission_impressed")   \
  X(MissionCompleted, "mission_completed")   \
  X(MissionProgressed, "mission_progressed") \
  X(OfferwallOpened, "offerwall_opened")     \
  X(OfferwallClosed, "offerwall_closed")     \
  X(BannerClicked, "banner_clicked")         \
  X(BannerImpressed, "banner_impressed")     \
  X(LoginSuccess, "login_success")           \
  X(LoginFailed, "login_failed")             \
  X(Custom, "custom")                        \
  X(SdkError, "sdk_error")                   \
  X(SdkCrash, "sdk_crash")

// MissionType (korvane/backend/content_records.h).
#define KORVANE_MISSION_TYPES(X) \
  X(Normal, "normal")            \
  X(OfferwallPromotion, "offerwall_promotion")
