#pragma once

#include <gtest/gtest.h>

#include "fake_platform.h"
#include "fake_screens.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/sdk/korvane_sdk.h"
#include "log_capture.h"
#include "manual_executor.h"
#include "scripted_api.h"
#include "sdk/sdk_environment.h"

namespace korvane::testing {

// An OfferwallCallback that writes down what it heard.
class RecordingCallback final : public OfferwallCallback {
 public:
  void onOpened() override { heard.push_back("opened"); }
  void onClosed() override { heard.push_back("closed"); }
  void onError(const std::string& message) override { heard.push_back("error:" + message); }
  void onRewardEarned(int amount) override { heard.push_back("reward:" + std::to_string(amount)); }
  std::vector<std::string> heard;
};

// The SDK over a fake platform, validated (with `appData()`) and with user "u1" logged in. Work
// runs only when settle() is called, on the test's thread.
class SignedInSdk : public ::testing::Test {
 protected:
  virtual AppData appData() const {
    AppData app;
    app.korvaneHubUrl = "https://hub.example/";
    return app;
  }
  virtual KorvaneSdkConfig config() const {
    return KorvaneSdkConfig::Builder("key", "secret").build();
  }
  virtual KorvaneSdkUser user() const { return KorvaneSdkUser("u1"); }
  // The platform's screens: FakePresenter unless a suite keeps other rules.
  virtual std::shared_ptr<ScreenPresenter> screens() const { return presenter_; }

  void SetUp() override {
    SdkEnvironment environment;
    environment.platform = fake_.services();
    environment.platform.screens = screens();
    environment.network = std::make_shared<NetworkManager>("SESSION");
    environment.network->initialize(api_);
    environment.tasks = tasks_;
    environment.serial = tasks_;
    KorvaneSdkTestAccess::reset(sdk_, std::move(environment));
    sdk_.initialize(config());
    tasks_->runAll();
    api_->answerValidation(ValidateAppResponse{true, appData(), std::nullopt});
    sdk_.login(user());
    settle();
    KorvaneOfferwallViewController::setOfferwallCallback(callback_);
    KorvaneOfferwallViewController::setHasFiredOnClosed(false);
  }
  void TearDown() override {
    KorvaneOfferwallViewController::setOfferwallCallback(nullptr);
    KorvaneOfferwallViewController::setEventCallback(nullptr);
    SdkEnvironment idle;
    idle.platform = FakePlatform().services();
    KorvaneSdkTestAccess::reset(sdk_, std::move(idle));
    // The host's main loop goes on: the ended session's pages end there, and what they still
    // waited for (an app check's fallback, say) comes due and lets go of them.
    fake_.mainThread->advance(std::chrono::minutes(1));
  }
  // A fresh, uninitialised SDK on the same fake platform.
  void forgetInitialisation() {
    SdkEnvironment environment;
    environment.platform = fake_.services();
    environment.platform.screens = screens();
    environment.tasks = tasks_;
    environment.serial = tasks_;
    KorvaneSdkTestAccess::reset(sdk_, std::move(environment));
  }
  void settle() {
    while (tasks_->runAll() + fake_.mainThread->runUntilIdle() > 0) {
    }
  }
  FakePresenter::FakeScreen& screen(std::size_t i) { return *presenter_->live.at(i); }
  // Sends the queued events and returns every batched event so far, in order.
  std::vector<TrackEventRequest> deliveredEvents() {
    sdk_.flushEvents();
    settle();
    std::vector<TrackEventRequest> events;
    for (const EventBatch& batch : api_->batches())
      events.insert(events.end(), batch.events.begin(), batch.events.end());
    return events;
  }

  LogCapture log_{LogLevel::verbose};
  KorvaneSdk& sdk_ = KorvaneSdk::shared();
  FakePlatform fake_;
  std::shared_ptr<FakePresenter> presenter_ = std::make_shared<FakePresenter>();
  std::shared_ptr<ScriptedApi> api_ = std::make_shared<ScriptedApi>();
  std::shared_ptr<ManualExecutor> tasks_ = std::make_shared<ManualExecutor>();
  std::shared_ptr<RecordingCallback> callback_ = std::make_shared<RecordingCallback>();
};

}  // namespace korvane::testing
