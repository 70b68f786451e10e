// The server's off switch: how the app record carries it, what it turns off, and a session whose
// telemetry it turned off.
#include <gtest/gtest.h>

#include <filesystem>

#include "backend/record_codec.h"
#include "backend/server_switch.h"
#include "korvane/linux/linux_storage.h"
#include "signed_in_sdk.h"
#include "telemetry/event_batch_service.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

AppData decodedApp(const std::string& extra) {
  const std::string body =
      R"({"appKey":"k","appName":"n","korvaneHubUrl":"https://hub/")" + extra + "}";
  Result<AppData> app = json::decode<AppData>(body);
  EXPECT_TRUE(app.ok()) << body;
  return app ? app.value() : AppData{};
}

TEST(ServerSwitchRecord, TheFieldsDecodeLenientlyAndEncodeOnlyWhenSet) {
  struct Case {
    const char* extra;
    std::optional<bool> sdkEnabled;
    std::vector<std::string> disabled;
  };
  const Case cases[] = {
      {"", std::nullopt, {}},
      {R"(,"sdkEnabled":false)", false, {}},
      {R"(,"sdkEnabled":null,"disabledFeatures":["telemetry","offerwall"])",
       std::nullopt,
       {"telemetry", "offerwall"}},
      // Entries that are not text, and a value that is not a list, never fail the record.
      {R"(,"disabledFeatures":["placements",3,null,{"x":1}])", std::nullopt, {"placements"}},
      {R"(,"disabledFeatures":"telemetry")", std::nullopt, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.extra);
    const AppData app = decodedApp(c.extra);
    EXPECT_EQ(app.sdkEnabled, c.sdkEnabled);
    EXPECT_EQ(app.disabledFeatures, c.disabled);
    const json::Json written = toJson(app);
    EXPECT_EQ(written.contains("sdkEnabled"), c.sdkEnabled.has_value());
    EXPECT_EQ(written.contains("disabledFeatures"), !c.disabled.empty());
  }
  EXPECT_FALSE(json::decode<AppData>(R"({"appKey":"k","appName":"n","korvaneHubUrl":"h",)"
                                     R"("sdkEnabled":"no"})")
                   .ok())
      << "a switch of the wrong type fails like any optional key of the wrong type";
}

TEST(ServerSwitchRecord, WhatEachFormTurnsOff) {
  const SdkFeature all[] = {SdkFeature::sdk, SdkFeature::telemetry, SdkFeature::offerwall,
                            SdkFeature::placements};
  struct Case {
    const char* extra;
    std::vector<const char*> reasons;  // per feature, in the order of `all`; "" when on
  };
  const Case cases[] = {
      {"", {"", "", "", ""}},
      {R"(,"sdkEnabled":true)", {"", "", "", ""}},
      {R"(,"sdkEnabled":false)",
       {"KorvaneSDK is turned off by the server", "KorvaneSDK is turned off by the server",
        "KorvaneSDK is turned off by the server", "KorvaneSDK is turned off by the server"}},
      {R"(,"disabledFeatures":["telemetry"])",
       {"", "Telemetry is turned off by the server", "", ""}},
      {R"(,"disabledFeatures":["offerwall","placements","sdk","Telemetry"])",
       {"", "", "The offerwall is turned off by the server",
        "Placements are turned off by the server"}},
  };
  for (const Case& c : cases) {
    const AppData app = decodedApp(c.extra);
    for (std::size_t i = 0; i < std::size(all); ++i) {
      SCOPED_TRACE(std::string(c.extra) + " / " + featureName(all[i]));
      EXPECT_EQ(turnedOffByServer(app, all[i]).value_or(""), c.reasons[i]);
    }
  }
}

// The batch service turned off and on again: off, it takes nothing, sends nothing and keeps no
// timer, not even the retry of a batch that fails after the switch.
TEST(BatchServiceSwitch, OffSendsNothingArmsNothingAndOnResumesWithWhatWaited) {
  testing::LogCapture quiet(LogLevel::none);
  testing::FakePlatform platform;
  auto api = std::make_shared<testing::ScriptedApi>();
  auto executor = std::make_shared<testing::ManualExecutor>();
  const auto documents =
      std::filesystem::temp_directory_path() / ("korvane-switch-" + std::to_string(::getpid()));
  std::filesystem::remove_all(documents);
  BatchServiceDependencies deps;
  deps.queue = std::make_shared<EventQueueManager>();
  deps.persistence = std::make_shared<EventPersistenceManager>(
      std::make_shared<linux_host::FixedDocumentsDirectory>(documents), platform.clock);
  deps.api = [api]() -> Result<std::shared_ptr<ApiService>> {
    return std::shared_ptr<ApiService>(api);
  };
  deps.context = [] { return SendContext{}; };
  deps.mainThread = platform.mainThread;
  deps.clock = platform.clock;
  deps.random = platform.random;
  deps.executor = executor;
  deps.serial = executor;
  auto service = EventBatchService::create(std::move(deps), 5, 30.0);
  const auto settle = [&] {
    while (platform.mainThread->runUntilIdle() + executor->runAll() > 0) {
    }
  };
  const auto event = [&](int i) {
    return Event::make("E" + std::to_string(i), EventType::missionClicked,
                       static_cast<double>(platform.clock->nowMillis()), "c", std::nullopt);
  };
  settle();

  // A batch goes out and fails after the switch went off: no retry is armed for it.
  api->holdBatches = true;
  for (int i = 0; i < 5; ++i) service->trackEvent(event(i));
  settle();
  ASSERT_EQ(api->batches().size(), 1u);
  service->setEnabled(false);
  api->release(Error{Error::kUrlLoadingDomain, -1009, "offline"});
  settle();
  EXPECT_TRUE(platform.mainThread->pendingDelays().empty());

  service->trackEvent(event(9));
  service->flush();
  platform.mainThread->advance(std::chrono::hours(1));
  settle();
  EXPECT_EQ(api->batches().size(), 1u) << "nothing more went out";
  EXPECT_TRUE(platform.mainThread->pendingDelays().empty()) << "no timer";
  EXPECT_EQ(service->tally().queued, 5u) << "the failed batch waits; the new event was dropped";

  api->holdBatches = false;
  service->setEnabled(true);
  EXPECT_FALSE(platform.mainThread->pendingDelays().empty()) << "the timer is back";
  service->flush();
  settle();
  ASSERT_EQ(api->batches().size(), 2u);
  EXPECT_EQ(api->batches()[1].events.size(), 5u);
  service.reset();
  std::filesystem::remove_all(documents);
}

// A session whose validation answer turned telemetry off: over an hour nothing is sent and no
// timer is left armed, while the rest of the SDK works.
class TelemetryTurnedOff : public testing::SignedInSdk {
 protected:
  AppData appData() const override {
    AppData app = SignedInSdk::appData();
    app.disabledFeatures = {"telemetry"};
    return app;
  }
};

TEST_F(TelemetryTurnedOff, NothingIsSentAndNoTimerWakesTheApp) {
  EXPECT_TRUE(sdk_.isLoggedIn()) << "login still works";
  EXPECT_EQ(api_->logins(), 1);
  for (int i = 0; i < 30; ++i) sdk_.trackEventWithCustomName("tapped", "ui");
  sdk_.trackCustomEvent("session_start", "session");
  fake_.lifecycle->send(AppLifecycleEvent::didEnterBackground);
  fake_.lifecycle->send(AppLifecycleEvent::willEnterForeground);
  sdk_.flushEvents();
  settle();
  fake_.mainThread->advance(1h);
  settle();
  EXPECT_TRUE(api_->batches().empty());
  EXPECT_TRUE(api_->singleEvents().empty()) << "not even session_start";
  EXPECT_TRUE(fake_.mainThread->pendingDelays().empty()) << "no timer left to wake the app";
  EXPECT_TRUE(log_.contains(
      "[W/KorvaneSdk] Telemetry is turned off by the server. Event not tracked: tapped"));
}

// A session whose validation answer turned the whole SDK off, before the tracking prompt its start
// scheduled came due: the prompt never shows, now or at a later activation.
class SdkTurnedOff : public testing::SignedInSdk {
 protected:
  AppData appData() const override {
    AppData app = SignedInSdk::appData();
    app.sdkEnabled = false;
    return app;
  }
};

TEST_F(SdkTurnedOff, TheTrackingPromptTheStartScheduledNeverShows) {
  ASSERT_EQ(fake_.tracking->currentStatus, tracking_status::kNotDetermined);
  fake_.mainThread->advance(1min);
  fake_.lifecycle->send(AppLifecycleEvent::didEnterBackground);
  fake_.lifecycle->send(AppLifecycleEvent::didBecomeActive);
  settle();
  EXPECT_EQ(fake_.tracking->prompts, 0);
}

}  // namespace
}  // namespace korvane
