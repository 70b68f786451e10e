// The facade over fakes: a manual main thread, manual executors and a scripted backend.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "backend/record_codec.h"
#include "facade_environments.h"
#include "fake_platform.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/sdk/korvane_sdk.h"
#include "log_capture.h"
#include "manual_executor.h"
#include "scripted_api.h"
#include "sdk/sdk_environment.h"
#include "telemetry/event_batch_service.h"
#include "thread_recording_documents.h"

namespace korvane {
namespace {

using testing::LogCapture;

// Records what the listener heard and whether it heard it on the main thread.
class RecordingListener final : public KorvaneSdkLoginListener {
 public:
  explicit RecordingListener(const MainThread& mainThread) : mainThread_(mainThread) {}
  void onSuccess() override { heard.push_back(mainThread_.isCurrent() ? "success" : "success@bg"); }
  void onFailure(KorvaneLoginError error) override {
    heard.push_back(std::string(mainThread_.isCurrent() ? "failure:" : "failure@bg:") +
                    description(error));
  }
  std::vector<std::string> heard;

 private:
  const MainThread& mainThread_;
};

ValidateAppResponse validAnswer(std::optional<std::int64_t> count = std::nullopt,
                                std::optional<std::int64_t> intervalMs = std::nullopt) {
  AppData app;
  app.appKey = "key";
  app.appName = "Demo";
  app.korvaneHubUrl = "https://hub.example/offerwall";
  app.trackEventBatchCount = count;
  app.trackEventBatchIntervalMs = intervalMs;
  return ValidateAppResponse{true, app, std::nullopt};
}

class FacadeTest : public ::testing::Test {
 public:  // table rows act on the fixture
  enum class Stage { notInitialized, validating, initialized };

  void SetUp() override {
    std::filesystem::remove_all(documents_);
    fake_ = testing::FakePlatform();
    api_ = std::make_shared<testing::ScriptedApi>();
    tasks_ = std::make_shared<testing::ManualExecutor>();
    serial_ = std::make_shared<testing::ManualExecutor>();
    listener_ = std::make_shared<RecordingListener>(*fake_.mainThread);
    log_.clear();
    KorvaneSdkTestAccess::reset(sdk_, environment());
  }
  // The fakes, the event file in `documents_` and the scripted backend.
  SdkEnvironment environment() {
    return testing::fakeEnvironment(fake_, documents_, api_, tasks_, serial_);
  }
  void TearDown() override {
    testing::idleFacade(sdk_);
    std::filesystem::remove_all(documents_);
  }

  // Runs background work and main-thread work until nothing is left.
  void settle() {
    while (serial_->runAll() + tasks_->runAll() + fake_.mainThread->runUntilIdle() > 0) {
    }
  }
  void initialize() { sdk_.initialize(config_); }
  void reach(Stage stage) {
    if (stage == Stage::notInitialized) return;
    initialize();
    settle();
    if (stage == Stage::initialized) api_->answerValidation(validAnswer());
    settle();
  }
  void loginAs(const std::string& userId) {
    sdk_.login(KorvaneSdkUser(userId), listener_);
    settle();
  }
  std::vector<std::string> singleEventNames() const {
    std::vector<std::string> names;
    for (const TrackEventRequest& r : api_->singleEvents()) names.push_back(r.name);
    return names;
  }

  KorvaneSdk& sdk_ = KorvaneSdk::shared();
  LogCapture log_{LogLevel::verbose};
  testing::FakePlatform fake_;
  std::shared_ptr<testing::ScriptedApi> api_;
  std::shared_ptr<testing::ManualExecutor> tasks_;
  std::shared_ptr<testing::ManualExecutor> serial_;
  std::shared_ptr<RecordingListener> listener_;
  KorvaneSdkConfig config_ = KorvaneSdkConfig::Builder("key", "secret").build();
  std::filesystem::path documents_ =
      std::filesystem::temp_directory_path() / ("korvane-facade-" + std::to_string(::getpid()));
};

// A backend outage must not breed diagnostics: failed sends are logged, and only the errors the
// product names (a failed validation, banner or placement load) become sdk_error events.
TEST_F(FacadeTest, ATenMinuteOutageBreedsNoSdkErrorEvents) {
  using namespace std::chrono_literals;
  const auto outageEnds = fake_.clock->now() + 10min;
  fake_.http->respond = [&](const HttpRequest& request) -> HttpResult {
    if (request.url.find("/validate") != std::string::npos)
      return HttpResponse{200, {}, json::dump(toJson(validAnswer()))};
    if (fake_.clock->now() < outageEnds) return HttpResponse{503, {}, "Service Unavailable"};
    return HttpResponse{200, {}, R"({"success":true,"processedCount":20,"failedEventIds":[]})"};
  };
  SdkEnvironment overHttp = environment();
  overHttp.network = std::make_shared<NetworkManager>("SESSION-1");  // over the fake HTTP
  KorvaneSdkTestAccess::reset(sdk_, std::move(overHttp));
  initialize();
  settle();
  ASSERT_TRUE(sdk_.isInitialized());
  KorvaneLogger::setLogLevel(LogLevel::error);  // the captured log is restored afterwards

  // Work that breeds work never settles: give up after a generous number of rounds.
  const auto settles = [&] {
    for (int round = 0; round < 20; ++round)
      if (serial_->runAll(50) + tasks_->runAll(50) + fake_.mainThread->runUntilIdle() == 0)
        return true;
    return false;
  };
  for (int i = 0; i < 1000; ++i) {
    sdk_.trackEventWithCustomName("tap", "ui", JsonValue{{"i", i}});
    ASSERT_TRUE(settles()) << "event " << i;
    fake_.mainThread->advance(600ms);
    ASSERT_TRUE(settles()) << "event " << i;
  }
  fake_.mainThread->advance(5min);  // the backend is back: the timer sends what is queued
  ASSERT_TRUE(settles());

  EXPECT_TRUE(log_.mentions("[E/EventBatchService] Failed to send batch: HTTP 503 error"));
  EXPECT_EQ(KorvaneSdkTestAccess::eventBatchService(sdk_)->tally().accepted, 1000u)
      << "no event but the host's";
  EXPECT_GT(KorvaneSdkTestAccess::eventBatchService(sdk_)->tally().delivered, 0u);
}

// Host text that is not UTF-8 (a user id, a category, payload keys and values, an event name)
// goes through the settings file, the event file and the batch without an exception.
TEST_F(FacadeTest, HostTextThatIsNotUtf8TravelsTheWholePipeline) {
  const std::string bad = "x\xFF\xC3(\xED\xA0\x80";
  SdkEnvironment withSettingsFile = environment();
  withSettingsFile.platform.userDefaults =
      std::make_shared<linux_host::FileKeyValueStore>(documents_ / "defaults.json");
  KorvaneSdkTestAccess::reset(sdk_, std::move(withSettingsFile));
  reach(Stage::initialized);
  loginAs("user-" + bad);
  ASSERT_EQ(listener_->heard, std::vector<std::string>{"success"});

  sdk_.trackEvent(EventType::loginSuccess, "c-" + bad, JsonValue{{"k-" + bad, "v-" + bad}});
  sdk_.trackEventWithCustomName("n-" + bad, bad, JsonValue{{bad, JsonValue::array({bad, 1})}});
  sdk_.trackCustomEvent("custom-" + bad, bad, JsonValue{{"nested", {{bad, bad}}}});
  fake_.lifecycle->send(AppLifecycleEvent::didEnterBackground);
  fake_.lifecycle->send(AppLifecycleEvent::willEnterForeground);
  settle();
  sdk_.flushEvents();
  settle();

  std::vector<std::string> names;
  for (const EventBatch& batch : api_->batches())
    for (const TrackEventRequest& event : batch.events) {
      names.push_back(event.name.substr(0, event.name.find('-')));
      EXPECT_EQ(event.userId->rfind("user-x", 0), 0u);
    }
  EXPECT_EQ(names, (std::vector<std::string>{"login_success", "n", "custom"}));
}

// Initialisation cleans the event file up before the service reads it; damage is said once.
TEST_F(FacadeTest, InitialisationCleansTheEventFileUp) {
  std::filesystem::create_directories(documents_);
  std::ofstream(documents_ / "korvane_events.json") << "[{\"damaged\"";
  reach(Stage::validating);
  fake_.lifecycle->send(AppLifecycleEvent::willEnterForeground);
  EXPECT_EQ(log_.count("[E/EventBatchService] The event file was damaged and is started afresh: "),
            1u);
  EXPECT_FALSE(log_.mentions("Failed to cleanup old events: "));
  EXPECT_FALSE(log_.mentions("Failed to load persisted events: "));
  EXPECT_FALSE(std::filesystem::exists(documents_ / "korvane_events.json"));
}

// initialize reads and writes no file on the calling thread (the main thread at launch): the
// event file is cleaned up and loaded on the serial queue, which here runs on a thread of its own.
TEST_F(FacadeTest, InitializeLeavesTheEventFileToTheSerialQueue) {
  {
    EventPersistenceManager file(std::make_shared<linux_host::FixedDocumentsDirectory>(documents_),
                                 fake_.clock);
    std::vector<Event> events;
    for (int i = 0; i < 1000; ++i)
      events.push_back(Event::make("F" + std::to_string(i), EventType::missionImpressed,
                                   static_cast<double>(fake_.clock->nowMillis()), "mission",
                                   std::nullopt));
    ASSERT_TRUE(file.saveEvents(events).ok());
  }
  auto documents = std::make_shared<testing::ThreadRecordingDocuments>(documents_);
  SdkEnvironment recorded = environment();
  recorded.platform.documents = documents;
  KorvaneSdkTestAccess::reset(sdk_, std::move(recorded));

  initialize();
  EXPECT_TRUE(documents->threads().empty()) << "no file operation before initialize returns";

  std::thread::id serialThread;
  std::thread([&] {
    serialThread = std::this_thread::get_id();
    serial_->runAll();
  }).join();
  const std::vector<std::thread::id> threads = documents->threads();
  EXPECT_GE(threads.size(), 2u) << "the cleanup and the load";
  for (const std::thread::id& thread : threads) EXPECT_EQ(thread, serialThread);
  EXPECT_EQ(KorvaneSdkTestAccess::eventBatchService(sdk_)->tally().queued, 250u)
      << "up to half the queue";
}

// Each public call in each state of the facade: what it logs or answers.
TEST_F(FacadeTest, EveryCallInEveryState) {
  struct Row {
    const char* call;
    Stage stage;
    std::function<void(FacadeTest&)> act;
    std::function<bool(FacadeTest&)> expected;
  };
  const auto logged = [](std::string line) {
    return [line](FacadeTest& t) { return t.log_.contains(line); };
  };
  const auto heard = [](std::string what) {
    return [what](FacadeTest& t) { return t.listener_->heard == std::vector<std::string>{what}; };
  };
  const auto login = [](FacadeTest& t) { t.loginAs("u1"); };
  const auto track = [](FacadeTest& t) { t.sdk_.trackEventWithCustomName("tapped", "ui"); };
  const auto dau = [](FacadeTest& t) { t.sdk_.trackCustomEvent("session_start", "session"); };
  const auto init = [](FacadeTest& t) { t.initialize(); };
  const auto flush = [](FacadeTest& t) {
    t.sdk_.trackEvent(EventType::bannerClicked, "banner");
    t.sdk_.flushEvents();
  };
  const auto sentAt = [](std::string name) {
    return [name](FacadeTest& t) { return t.singleEventNames() == std::vector<std::string>{name}; };
  };
  const std::string notInit = "failure:SDK is not initialized";
  const std::vector<Row> rows = {
      {"login", Stage::notInitialized, login, heard(notInit)},
      {"login", Stage::validating, login, heard(notInit)},
      {"login", Stage::initialized, login, heard("success")},
      {"track", Stage::notInitialized, track,
       logged("[W/KorvaneSdk] SDK not initialized. Event not tracked: tapped")},
      {"track", Stage::validating, track,
       logged("[W/KorvaneSdk] SDK not initialized. Event not tracked: tapped")},
      {"track", Stage::initialized, track,
       logged("[D/KorvaneSdk] Custom event tracked: tapped (category: ui)")},
      {"dau", Stage::notInitialized, dau,
       logged("[W/KorvaneSdk] SDK not initialized. Event not tracked: session_start")},
      {"dau", Stage::validating, dau,
       logged("[W/KorvaneSdk] SDK not initialized. Event not tracked: session_start")},
      {"dau", Stage::initialized, dau, sentAt("session_start")},
      {"initialize", Stage::notInitialized, init,
       logged("[D/KorvaneSdk] EventBatchService created successfully")},
      // Validation has not answered, so a second call runs every step again.
      {"initialize", Stage::validating, init,
       [](FacadeTest& t) {
         return t.api_->answerValidation(validAnswer()) == 2 && t.sdk_.isInitialized();
       }},
      {"initialize", Stage::initialized, init,
       logged("[W/KorvaneSdk] SDK is already initialized. Ignoring duplicate initialization.")},
      {"flush", Stage::notInitialized, flush,
       [](FacadeTest& t) { return t.api_->batches().empty(); }},
      {"flush", Stage::validating, flush,
       [](FacadeTest& t) {
         return t.api_->batches().empty() &&
                t.log_.contains("[I/KorvaneSdk] Events flushed successfully");
       }},
      {"flush", Stage::initialized, flush,
       [](FacadeTest& t) {
         return t.api_->batches().size() == 1 &&
                t.log_.contains("[I/KorvaneSdk] Events flushed successfully");
       }},
  };
  const char* stageNames[] = {"not initialised", "validating", "initialised"};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.call) + " while " + stageNames[static_cast<int>(row.stage)]);
    TearDown();
    SetUp();
    reach(row.stage);
    log_.clear();
    row.act(*this);
    settle();
    EXPECT_TRUE(row.expected(*this));
  }
}

TEST_F(FacadeTest, ChecksInitialisationBeforeTheUserIdAndTheKeyBeforeTheSecret) {
  sdk_.login(KorvaneSdkUser(""), listener_);
  settle();
  EXPECT_EQ(listener_->heard, std::vector<std::string>{"failure:SDK is not initialized"});

  log_.clear();
  sdk_.initialize(KorvaneSdkConfig::Builder("", "").build());
  sdk_.initialize(KorvaneSdkConfig::Builder("key", "").build());
  std::vector<std::string> facadeLines;
  for (const std::string& m : log_.messages())
    if (m.find("/KorvaneSdk]") != std::string::npos) facadeLines.push_back(m);
  EXPECT_EQ(facadeLines, (std::vector<std::string>{
                             "[E/KorvaneSdk] App Key cannot be empty. Initialization failed.",
                             "[E/KorvaneSdk] App Secret cannot be empty. Initialization failed."}));
  EXPECT_FALSE(sdk_.getConfig());
  EXPECT_FALSE(KorvaneSdkTestAccess::eventBatchService(sdk_));

  reach(Stage::initialized);
  listener_->heard.clear();
  sdk_.login(KorvaneSdkUser(""), listener_);
  EXPECT_TRUE(listener_->heard.empty()) << "answers come through the main thread, later";
  settle();
  EXPECT_EQ(listener_->heard, std::vector<std::string>{"failure:User ID cannot be empty"});
}

// A decoded answer validates unless it refuses the keys; a failed call leaves the SDK
// uninitialised too. Server batch settings apply only when the server names one of them.
TEST_F(FacadeTest, ValidationOutcomes) {
  struct Case {
    const char* name;
    Result<ValidateAppResponse> answer;
    bool initialized;
    std::size_t batchSize;
    double interval;
    const char* line;
  };
  const Error undecodable{"NSCocoaErrorDomain", 4864, "The data couldn't be read.",
                          "DecodingError"};
  const std::vector<Case> cases = {
      {"keys refused", ValidateAppResponse{false, std::nullopt, "Invalid app key or secret"}, false,
       20, 30.0, "[E/KorvaneSdk] SDK validation failed: Invalid app key or secret"},
      {"undecodable", undecodable, false, 20, 30.0,
       "[E/KorvaneSdk] SDK validation failed: The data couldn't be read. - The data couldn't be "
       "read."},
      {"no batch settings", validAnswer(), true, 20, 30.0,
       "[D/KorvaneSdk] Offerwall URL: https://hub.example/offerwall"},
      {"both settings", validAnswer(5, 2000), true, 5, 2.0,
       "[I/KorvaneSdk] Event batch configuration updated from server - Count: 5, Interval: 2000 "
       "ms"},
      {"count only", validAnswer(7), true, 7, 30.0,
       "[I/KorvaneSdk] Event batch configuration updated from server - Count: 7, Interval: "
       "default"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TearDown();
    SetUp();
    initialize();
    settle();
    api_->answerValidation(c.answer);
    settle();
    EXPECT_EQ(sdk_.isInitialized(), c.initialized);
    EXPECT_EQ(KorvaneSdkTestAccess::eventBatchService(sdk_)->batchSize(), c.batchSize);
    EXPECT_DOUBLE_EQ(KorvaneSdkTestAccess::eventBatchService(sdk_)->flushInterval(), c.interval);
    EXPECT_TRUE(log_.contains(c.line));
    if (c.initialized) {
      EXPECT_EQ(sdk_.validatedAppData(), c.answer.value().app);
    }
  }
}

TEST_F(FacadeTest, LoginOfAnotherUserLogsTheFirstOutAndAFailedRequestStillSucceeds) {
  reach(Stage::initialized);
  loginAs("alice");
  loginAs("alice");
  api_->loginFailure = Error{Error::kUrlLoadingDomain, -1004, "Could not connect to the server."};
  loginAs("bob");

  EXPECT_EQ(listener_->heard, (std::vector<std::string>{"success", "success", "success"}));
  EXPECT_EQ(api_->logins(), 3);
  EXPECT_EQ(sdk_.getCurrentUser()->userId(), "bob");
  EXPECT_EQ(fake_.userDefaults->getString("currentUserId"), "bob");
  EXPECT_TRUE(log_.contains(
      "[W/KorvaneSdk] Login failed but continuing: Could not connect to the server."));
  EXPECT_EQ(singleEventNames(),
            (std::vector<std::string>{"session_start", "session_start", "session_start"}));
  EXPECT_EQ(api_->singleEvents().back().userId, "bob");

  // Exactly one logout, for alice, queued before bob's login went out.
  sdk_.flushEvents();
  settle();
  std::vector<TrackEventRequest> logouts;
  for (const EventBatch& batch : api_->batches())
    for (const TrackEventRequest& e : batch.events) logouts.push_back(e);
  ASSERT_EQ(logouts.size(), 1u);
  EXPECT_EQ(logouts[0].name, "custom");
  EXPECT_EQ(logouts[0].parameters, (std::vector<std::pair<std::string, std::string>>{
                                       {"event_name", "user_logout"}, {"user_id", "alice"}}));

  sdk_.logout();
  EXPECT_FALSE(sdk_.isLoggedIn());
  EXPECT_FALSE(fake_.userDefaults->getString("currentUserId"));
}

// Calls made before the queues ran end as their order says, and each session_start names the
// user whose login sent it, whoever is logged in when it goes out.
TEST_F(FacadeTest, TheHostsLastLoginOrLogoutWins) {
  struct Case {
    const char* name;
    std::vector<const char*> calls;  // a user id logs in, "" logs out
    std::optional<std::string> current;
    std::vector<std::string> sessionStartUsers;
    std::vector<std::string> loggedOut;
  };
  const std::vector<Case> cases = {
      {"login then logout", {"alice", ""}, std::nullopt, {"alice"}, {"alice"}},
      {"login then another login", {"alice", "bob"}, "bob", {"alice", "bob"}, {"alice"}},
      {"login, logout, login", {"alice", "", "bob"}, "bob", {"alice", "bob"}, {"alice"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TearDown();
    SetUp();
    reach(Stage::initialized);
    for (const char* call : c.calls) {
      if (*call)
        sdk_.login(KorvaneSdkUser(call), listener_);
      else
        sdk_.logout();
    }
    settle();
    sdk_.flushEvents();
    settle();
    EXPECT_EQ(sdk_.getCurrentUser() ? std::optional(sdk_.getCurrentUser()->userId()) : std::nullopt,
              c.current);
    EXPECT_EQ(fake_.userDefaults->getString("currentUserId"), c.current);
    std::vector<std::string> sessionStartUsers;
    for (const TrackEventRequest& e : api_->singleEvents())
      if (e.name == "session_start") sessionStartUsers.push_back(e.userId.value_or("-"));
    EXPECT_EQ(sessionStartUsers, c.sessionStartUsers);
    std::vector<std::string> loggedOut;
    for (const EventBatch& batch : api_->batches())
      for (const TrackEventRequest& e : batch.events)
        if (!e.parameters.empty() && e.parameters[0].second == "user_logout")
          loggedOut.push_back(e.parameters[1].second);
    EXPECT_EQ(loggedOut, c.loggedOut);
  }
}

TEST_F(FacadeTest, LoginSucceedsOnceSessionStartIsOnItsWay) {
  reach(Stage::initialized);
  sdk_.login(KorvaneSdkUser("alice"), listener_);
  serial_->runAll();
  fake_.mainThread->runUntilIdle();
  EXPECT_EQ(listener_->heard, std::vector<std::string>{"success"});
  EXPECT_TRUE(api_->singleEvents().empty()) << "session_start has not been sent yet";
  settle();
  EXPECT_EQ(singleEventNames(), std::vector<std::string>{"session_start"});
}

TEST_F(FacadeTest, ImmediateEventsSkipTheQueueAndNameTheirUser) {
  reach(Stage::initialized);
  sdk_.trackEventWithCustomName("user_login", "auth", JsonValue{{"userId", "from-payload"}});
  sdk_.trackCustomEvent("session_start", "session", JsonValue{{"userId", 42}});
  const std::string notAnObject =
      "[W/KorvaneSdk] Event payload is not a JSON object; sending the event without it";
  EXPECT_FALSE(log_.contains(notAnObject));
  sdk_.trackEventWithCustomName("session_start", "session", JsonValue::array({1}));
  EXPECT_TRUE(log_.contains(notAnObject));
  settle();
  ASSERT_EQ(api_->singleEvents().size(), 3u);
  EXPECT_EQ(api_->singleEvents()[0].userId, "from-payload");
  EXPECT_EQ(api_->singleEvents()[1].userId, "") << "a non-text userId names nobody";
  EXPECT_TRUE(log_.contains("[D/KorvaneSdk] Sending DAU event immediately: user_login"));
  sdk_.flushEvents();
  settle();
  EXPECT_TRUE(api_->batches().empty()) << "nothing entered the batch queue";
}

TEST_F(FacadeTest, TrackCustomEventNamesThePayloadAndKeepsOtherKeys) {
  reach(Stage::initialized);
  sdk_.trackCustomEvent("reward_shown", "ui", JsonValue{{"event_name", "host"}, {"amount", 3}});
  sdk_.trackEvent(EventType::quizClicked, "quiz", JsonValue::array({1, 2}));
  sdk_.flushEvents();
  settle();
  const std::vector<EventBatch> batches = api_->batches();
  ASSERT_EQ(batches.size(), 1u);
  const auto& events = batches[0].events;
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].parameters, (std::vector<std::pair<std::string, std::string>>{
                                      {"event_name", "reward_shown"}, {"amount", "3"}}));
  EXPECT_EQ(events[1].name, "quiz_clicked");
  EXPECT_TRUE(events[1].parameters.empty()) << "a payload that is not an object is dropped";
}

// A payload nested deeper than the event file reads back is left out, so it cannot make the file
// unreadable; the event still goes.
TEST_F(FacadeTest, PayloadsNestedDeeperThanSixtyFourLevelsAreLeftOut) {
  reach(Stage::initialized);
  for (const std::size_t depth : {64u, 65u, 100000u}) {
    const std::string inner = std::string(depth - 1, '[') + std::string(depth - 1, ']');
    sdk_.trackEvent(EventType::quizClicked, "quiz", JsonValue::parse(R"({"k":)" + inner + "}"));
  }
  sdk_.flushEvents();
  settle();
  const std::vector<EventBatch> batches = api_->batches();
  ASSERT_EQ(batches.size(), 1u);
  const auto& events = batches[0].events;
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].parameters.size(), 1u) << "64 levels are kept";
  EXPECT_TRUE(events[1].parameters.empty());
  EXPECT_TRUE(events[2].parameters.empty());
  EXPECT_EQ(log_.count("Event payload nests deeper than 64 levels; sending the event without it"),
            2u);
}

TEST_F(FacadeTest, AdvertisingIdIsZeroUntilTrackingAllowsIt) {
  std::string id;
  sdk_.getAdvertisingId([&](std::string value) { id = std::move(value); });
  EXPECT_EQ(id, kZeroAdvertisingId);
  fake_.tracking->currentStatus = tracking_status::kAuthorized;
  reach(Stage::initialized);
  sdk_.getAdvertisingId([&](std::string value) { id = std::move(value); });
  EXPECT_EQ(id, fake_.tracking->identifier);
  EXPECT_EQ(sdk_.getSDKVersion(), "1.0.52-rc.2");
}

// A platform that runs background work itself (iOS, on dispatch queues with autorelease pools)
// gets all of the core's background work; one that does not gets the core's own threads.
TEST(SdkEnvironment, BackgroundWorkRunsOnThePlatformsExecutorsWhenItGivesThem) {
  testing::FakePlatform fake;
  PlatformServices services = fake.services();
  auto tasks = std::make_shared<testing::ManualExecutor>();
  auto serial = std::make_shared<testing::ManualExecutor>();
  services.tasks = tasks;
  services.serial = serial;
  SdkEnvironment given = defaultSdkEnvironment(services);
  EXPECT_EQ(given.tasks, tasks);
  EXPECT_EQ(given.serial, serial);

  SdkEnvironment own = defaultSdkEnvironment(fake.services());
  ASSERT_TRUE(own.tasks && own.serial);
  EXPECT_NE(own.tasks, own.serial);
}

}  // namespace
}  // namespace korvane
