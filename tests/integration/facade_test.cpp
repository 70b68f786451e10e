// A host's whole session through the facade: real main loop, libcurl, files and the local
// backend.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <future>

#include "dev_server.h"
#include "facade_environments.h"
#include "korvane/linux/host_lifecycle.h"
#include "korvane/linux/linux_device.h"
#include "korvane/linux/linux_platform.h"
#include "korvane/placements/korvane_banner.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/sdk/korvane_sdk.h"
#include "log_capture.h"
#include "main_loop_thread.h"
#include "sdk/sdk_environment.h"
#include "telemetry/event_batch_service.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using devserver::DevServer;

constexpr const char* kIdfa = "6D92078A-8246-4BA4-AE5B-76104861E7DC";

template <typename Predicate>
bool eventually(Predicate done, std::chrono::milliseconds timeout = 5s) {
  const auto until = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

class PromisedListener final : public KorvaneSdkLoginListener {
 public:
  void onSuccess() override { outcome.set_value("success"); }
  void onFailure(KorvaneLoginError error) override { outcome.set_value(description(error)); }
  std::promise<std::string> outcome;
};

class FacadeSession : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(server_.start(), 0);
    resetSdk();
  }
  void resetSdk() {
    // Each session gets its own directory: work of a replaced session may still be finishing.
    data_ = fs::temp_directory_path() /
            ("korvane-facade-it-" + std::to_string(::getpid()) + "-" + std::to_string(++sessions_));
    fs::remove_all(data_);
    SdkEnvironment environment = testing::linuxEnvironment(data_, loop_.mainThread(), "SESSION-IT");
    lifecycle_ = std::make_shared<linux_host::HostAppLifecycle>(loop_.mainThread());
    environment.platform.lifecycle = lifecycle_;
    environment.platform.tracking = std::make_shared<linux_host::LinuxTrackingAuthorization>(
        tracking_status::kAuthorized, kIdfa);
    KorvaneSdkTestAccess::reset(sdk_, std::move(environment));
  }
  void TearDown() override {
    testing::idleFacade(sdk_, linux_host::makePlatformServices(data_));
    std::error_code ignored;
    for (int i = 1; i <= sessions_; ++i)
      fs::remove_all(data_.parent_path() / ("korvane-facade-it-" + std::to_string(::getpid()) +
                                            "-" + std::to_string(i)),
                     ignored);
  }

  KorvaneSdkConfig config(const std::string& key, const std::string& secret) const {
    return KorvaneSdkConfig::Builder(key, secret)
        .setApiBaseUrl(server_.baseUrl())
        .setTimeoutMillis(2000)
        .build();
  }
  std::string login(const std::string& userId) {
    auto listener = std::make_shared<PromisedListener>();
    auto outcome = listener->outcome.get_future();
    sdk_.login(KorvaneSdkUser(userId, KorvaneSdkUser::Gender::female, 1994), listener);
    return outcome.wait_for(5s) == std::future_status::ready ? outcome.get() : "timed out";
  }
  std::size_t linesStartingWith(const std::string& prefix) const {
    std::size_t count = 0;
    for (const std::string& m : log_.messages()) count += m.rfind(prefix, 0) == 0;
    return count;
  }
  std::vector<std::string> deliveredNames() const {
    std::vector<std::string> names;
    for (const TrackEventRequest& e : server_.deliveredEvents()) names.push_back(e.name);
    return names;
  }

  testing::LogCapture log_{LogLevel::verbose};
  KorvaneSdk& sdk_ = KorvaneSdk::shared();
  DevServer server_;
  testing::MainLoopThread loop_;
  std::shared_ptr<linux_host::HostAppLifecycle> lifecycle_;
  fs::path data_;
  int sessions_ = 0;
};

TEST_F(FacadeSession, InitialiseLoginTrackBackgroundFlushLogout) {
  sdk_.initialize(config("demo-app-key", "demo-app-secret"));
  EXPECT_FALSE(sdk_.isInitialized()) << "only the backend's answer initialises";
  ASSERT_TRUE(eventually([&] { return sdk_.isInitialized(); }));
  EXPECT_EQ(sdk_.validatedAppData()->korvaneHubUrl, server_.baseUrl() + "/offerwall/");

  ASSERT_EQ(login("user-42"), "success");
  EXPECT_EQ(sdk_.getCurrentUser()->userId(), "user-42");
  const auto logins = server_.requestsTo("/v1/api/sdk/login");
  ASSERT_EQ(logins.size(), 1u);
  const JsonValue body = JsonValue::parse(logins[0].body);
  EXPECT_EQ(body["userId"], "user-42");
  EXPECT_EQ(body["gender"], "F");
  EXPECT_EQ(body["birthYear"], "1994");
  EXPECT_EQ(body["loginInfo"]["ifa"], kIdfa);
  EXPECT_EQ(body["loginInfo"]["sessionId"], "SESSION-IT");
  EXPECT_EQ(body["loginInfo"]["parameters"],
            (JsonValue{{"user_id", "user-42"}, {"category", "authentication"}}));
  EXPECT_TRUE(body["deviceInfo"].is_object() && !body["deviceInfo"].empty());
  ASSERT_TRUE(server_.waitForEvents(1, 5s));
  EXPECT_EQ(deliveredNames(), std::vector<std::string>{"session_start"});

  sdk_.trackEvent(EventType::missionClicked, "mission", JsonValue{{"missionId", "m1"}});
  sdk_.trackEventWithCustomName("level_up", "game", JsonValue{{"level", 3}});
  sdk_.trackCustomEvent("reward_claimed", "reward", JsonValue{{"amount", 100}});

  // Backgrounding moves the queue into the event file; the foreground brings it back.
  loop_.runSync([&] { lifecycle_->notify(AppLifecycleEvent::didEnterBackground); });
  EXPECT_TRUE(fs::exists(data_ / "Documents" / "korvane_events.json"));
  loop_.runSync([&] { lifecycle_->notify(AppLifecycleEvent::willEnterForeground); });
  sdk_.flushEvents();
  ASSERT_TRUE(server_.waitForEvents(4, 5s));
  // A flush while a send is still running sends nothing, so let this one finish first.
  ASSERT_TRUE(eventually(
      [&] { return linesStartingWith("[I/KorvaneSdk] Events flushed successfully") == 1; }));
  EXPECT_EQ(deliveredNames(),
            (std::vector<std::string>{"session_start", "mission_clicked", "level_up", "custom"}));
  const TrackEventRequest custom = server_.deliveredEvents()[3];
  EXPECT_EQ(custom.userId, "user-42");
  EXPECT_EQ(custom.parameters, (std::vector<std::pair<std::string, std::string>>{
                                   {"amount", "100"}, {"event_name", "reward_claimed"}}));

  sdk_.logout();
  EXPECT_FALSE(sdk_.isLoggedIn());
  sdk_.flushEvents();
  ASSERT_TRUE(server_.waitForEvents(5, 5s));
  const TrackEventRequest logout = server_.deliveredEvents()[4];
  EXPECT_EQ(logout.name, "custom");
  EXPECT_EQ(logout.parameters, (std::vector<std::pair<std::string, std::string>>{
                                   {"event_name", "user_logout"}, {"user_id", "user-42"}}));
}

// A refusal of the keys, whether the SDK can decode it or not, leaves the SDK uninitialised, and a
// later initialize with the corrected secret runs every step again with that secret.
TEST_F(FacadeSession, RefusedValidationByKindOfAnswer) {
  for (const bool undecodable : {false, true}) {
    SCOPED_TRACE(undecodable ? "undecodable refusal" : "decodable refusal");
    resetSdk();
    server_.clearRequests();
    server_.setUndecodableRefusals(undecodable);
    log_.clear();
    sdk_.initialize(config("demo-app-key", "wrong-secret"));
    ASSERT_TRUE(eventually(
        [&] { return linesStartingWith("[E/KorvaneSdk] SDK validation failed: ") == 1; }));
    EXPECT_FALSE(sdk_.isInitialized());
    EXPECT_EQ(login("user-42"), "SDK is not initialized");

    sdk_.initialize(config("demo-app-key", "demo-app-secret"));
    ASSERT_TRUE(eventually([&] { return sdk_.isInitialized(); }));
    EXPECT_TRUE(sdk_.validatedAppData());
    EXPECT_EQ(server_.requestsTo("/v1/api/sdk/validate").size(), 2u);
  }
}

// Each reason a start fails for, from a real fault of the local backend: what the completion
// hears, and whether validation is tried again by itself (the fault happens once).
TEST_F(FacadeSession, EachStartFailureFromARealFaultAndItsRecovery) {
  using devserver::Fault;
  struct Case {
    const char* name;
    std::optional<Fault> fault;
    const char* secret;
    SdkFailureReason reason;
    bool recovers;
    bool unreadableRefusal = false;
  };
  const Case cases[] = {
      {"keys refused", std::nullopt, "wrong-secret", SdkFailureReason::refusedKeys, false},
      {"keys refused unreadably", std::nullopt, "wrong-secret", SdkFailureReason::refusedKeys,
       false, true},
      {"server failing", Fault{503, 0ms, false, false, 1}, "demo-app-secret",
       SdkFailureReason::server, true},
      {"answer unreadable", Fault{0, 0ms, false, true, 1}, "demo-app-secret",
       SdkFailureReason::malformedAnswer, true},
      {"connection dropped", Fault{0, 0ms, true, false, 1}, "demo-app-secret",
       SdkFailureReason::network, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    resetSdk();
    server_.clearRequests();
    server_.setUndecodableRefusals(c.unreadableRefusal);
    if (c.fault) server_.setFault("/v1/api/sdk/validate", *c.fault);
    std::promise<SdkStatus> first;
    sdk_.initialize(config("demo-app-key", c.secret),
                    [&first](const SdkStatus& s) { first.set_value(s); });
    auto heard = first.get_future();
    ASSERT_EQ(heard.wait_for(5s), std::future_status::ready);
    const SdkStatus status = heard.get();
    EXPECT_EQ(status.state, SdkState::failed);
    EXPECT_EQ(status.reason, c.reason);
    EXPECT_FALSE(sdk_.offerwallAvailability("home").isReady());
    if (c.recovers) {
      ASSERT_TRUE(eventually([&] { return sdk_.status().state == SdkState::ready; }));
      EXPECT_TRUE(sdk_.isInitialized());
      EXPECT_EQ(server_.requestsTo("/v1/api/sdk/validate").size(), 2u);
      EXPECT_EQ(sdk_.offerwallAvailability("home").unavailable, OfferwallUnavailableReason::noUser);
    } else {
      std::this_thread::sleep_for(2500ms);  // past the first retry's latest time
      EXPECT_EQ(server_.requestsTo("/v1/api/sdk/validate").size(), 1u);
      EXPECT_EQ(sdk_.status().reason, SdkFailureReason::refusedKeys);
    }
  }
}

// Under a configuration that waits for consent the backend hears nothing, not even validation,
// until the app says the person agreed; after a withdrawal it hears nothing more.
TEST_F(FacadeSession, NothingReachesTheBackendBeforeConsentOrAfterItsWithdrawal) {
  const KorvaneSdkConfig waits = KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret")
                                     .setApiBaseUrl(server_.baseUrl())
                                     .setWaitsForConsent(true)
                                     .build();
  sdk_.initialize(waits);
  sdk_.trackEvent(EventType::missionClicked, "mission");
  sdk_.flushEvents();
  std::this_thread::sleep_for(500ms);
  EXPECT_TRUE(server_.requests().empty());

  sdk_.setConsent(true);
  ASSERT_TRUE(eventually([&] { return sdk_.isInitialized(); }));
  EXPECT_EQ(login("user-42"), "success");
  std::this_thread::sleep_for(500ms);  // the login's own events go out
  sdk_.setConsent(false);
  const std::size_t before = server_.requests().size();
  sdk_.trackEvent(EventType::missionClicked, "mission");
  sdk_.flushEvents();
  EXPECT_EQ(login("user-43"), "SDK is not initialized");
  std::this_thread::sleep_for(500ms);
  EXPECT_EQ(server_.requests().size(), before);
}

// With 5 events / 2,000 ms from the server, five events leave at once as one batch, and two
// more leave on the two-second timer instead of the default thirty.
TEST_F(FacadeSession, ServerBatchSettingsChangeWhenEventsLeave) {
  devserver::App app = DevServer::demoApp();
  app.appKey = "batchy-app";
  app.trackEventBatchCount = 5;
  app.trackEventBatchIntervalMs = 2000;
  server_.addApp(app);
  sdk_.initialize(config(app.appKey, app.appSecret));
  ASSERT_TRUE(eventually([&] { return sdk_.isInitialized(); }));
  EXPECT_EQ(KorvaneSdkTestAccess::eventBatchService(sdk_)->batchSize(), 5u);

  for (int i = 0; i < 5; ++i) sdk_.trackEventWithCustomName("tap", "ui", JsonValue{{"i", i}});
  ASSERT_TRUE(server_.waitForEvents(5, 1500ms)) << "a full batch goes without waiting";
  const auto batches = [&] { return server_.requestsTo("/v1/api/sdk/event/batch").size(); };
  EXPECT_TRUE(eventually([&] { return batches() == 1; }));

  sdk_.trackEventWithCustomName("tap", "ui");
  sdk_.trackEventWithCustomName("tap", "ui");
  ASSERT_TRUE(server_.waitForEvents(7, 6s)) << "the two-second timer sends the rest";
  EXPECT_TRUE(eventually([&] { return batches() == 2; }));
}

// Placements against the local backend: loads, their events' payloads, the refresh fan-out and
// the banner's error mapping.
TEST_F(FacadeSession, MissionLoadsReportImpressionsInOrderAndRefreshReachesEachListenerOnce) {
  sdk_.initialize(config("demo-app-key", "demo-app-secret"));
  ASSERT_TRUE(eventually([&] { return sdk_.isInitialized(); }));
  ASSERT_EQ(login("user-7"), "success");

  struct Listener final : KorvaneMissionEventsListener {
    std::atomic<int> refreshes{0};
    void onClicked(const Mission&) override {}
    void onImpressed(const Mission&) override {}
    void onCompleted(const Mission&) override {}
    void onProgressed(const Mission&) override {}
    void onRefreshed(const std::optional<std::string>&) override { ++refreshes; }
  };
  auto listener = std::make_shared<Listener>();
  auto first = KorvaneMission::create();
  auto second = KorvaneMission::create();
  first->setEventsListener(listener);
  second->setEventsListener(listener);
  std::promise<std::size_t> loaded;
  first->load([&](const std::vector<Mission>& m, MissionProgress) { loaded.set_value(m.size()); },
              [&](KorvaneAdError) { loaded.set_value(0); });
  ASSERT_EQ(loaded.get_future().get(), 3u);
  const auto request = server_.requestsTo("/v1/api/sdk/mission").at(0).target;
  EXPECT_EQ(request, "/v1/api/sdk/mission?userId=user-7&platform=iOS&ifa=" + std::string(kIdfa));

  loop_.runSync([&] {
    KorvaneMission::refreshMissionList("unit");
    first->clickMission("no-such-mission", nullptr);
  });
  EXPECT_EQ(listener->refreshes.load(), 1);
  EXPECT_TRUE(log_.contains("[W/KorvaneMission] Mission not found: no-such-mission"));

  sdk_.flushEvents();
  ASSERT_TRUE(server_.waitForEvents(5, 5s));
  std::vector<std::string> impressed;
  for (const TrackEventRequest& e : server_.deliveredEvents())
    if (e.name == "mission_impressed") impressed.push_back(e.parameters.at(0).second);
  EXPECT_EQ(impressed, (std::vector<std::string>{"mission-1", "mission-2", "mission-3"}));

  std::promise<std::string> banner;
  KorvaneBanner::shared().getBanner(
      "no-fill", [&](const BannerInfoResponse&) { banner.set_value("success"); },
      [&](KorvaneAdError e) { banner.set_value(localizedDescription(e)); });
  EXPECT_EQ(banner.get_future().get(), localizedDescription(KorvaneAdError::networkError));
  std::promise<bool> facadeSuccess;
  sdk_.getBannerInfo("no-fill", [&](Result<BannerInfoResponse> r) {
    facadeSuccess.set_value(r.ok() && !r.value().success);
  });
  EXPECT_TRUE(facadeSuccess.get_future().get()) << "the facade passes success false through";
}

}  // namespace
}  // namespace korvane
