// Device identity, model names, install source, the advertising-identifier flow, login assembly.
#include <gtest/gtest.h>

#include "backend/network_manager.h"
#include "backend/record_codec.h"
#include "fake_platform.h"
#include "korvane/backend/device_utils.h"
#include "korvane/platform/auth_interceptor_rules.h"
#include "korvane/platform/sdk_defaults.h"
#include "log_capture.h"
#include "memory_key_value_store.h"
#include "scripted_api.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;
using testing::FakePlatform;
using testing::LogCapture;

constexpr const char* kRealId = "6D92078A-8246-4BA4-AE5B-76104861E7DC";

TEST(DeviceUtils, DeviceIdIsReadOnceMadeOnceAndKept) {
  LogCapture capture(LogLevel::debug);
  FakePlatform platform;
  auto device = DeviceUtils::create(platform.services());
  const std::string made = device->getDeviceId();
  EXPECT_EQ(platform.userDefaults->getString("device_id"), made);
  EXPECT_TRUE(capture.contains("[D/DeviceUtils] Generated new device ID: " + made));
  platform.userDefaults->setString("device_id", "CHANGED");
  EXPECT_EQ(device->getDeviceId(), made) << "cached for the process";
  EXPECT_EQ(DeviceUtils::create(platform.services())->getDeviceId(), "CHANGED")
      << "a new process reads the store";
  platform.userDefaults->remove("device_id");
  const std::string fresh = DeviceUtils::create(platform.services())->getDeviceId();
  EXPECT_NE(fresh, made);
  EXPECT_EQ(fresh.size(), 36u);
}

TEST(DeviceUtils, ModelNamesAndInstallSource) {
  struct Case {
    std::optional<std::string> hardware;
    std::string model, name;
  };
  const Case cases[] = {{"iPhone14,2", "iPhone14,2", "iPhone 13 Pro"},
                        {"iPhone16,1", "iPhone16,1", "iPhone 15 Pro"},
                        {"iPad14,5", "iPad14,5", "iPad Pro 12.9-inch (6th generation)"},
                        {"iPhone11,2", "iPhone11,2", "iPhone11,2"},
                        {"Simulator", "Simulator", "iPhone"},
                        {"arm64", "arm64", "iPhone"},
                        {"x86_64", "x86_64", "iPhone"},
                        {std::nullopt, "iPhone", "iPhone"}};
  for (const Case& c : cases) {
    FakePlatform platform;
    platform.device->hardware = c.hardware;
    auto device = DeviceUtils::create(platform.services());
    EXPECT_EQ(device->getDeviceModel(), c.model);
    EXPECT_EQ(device->getDeviceModelName(), c.name) << c.model;
  }
  const std::pair<std::optional<std::string>, std::string> receipts[] = {
      {std::nullopt, "appstore"},
      {"/var/mobile/Containers/Data/Application/X/StoreKit/sandboxReceipt", "testflight"},
      {"/var/mobile/Containers/Data/Application/X/StoreKit/receipt", "appstore"}};
  for (const auto& [receipt, source] : receipts) {
    FakePlatform platform;
    platform.device->receipt = receipt;
    EXPECT_EQ(DeviceUtils::create(platform.services())->getInstallSource(), source);
  }
}

TEST(DeviceUtils, DeviceInfoOmitsWhatTheDeviceCannotTell) {
  FakePlatform platform;
  platform.device->region.reset();
  platform.device->screen.reset();
  platform.userDefaults->setString("device_id", "DEV");
  const DeviceInfo info = DeviceUtils::create(platform.services())->makeDeviceInfo();
  EXPECT_EQ(
      json::dump(toJson(info)),
      R"({"deviceId":"DEV","deviceModel":"iPhone14,2","deviceModelName":"iPhone 13 Pro","manufacturer":"Apple",)"
      R"("platform":"iOS","osVersion":"17.4","ifa":"00000000-0000-0000-0000-000000000000","language":"ko",)"
      R"("installer":"appstore"})");
}

// The launch initialisation and the authorization flow, driven through the fakes.
struct AdIdCase {
  const char* name;
  long statusAtLaunch;
  AppState stateAtLaunch;
  std::string cachedAfterLaunch;
  bool schedulesFlow;
  long promptAnswer;  // what the person answers when a prompt appears (-1: no prompt expected)
  std::string cachedAtEnd;
};

class AdvertisingIdFlow : public ::testing::TestWithParam<AdIdCase> {};

TEST_P(AdvertisingIdFlow, CachesWhatThePermissionAllows) {
  const AdIdCase& c = GetParam();
  LogCapture capture(LogLevel::verbose);
  FakePlatform platform;
  platform.tracking->currentStatus = c.statusAtLaunch;
  platform.lifecycle->currentState = c.stateAtLaunch;
  auto device = DeviceUtils::create(platform.services());
  EXPECT_EQ(device->getAdvertisingId(), kZeroAdvertisingId) << "nothing cached before launch";

  device->initializeAdvertisingIdSync();
  EXPECT_TRUE(device->isAdvertisingIdInitialized());
  EXPECT_EQ(device->getAdvertisingId(), c.cachedAfterLaunch);
  EXPECT_EQ(platform.mainThread->pendingDelays(),
            c.schedulesFlow ? std::vector<std::chrono::milliseconds>{500ms}
                            : std::vector<std::chrono::milliseconds>{});

  if (c.statusAtLaunch == tracking_status::kAuthorized && c.schedulesFlow) {
    platform.tracking->identifier = kRealId;  // the system has an identifier by the retry
  }
  platform.mainThread->advance(499ms);
  EXPECT_EQ(platform.tracking->prompts, 0) << "not before half a second";
  platform.mainThread->advance(1ms);
  if (c.stateAtLaunch != AppState::active) {
    EXPECT_EQ(platform.tracking->prompts, 0) << "waits for the app to become active";
    platform.lifecycle->send(AppLifecycleEvent::didBecomeActive);
    platform.mainThread->runUntilIdle();
    EXPECT_EQ(platform.lifecycle->observerCount(), 0u) << "the observer fires once";
  }
  if (c.promptAnswer >= 0) {
    ASSERT_EQ(platform.tracking->prompts, 1);
    platform.tracking->answer(c.promptAnswer);
  } else {
    EXPECT_EQ(platform.tracking->prompts, 0);
  }
  EXPECT_EQ(device->getAdvertisingId(), c.cachedAtEnd);
  for (const std::string& line : capture.lines()) {
    const std::size_t at = line.find("6D92078A");
    if (at != std::string::npos) {
      EXPECT_EQ(line.substr(at), "6D92078A...") << "only 8 characters are logged";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, AdvertisingIdFlow,
    ::testing::Values(
        AdIdCase{"Denied", tracking_status::kDenied, AppState::active, kZeroAdvertisingId, false,
                 -1, kZeroAdvertisingId},
        AdIdCase{"Restricted", tracking_status::kRestricted, AppState::active, kZeroAdvertisingId,
                 false, -1, kZeroAdvertisingId},
        AdIdCase{"Authorized", tracking_status::kAuthorized, AppState::active, kRealId, false, -1,
                 kRealId},
        AdIdCase{"FirstLaunchGranted", tracking_status::kNotDetermined, AppState::active,
                 kZeroAdvertisingId, true, tracking_status::kAuthorized, kRealId},
        AdIdCase{"FirstLaunchDenied", tracking_status::kNotDetermined, AppState::active,
                 kZeroAdvertisingId, true, tracking_status::kDenied, kZeroAdvertisingId},
        AdIdCase{"LaunchedInBackground", tracking_status::kNotDetermined, AppState::background,
                 kZeroAdvertisingId, true, tracking_status::kAuthorized, kRealId},
        AdIdCase{"UnknownStatus", 7, AppState::active, kZeroAdvertisingId, false, -1,
                 kZeroAdvertisingId}),
    [](const auto& param) { return std::string(param.param.name); });

TEST(DeviceUtils, AuthorizedButZeroIsRetriedAndThenCachesTheRealIdentifier) {
  FakePlatform platform;
  platform.tracking->currentStatus = tracking_status::kAuthorized;
  platform.tracking->identifier = kZeroAdvertisingId;
  auto device = DeviceUtils::create(platform.services());
  LogCapture capture(LogLevel::verbose);
  device->initializeAdvertisingIdSync();
  EXPECT_TRUE(capture.contains("[W/DeviceUtils] [SYNC] Authorized but got zero ID, will retry"));
  EXPECT_EQ(device->getAdvertisingId(), kZeroAdvertisingId);
  platform.tracking->identifier = kRealId;
  platform.mainThread->advance(500ms);
  EXPECT_EQ(device->getAdvertisingId(), kRealId);
  // "IDFA: <id>" is a credential-like pair, so the scrubber masks even the 8 characters.
  EXPECT_TRUE(
      capture.contains("[I/DeviceUtils] [ATT] Already authorized, updating cache with IDFA: ***"));
  EXPECT_EQ(platform.tracking->prompts, 0);
}

// A request the system answers without a prompt (another prompt was pending) leaves the question
// open: it is asked again at the next activation, once, until the person answers.
TEST(DeviceUtils, APromptTheSystemSuppressedIsAskedAgainAtTheNextActivation) {
  LogCapture capture(LogLevel::info);
  FakePlatform platform;
  auto device = DeviceUtils::create(platform.services());
  device->initializeAdvertisingIdSync();
  platform.mainThread->advance(500ms);
  ASSERT_EQ(platform.tracking->prompts, 1);
  platform.tracking->answer(tracking_status::kNotDetermined);
  platform.mainThread->runUntilIdle();
  EXPECT_TRUE(capture.contains(
      "[I/DeviceUtils] [ATT] Prompt not shown, will retry when app becomes active"));
  EXPECT_EQ(platform.tracking->prompts, 1) << "not while the app stays active";

  for (int activation = 1; activation <= 2; ++activation) {
    platform.lifecycle->send(AppLifecycleEvent::didEnterBackground);
    platform.lifecycle->send(AppLifecycleEvent::didBecomeActive);
    platform.mainThread->runUntilIdle();
    ASSERT_EQ(platform.tracking->prompts, 1 + activation);
    if (activation == 1) platform.tracking->answer(tracking_status::kNotDetermined);
    platform.mainThread->runUntilIdle();
  }
  platform.tracking->answer(tracking_status::kAuthorized);
  platform.mainThread->runUntilIdle();
  EXPECT_EQ(device->getAdvertisingId(), kRealId);
  platform.lifecycle->send(AppLifecycleEvent::didBecomeActive);
  platform.mainThread->runUntilIdle();
  EXPECT_EQ(platform.tracking->prompts, 3) << "an answered question is not asked again";
  EXPECT_EQ(platform.lifecycle->observerCount(), 0u);
}

TEST(NetworkManager, LoginAssemblesTheEventAndTheDeviceDescription) {
  FakePlatform platform;
  platform.clock->set(
      std::chrono::system_clock::time_point(std::chrono::milliseconds(1700000000123)));
  platform.userDefaults->setString("device_id", "DEV");
  auto device = DeviceUtils::create(platform.services());
  NetworkManager manager("SESSION-1");

  std::optional<Error> notReady;
  manager.login("u1", "user_login", "F", 1990, "authentication", JsonValue{{"user_id", "u1"}},
                *device, *platform.clock, [&](auto r) { notReady = r.error(); });
  EXPECT_EQ(notReady->description, "Network manager not initialized");

  auto api = std::make_shared<testing::ScriptedApi>();
  manager.initialize(api);
  manager.initialize(
      std::make_shared<testing::ScriptedApi>());  // a second initialisation changes nothing
  bool answered = false;
  manager.login("u1", "user_login", "F", 1990, "authentication", JsonValue{{"user_id", "u1"}},
                *device, *platform.clock, [&](auto r) { answered = r.ok(); });
  ASSERT_TRUE(answered);
  ASSERT_TRUE(api->lastLogin().has_value());
  const json::Json body = toJson(*api->lastLogin());
  EXPECT_EQ(body["userId"], "u1");
  EXPECT_EQ(body["gender"], "F");
  EXPECT_EQ(body["birthYear"], "1990");
  EXPECT_EQ(
      json::dump(body["loginInfo"]),
      R"({"name":"user_login","sdkVersion":"1.0.52-rc.2","timestamp":"1700000000123","sessionId":"SESSION-1",)"
      R"("userId":"u1","deviceId":"DEV","ifa":"00000000-0000-0000-0000-000000000000","platform":"iOS",)"
      R"("osVersion":"17.4","parameters":{"user_id":"u1","category":"authentication"}})");
  EXPECT_EQ(body["deviceInfo"]["deviceModelName"], "iPhone 13 Pro");
}

// A second start with corrected keys reaches the backend with them; the same keys keep the
// service, and a given service stays whatever the configuration.
TEST(NetworkManager, ANewServiceOnlyForOtherKeysOrAnotherBackend) {
  const auto config = [](const char* secret, const char* base) {
    return KorvaneSdkConfig::Builder("key", secret).setApiBaseUrl(base).build();
  };
  const struct {
    KorvaneSdkConfig second;
    bool replaced;
  } cases[] = {{config("wrong", "https://a.example"), false},
               {config("right", "https://a.example"), true},
               {config("wrong", "https://b.example"), true},
               {config("wrong", "not a url"), false}};
  auto http = std::make_shared<testing::FakeHttpClient>();
  testing::LogCapture quiet{LogLevel::none};
  for (const auto& c : cases) {
    NetworkManager manager("S");
    manager.initialize(config("wrong", "https://a.example"), http);
    const std::shared_ptr<ApiService> first = manager.apiService().value();
    manager.initialize(c.second, http);
    EXPECT_EQ(manager.apiService().value() != first, c.replaced) << c.second.apiBaseUrl();
  }
  NetworkManager given("S");
  auto api = std::make_shared<testing::ScriptedApi>();
  given.initialize(api);
  given.initialize(config("right", "https://a.example"), http);
  EXPECT_EQ(given.apiService().value(), api);
}

TEST(AuthInterceptor, TakesBackendRequestsOnceAndSetsCredentialsAndAgent) {
  const std::tuple<std::optional<std::string>, bool, bool> cases[] = {
      {"https://api.korvane.io/v1/api/sdk/validate", false, true},
      {"https://cdn.korvane.io/x.png", false, true},
      {"https://api.korvane.io/v1", true, false},
      {"https://korvane.io/", false, false},
      {"https://api.korvane.io:8443/v1", false, true},
      {"https://example.com/?next=a.korvane.io", false, false},
      {"https://example.com/a.korvane.io/", false, false},
      {"https://api.korvane.io.example.com/", false, false},
      {"https://a.korvane.io@example.com/", false, false},
      {std::nullopt, false, false}};
  for (const auto& [url, marked, taken] : cases)
    EXPECT_EQ(auth_interceptor::shouldIntercept(url, marked), taken) << url.value_or("(none)");

  HttpRequest request;
  request.headers = {{"user-agent", "Other/1"}, {"Accept", "*/*"}};
  auth_interceptor::decorate(request, KorvaneSdkConfig::Builder("k", "s").build());
  EXPECT_EQ(request.headers, (HttpHeaders{{"user-agent", "KorvaneSDK/1.0.52-rc.2"},
                                          {"Accept", "*/*"},
                                          {"x-korvane-app-key", "k"},
                                          {"x-korvane-app-secret", "s"}}));
  HttpRequest bare;
  auth_interceptor::decorate(bare, std::nullopt);
  EXPECT_EQ(bare.headers, (HttpHeaders{{"User-Agent", "KorvaneSDK/1.0.52-rc.2"}}));
}

// The SDK's keys leave the app's defaults once: what the app keeps there is never touched, a
// value the SDK's own store already has wins, and later changes in the app's defaults (the app's
// own key of the same name) are never read again.
TEST(SdkDefaultsStore, MovesTheSdkKeysOutOfTheAppsDefaultsOnce) {
  const std::string kOldDevice = "6D92078A-8246-4BA4-AE5B-76104861E7DC";
  struct Case {
    const char* name;
    std::map<std::string, std::string> app;
    std::map<std::string, std::string> own;
    std::map<std::string, std::optional<std::string>> expected;
  };
  const std::vector<Case> cases = {
      {"first launch after the update",
       {{"device_id", kOldDevice}, {"currentUserId", "u1"}, {"theme", "dark"}},
       {},
       {{"device_id", kOldDevice}, {"currentUserId", "u1"}, {"theme", std::nullopt}}},
      {"the app's own device_id, not an id the SDK made",
       {{"device_id", "app-device-42"}},
       {},
       {{"device_id", std::nullopt}}},
      {"lower-case UUID, not an id the SDK made",
       {{"device_id", "6d92078a-8246-4ba4-ae5b-76104861e7dc"}},
       {},
       {{"device_id", std::nullopt}}},
      {"own store already holds a value",
       {{"device_id", "OLD-DEVICE"}, {"currentUserId", "u1"}},
       {{"device_id", "OWN-DEVICE"}},
       {{"device_id", "OWN-DEVICE"}, {"currentUserId", "u1"}}},
      {"already moved on an earlier launch (logged out since)",
       {{"device_id", "APP-OWN"}, {"currentUserId", "app's own"}},
       {{SdkDefaultsStore::kMovedMarkerKey, "1"}, {"device_id", "OWN-DEVICE"}},
       {{"device_id", "OWN-DEVICE"}, {"currentUserId", std::nullopt}}},
      {"fresh install", {}, {}, {{"device_id", std::nullopt}, {"currentUserId", std::nullopt}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto app = std::make_shared<testing::MemoryKeyValueStore>();
    auto own = std::make_shared<testing::MemoryKeyValueStore>();
    for (const auto& [key, value] : c.app) app->setString(key, value);
    for (const auto& [key, value] : c.own) own->setString(key, value);
    SdkDefaultsStore store(own, app);
    for (const auto& [key, value] : c.expected) EXPECT_EQ(store.getString(key), value) << key;
    // The app's defaults are only read.
    for (const auto& [key, value] : c.app) EXPECT_EQ(app->getString(key), value) << key;
    // Logging out removes the id from the SDK's store only, and the app's key stays unread.
    store.remove("currentUserId");
    EXPECT_EQ(store.getString("currentUserId"), std::nullopt);
    SdkDefaultsStore nextLaunch(own, app);
    EXPECT_EQ(nextLaunch.getString("currentUserId"), std::nullopt);
  }
}

// The device identifier made before the update survives it, and a new one is written to the
// SDK's store alone.
TEST(SdkDefaultsStore, DeviceIdSurvivesTheMoveAndNewOnesStayOutOfTheAppsDefaults) {
  FakePlatform platform;
  auto app = std::make_shared<testing::MemoryKeyValueStore>();
  app->setString("device_id", kRealId);
  PlatformServices updated = platform.services();
  updated.userDefaults =
      std::make_shared<SdkDefaultsStore>(std::make_shared<testing::MemoryKeyValueStore>(), app);
  EXPECT_EQ(DeviceUtils::create(updated)->getDeviceId(), kRealId);

  auto untouched = std::make_shared<testing::MemoryKeyValueStore>();
  PlatformServices fresh = platform.services();
  fresh.userDefaults = std::make_shared<SdkDefaultsStore>(
      std::make_shared<testing::MemoryKeyValueStore>(), untouched);
  EXPECT_EQ(DeviceUtils::create(fresh)->getDeviceId().size(), 36u);
  EXPECT_EQ(untouched->getString("device_id"), std::nullopt);
}

}  // namespace
}  // namespace korvane
