// What a session owns ends with it: placements registered, error telemetry and the full-screen
// offerwall's callbacks of one session are not reached once another session has replaced it.
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <tuple>

#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"
#include "offerwall/offerwall_opening.h"
#include "signed_in_sdk.h"
#include "telemetry/event_batch_service.h"

namespace korvane::testing {
namespace {

class RefreshListener final : public KorvaneMissionEventsListener {
 public:
  void onClicked(const Mission&) override {}
  void onImpressed(const Mission&) override {}
  void onCompleted(const Mission&) override {}
  void onProgressed(const Mission&) override {}
  void onRefreshed(const std::optional<std::string>&) override { ++refreshes; }
  int refreshes = 0;
};

class SilentEvents final : public OfferwallEventCallback {
 public:
  void onCustomEvent(const std::string&, const JsonValue&) override {}
  std::optional<JsonValue> onDataRequest(const std::string&, const std::string&,
                                         const JsonValue&) override {
    return std::nullopt;
  }
};

// How the first session ends before the probe: not at all, replaced by a fresh uninitialised
// session (a reset), or replaced by a new initialised and signed-in one.
enum class Ending { none, replaced, reinitialised };

// A service of the first session: `place` uses it there, `reached` tells whether what was placed
// is still reached from the session of the moment.
struct SessionServicesTest;
struct Service {
  const char* name;
  std::function<void(SessionServicesTest&)> place;
  std::function<bool(SessionServicesTest&)> reached;
};

void PrintTo(const Service& service, std::ostream* out) {
  *out << service.name;
}
void PrintTo(Ending ending, std::ostream* out) {
  static constexpr const char* kEndings[] = {"kept", "replaced", "reinitialised"};
  *out << kEndings[static_cast<int>(ending)];
}

struct SessionServicesTest : SignedInSdk,
                             ::testing::WithParamInterface<std::tuple<Service, Ending>> {
  using SignedInSdk::sdk_;
  using SignedInSdk::settle;

  void end(Ending ending) {
    if (ending == Ending::replaced) forgetInitialisation();
    if (ending == Ending::reinitialised) SignedInSdk::SetUp();
    settle();
  }

  std::shared_ptr<KorvaneMission> mission;
  std::shared_ptr<RefreshListener> listener = std::make_shared<RefreshListener>();
  std::shared_ptr<KorvaneQuiz> quiz;
  std::shared_ptr<EventBatchService> firstService;
  std::shared_ptr<KorvaneOfferwallViewController> controller;
  std::shared_ptr<RecordingCallback> openingCallback = std::make_shared<RecordingCallback>();
};

const Service kServices[] = {
    {"a live mission hears a refresh",
     [](SessionServicesTest& t) {
       t.mission = KorvaneMission::create();
       t.mission->setEventsListener(t.listener);
     },
     [](SessionServicesTest& t) {
       KorvaneMission::refreshMissionList(std::string("unit"));
       return t.listener->refreshes > 0;
     }},
    {"the quiz shown hears a page's completion",
     [](SessionServicesTest& t) {
       t.quiz = KorvaneQuiz::create();
       QuizEvent event;
       event.id = "q1";
       event.landingUrl = "https://hub.example/quiz";
       event.point = "5";
       t.quiz->clickQuiz(event, nullptr);
       t.settle();
     },
     [](SessionServicesTest&) {
       return FacadeAccess::context()->placements()->quizCompleted(JsonValue::object());
     }},
    {"error telemetry sends through the first session's batch",
     [](SessionServicesTest& t) {
       t.firstService = KorvaneSdkTestAccess::eventBatchService(t.sdk_);
     },
     [](SessionServicesTest& t) {
       const std::size_t before = t.firstService->tally().accepted;
       KorvaneSdk::reportSdkError("host failure", nullptr, "host");
       KorvaneLogger::e("Probe", "core failure", Error{"X", 1, "broken", "ProbeError"});
       return t.firstService->tally().accepted > before;
     }},
    {"the open offerwall reports to the callback the host sets",
     [](SessionServicesTest& t) {
       t.controller = offerwall::offerwallFor(FacadeAccess::context(), "https://hub.example/");
       offerwall::presentFullScreen(t.controller, t.openingCallback, nullptr);
       t.settle();
     },
     [](SessionServicesTest& t) {
       auto set = std::make_shared<RecordingCallback>();
       KorvaneOfferwallViewController::setOfferwallCallback(set);
       KorvaneOfferwallViewController::setHasFiredOnClosed(false);
       t.controller->closeOfferwall();
       t.settle();
       return !set->heard.empty();
     }},
};

TEST_P(SessionServicesTest, WhatASessionPlacedIsReachedOnlyWhileItLasts) {
  const auto& [service, ending] = GetParam();
  service.place(*this);
  end(ending);
  EXPECT_EQ(service.reached(*this), ending == Ending::none) << service.name;
}

std::string caseName(const ::testing::TestParamInfo<std::tuple<Service, Ending>>& param) {
  static constexpr const char* kEndings[] = {"Kept", "Replaced", "Reinitialised"};
  return "Service" + std::to_string(param.index / 3) +
         kEndings[static_cast<int>(std::get<1>(param.param))];
}

INSTANTIATE_TEST_SUITE_P(EachService, SessionServicesTest,
                         ::testing::Combine(::testing::ValuesIn(kServices),
                                            ::testing::Values(Ending::none, Ending::replaced,
                                                              Ending::reinitialised)),
                         caseName);

// A new session starts with nothing installed: the slots the host set in the one before are not
// the new one's.
TEST_F(SignedInSdk, ANewSessionStartsWithEmptyOfferwallSlots) {
  ASSERT_EQ(KorvaneOfferwallViewController::offerwallCallback(), callback_);
  KorvaneOfferwallViewController::setEventCallback(std::make_shared<SilentEvents>());
  forgetInitialisation();
  EXPECT_FALSE(KorvaneOfferwallViewController::offerwallCallback());
  EXPECT_FALSE(KorvaneOfferwallViewController::eventCallback());
  EXPECT_TRUE(KorvaneOfferwallViewController::activeSubControllers().empty());
}

// The host's switch belongs to the facade: a session made after it was turned off starts off.
TEST_F(SignedInSdk, TheTelemetrySwitchHoldsForEverySessionTheFacadeMakes) {
  KorvaneSdk::setTelemetryEnabled(false);
  SetUp();  // a new session
  const std::shared_ptr<EventBatchService> service = KorvaneSdkTestAccess::eventBatchService(sdk_);
  const std::size_t before = service->tally().accepted;
  KorvaneSdk::reportSdkError("while off", nullptr, "host");
  const std::size_t whileOff = service->tally().accepted;
  KorvaneSdk::setTelemetryEnabled(true);
  KorvaneSdk::reportSdkError("on again", nullptr, "host");
  EXPECT_EQ(whileOff, before);
  EXPECT_EQ(service->tally().accepted, before + 1);
}

// Each session's network manager carries its own session id, the same for all its life.
TEST(SessionNetwork, EachDefaultEnvironmentHasItsOwnUpperCaseSessionId) {
  FakePlatform fake;
  const SdkEnvironment first = defaultSdkEnvironment(fake.services());
  const SdkEnvironment second = defaultSdkEnvironment(fake.services());
  const std::string id = first.network->sessionId();
  EXPECT_EQ(id.size(), 36u);
  for (char c : id) EXPECT_FALSE(std::islower(static_cast<unsigned char>(c))) << id;
  EXPECT_EQ(first.network->sessionId(), id);
  EXPECT_NE(second.network->sessionId(), id);
}

}  // namespace
}  // namespace korvane::testing
