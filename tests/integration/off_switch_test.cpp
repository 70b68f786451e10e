// The server's off switch, served by the local backend: what the SDK still sends and what it
// refuses once the validation answer turned it, or a part of it, off.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <future>

#include "dev_server.h"
#include "facade_environments.h"
#include "korvane/linux/host_lifecycle.h"
#include "korvane/linux/linux_platform.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/sdk/korvane_sdk.h"
#include "log_capture.h"
#include "main_loop_thread.h"
#include "sdk/sdk_environment.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using devserver::DevServer;

class PromisedListener final : public KorvaneSdkLoginListener {
 public:
  void onSuccess() override { outcome.set_value("success"); }
  void onFailure(KorvaneLoginError error) override { outcome.set_value(description(error)); }
  std::promise<std::string> outcome;
};

class PromisedCallback final : public OfferwallCallback {
 public:
  void onOpened() override { heard.set_value("opened"); }
  void onClosed() override {}
  void onError(const std::string& message) override { heard.set_value("error:" + message); }
  void onRewardEarned(int) override {}
  std::promise<std::string> heard;
};

struct Switch {
  const char* name;
  std::optional<bool> sdkEnabled;
  std::vector<std::string> disabledFeatures;
  bool loginSent;                // the login request goes out
  bool telemetrySent;            // events go out (session_start, batches)
  std::string offerwallRefusal;  // empty: the offerwall is not refused
  std::string placementRefusal;  // empty: the placements are not refused
};

void PrintTo(const Switch& s, std::ostream* out) {
  *out << s.name;
}

class OffSwitch : public ::testing::TestWithParam<Switch> {
 protected:
  void SetUp() override {
    ASSERT_NE(server_.start(), 0);
    devserver::App app = DevServer::demoApp();
    app.sdkEnabled = GetParam().sdkEnabled;
    app.disabledFeatures = GetParam().disabledFeatures;
    server_.addApp(app);
    data_ = fs::temp_directory_path() / ("korvane-off-switch-it-" + std::to_string(::getpid()));
    fs::remove_all(data_);
    SdkEnvironment environment =
        testing::linuxEnvironment(data_, loop_.mainThread(), "OFF-SWITCH-IT");
    lifecycle_ = std::make_shared<linux_host::HostAppLifecycle>(loop_.mainThread());
    environment.platform.lifecycle = lifecycle_;
    environment.platform.screens = nullptr;
    KorvaneSdkTestAccess::reset(sdk_, std::move(environment));
  }
  void TearDown() override {
    testing::idleFacade(sdk_, linux_host::makePlatformServices(data_));
    std::error_code ignored;
    fs::remove_all(data_, ignored);
  }

  std::string login() {
    auto listener = std::make_shared<PromisedListener>();
    auto outcome = listener->outcome.get_future();
    sdk_.login(KorvaneSdkUser("user-1"), listener);
    return outcome.wait_for(5s) == std::future_status::ready ? outcome.get() : "timed out";
  }
  std::size_t sentTo(const std::string& path) const { return server_.requestsTo(path).size(); }

  testing::LogCapture log_{LogLevel::verbose};
  KorvaneSdk& sdk_ = KorvaneSdk::shared();
  DevServer server_;
  testing::MainLoopThread loop_;
  std::shared_ptr<linux_host::HostAppLifecycle> lifecycle_;
  fs::path data_;
};

TEST_P(OffSwitch, TheSdkSendsOnlyWhatTheSwitchLeavesOnAndRefusalsNameTheReason) {
  const Switch& s = GetParam();
  sdk_.initialize(KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret")
                      .setApiBaseUrl(server_.baseUrl())
                      .setTimeoutMillis(2000)
                      .build());
  const auto until = std::chrono::steady_clock::now() + 5s;
  while (!sdk_.isInitialized() && std::chrono::steady_clock::now() < until)
    std::this_thread::sleep_for(5ms);
  ASSERT_TRUE(sdk_.isInitialized());

  EXPECT_EQ(login(), s.loginSent ? "success" : "SDK is not initialized");
  EXPECT_EQ(sentTo("/v1/api/sdk/login"), s.loginSent ? 1u : 0u);

  sdk_.trackEventWithCustomName("level_up", "game", JsonValue{{"level", 3}});
  sdk_.trackCustomEvent("reward_claimed", "reward", JsonValue{{"amount", 100}});
  // What the batch would keep goes to the event file and comes back, and a flush asks to send.
  loop_.runSync([&] { lifecycle_->notify(AppLifecycleEvent::didEnterBackground); });
  loop_.runSync([&] { lifecycle_->notify(AppLifecycleEvent::willEnterForeground); });
  sdk_.flushEvents();

  std::promise<std::string> banner;
  sdk_.getBannerInfo("top", [&](Result<BannerInfoResponse> answer) {
    banner.set_value(answer
                         ? "answered"
                         : std::to_string(answer.error().code) + " " + answer.error().description);
  });
  EXPECT_EQ(banner.get_future().get(),
            s.placementRefusal.empty() ? "answered" : "-3 " + s.placementRefusal);

  std::promise<std::string> missions;
  auto mission = KorvaneMission::create();
  mission->load([&](const std::vector<Mission>&, MissionProgress) { missions.set_value("loaded"); },
                [&](KorvaneAdError e) { missions.set_value(localizedDescription(e)); });
  EXPECT_EQ(
      missions.get_future().get(),
      s.placementRefusal.empty() ? "loaded" : localizedDescription(KorvaneAdError::notInitialized));
  if (!s.placementRefusal.empty()) {
    EXPECT_TRUE(log_.contains("[W/KorvaneMission] load: " + s.placementRefusal));
  }

  EXPECT_EQ(sdk_.offerwallAvailability("main").unavailable ==
                OfferwallUnavailableReason::disabledByServer,
            !s.offerwallRefusal.empty());
  if (!s.offerwallRefusal.empty()) {
    auto callback = std::make_shared<PromisedCallback>();
    auto heard = callback->heard.get_future();
    sdk_.openOfferwall(nullptr, "main", callback);
    ASSERT_EQ(heard.wait_for(5s), std::future_status::ready);
    EXPECT_EQ(heard.get(), "error:" + s.offerwallRefusal);
  }

  if (s.telemetrySent) {
    // session_start, then the two events in a batch.
    ASSERT_TRUE(server_.waitForEvents(3, 5s));
  } else {
    // Every refusal above was decided on the calling thread: nothing is on its way.
    EXPECT_EQ(sentTo("/v1/api/sdk/event"), 0u);
    EXPECT_EQ(sentTo("/v1/api/sdk/event/batch"), 0u);
    EXPECT_TRUE(server_.deliveredEvents().empty());
  }
  if (s.sdkEnabled == false) {
    // Nothing but the validation that carried the switch.
    std::vector<std::string> paths;
    for (const devserver::RecordedRequest& request : server_.requests())
      paths.push_back(request.path);
    EXPECT_EQ(paths, std::vector<std::string>{"/v1/api/sdk/validate"});
  }
}

INSTANTIATE_TEST_SUITE_P(
    Switches, OffSwitch,
    ::testing::Values(Switch{"sdkOff",
                             false,
                             {},
                             false,
                             false,
                             "KorvaneSDK is turned off by the server",
                             "KorvaneSDK is turned off by the server"},
                      Switch{"telemetryOff", std::nullopt, {"telemetry"}, true, false, "", ""},
                      Switch{"offerwallOff",
                             std::nullopt,
                             {"offerwall", "unknown-part"},
                             true,
                             true,
                             "The offerwall is turned off by the server",
                             ""},
                      Switch{"placementsOff",
                             true,
                             {"placements"},
                             true,
                             true,
                             "",
                             "Placements are turned off by the server"},
                      Switch{"everyPartOff",
                             std::nullopt,
                             {"telemetry", "offerwall", "placements"},
                             true,
                             false,
                             "The offerwall is turned off by the server",
                             "Placements are turned off by the server"}),
    [](const ::testing::TestParamInfo<Switch>& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace korvane
