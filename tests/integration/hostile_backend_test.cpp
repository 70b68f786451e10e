// A hostile or broken backend: answers nested 100,000 deep, of 100 MiB, without end, of the wrong
// type, not UTF-8, and gzip that inflates without bound. Nothing may crash or buffer without a
// limit, each failure is a clear log line, and the SDK works again once the backend does.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <future>

#include "dev_server.h"
#include "facade_environments.h"
#include "korvane/backend/api_service.h"
#include "korvane/linux/curl_http_client.h"
#include "korvane/linux/linux_device.h"
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
using devserver::HostileAnswer;

// What the SDK must make of an answer.
enum class Outcome {
  tooLarge,       // a transport error of kind other, with the body limit's message
  undecodable,    // a decoding error
  configDropped,  // decodes, without the configuration it cannot read
};

struct HostileCase {
  const char* name;
  HostileAnswer answer;
  Outcome validateAndLogin;
};

const HostileCase kCases[] = {
    {"deepJson", HostileAnswer::deepJson, Outcome::undecodable},
    {"deepConfig", HostileAnswer::deepConfig, Outcome::configDropped},
    {"hugeBody", HostileAnswer::hugeBody, Outcome::tooLarge},
    {"endlessBody", HostileAnswer::endlessBody, Outcome::tooLarge},
    {"wrongContentType", HostileAnswer::wrongContentType, Outcome::undecodable},
    {"invalidUtf8", HostileAnswer::invalidUtf8, Outcome::undecodable},
    {"gzipBomb", HostileAnswer::gzipBomb, Outcome::tooLarge},
};

std::string caseName(const ::testing::TestParamInfo<HostileCase>& info) {
  return info.param.name;
}

template <typename T, typename Call>
Result<T> await(Call&& call) {
  std::promise<Result<T>> promise;
  auto future = promise.get_future();
  call([&promise](Result<T> result) { promise.set_value(std::move(result)); });
  if (future.wait_for(60s) != std::future_status::ready)
    return Error{"test", 0, "no answer in 60 s"};
  return future.get();
}

LoginRequest someLogin() {
  LoginRequest login;
  login.userId = "user-1";
  login.loginInfo = {"user_login", "1.0.52-rc.2", "1",   "S",  "user-1",
                     "D",          "I",           "iOS", "17", JsonValue{{"user_id", "user-1"}}};
  login.deviceInfo = {"D",          "iPhone14,2", std::nullopt, "Apple",
                      "iOS",        "17",         std::nullopt, std::nullopt,
                      std::nullopt, "appstore",   std::nullopt, std::nullopt};
  return login;
}

// The API service over libcurl, endpoint by endpoint.
class HostileBackendApi : public ::testing::TestWithParam<HostileCase> {
 protected:
  void SetUp() override { ASSERT_NE(server_.start(), 0); }

  ApiServiceImpl api() {
    return ApiServiceImpl(server_.baseUrl(),
                          KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret")
                              .setTimeoutMillis(20000)
                              .build(),
                          http_);
  }
  void expectOutcome(const Error& error, Outcome outcome, const std::string& path) {
    if (outcome == Outcome::tooLarge) {
      EXPECT_EQ(error.domain, Error::kUrlLoadingDomain);
      EXPECT_EQ(error.code, -1) << "a transport error of kind other";
      EXPECT_EQ(error.description, responseTooLargeMessage());
      EXPECT_TRUE(log_.mentions("[E/HttpClient] " + responseTooLargeMessage() + ": ") &&
                  log_.mentions(server_.baseUrl() + path))
          << "the log names the limit and the request";
    } else {
      EXPECT_EQ(error.typeName, "DecodingError") << error.domain << " " << error.description;
    }
  }

  testing::LogCapture log_{LogLevel::info};
  DevServer server_;
  std::shared_ptr<linux_host::CurlHttpClient> http_ =
      std::make_shared<linux_host::CurlHttpClient>();
};

TEST_P(HostileBackendApi, EveryEndpointFailsCleanlyAndWorksAgainAfterwards) {
  const HostileCase& c = GetParam();
  ApiServiceImpl service = api();
  server_.setHostileAnswer(c.answer);

  auto validated = await<ValidateAppResponse>([&](auto done) { service.validateApp(done); });
  auto loggedIn = await<LoginResponse>([&](auto done) { service.login(someLogin(), done); });
  if (c.validateAndLogin == Outcome::configDropped) {
    ASSERT_TRUE(validated.ok()) << validated.error().description;
    ASSERT_TRUE(validated.value().app);
    EXPECT_FALSE(validated.value().app->config) << "a configuration it cannot read is dropped";
    ASSERT_TRUE(loggedIn.ok()) << loggedIn.error().description;
  } else {
    ASSERT_FALSE(validated.ok());
    expectOutcome(validated.error(), c.validateAndLogin, "/v1/api/sdk/validate");
    ASSERT_FALSE(loggedIn.ok());
    expectOutcome(loggedIn.error(), c.validateAndLogin, "/v1/api/sdk/login");
  }

  // Content and telemetry: only the configuration case still has records to decode.
  auto missions =
      await<MissionResponse>([&](auto done) { service.getMissions("user-1", "iOS", "I", done); });
  auto batch = await<EventBatchResponse>([&](auto done) {
    service.trackEventBatch(EventBatch{"B1", "2026-01-01T00:00:00Z", "1.0.52-rc.2", "iOS", {}},
                            done);
  });
  if (c.answer == HostileAnswer::deepConfig) {
    EXPECT_TRUE(missions.ok());
    EXPECT_TRUE(batch.ok());
  } else {
    ASSERT_FALSE(missions.ok());
    if (c.validateAndLogin == Outcome::tooLarge)
      expectOutcome(missions.error(), Outcome::tooLarge, "/v1/api/sdk/mission");
    if (c.answer != HostileAnswer::deepJson) {
      ASSERT_FALSE(batch.ok());
      if (c.validateAndLogin == Outcome::tooLarge)
        expectOutcome(batch.error(), Outcome::tooLarge, "/v1/api/sdk/event/batch");
    }
  }

  server_.setHostileAnswer(HostileAnswer::none);
  auto again = await<ValidateAppResponse>([&](auto done) { service.validateApp(done); });
  ASSERT_TRUE(again.ok()) << again.error().description;
  EXPECT_TRUE(again.value().app && again.value().app->config);
  EXPECT_TRUE((await<LoginResponse>([&](auto done) { service.login(someLogin(), done); })).ok());
  EXPECT_TRUE((await<MissionResponse>([&](auto done) {
                service.getMissions("user-1", "iOS", "I", done);
              })).ok());
}

INSTANTIATE_TEST_SUITE_P(Answers, HostileBackendApi, ::testing::ValuesIn(kCases), caseName);

// The limit is on the body as the host would keep it: exactly 16 MiB passes, one byte more does
// not, whatever the wire carried.
TEST(ResponseBodyLimit, ExactlyTheLimitPassesAndOneByteMoreFails) {
  DevServer server;
  ASSERT_NE(server.start(), 0);
  for (const std::size_t size : {kMaxResponseBodyBytes, kMaxResponseBodyBytes + 1}) {
    SCOPED_TRACE(size);
    server.setPage("/pages/body.js", std::string(size, 'x'));
    linux_host::CurlHttpClient http;
    HttpRequest request;
    request.url = server.baseUrl() + "/pages/body.js";
    std::promise<HttpResult> promise;
    http.send(request, [&](HttpResult r) { promise.set_value(std::move(r)); });
    const HttpResult result = promise.get_future().get();
    if (size == kMaxResponseBodyBytes) {
      ASSERT_TRUE(std::holds_alternative<HttpResponse>(result));
      EXPECT_EQ(std::get<HttpResponse>(result).body.size(), size);
    } else {
      ASSERT_TRUE(std::holds_alternative<TransportError>(result));
      EXPECT_EQ(std::get<TransportError>(result).kind, TransportErrorKind::other);
      EXPECT_EQ(std::get<TransportError>(result).platformMessage, responseTooLargeMessage());
    }
  }
}

// The app key and secret go only to the origin they were meant for: a redirect elsewhere (another
// port, another host name for the same machine) ends the call before anything reaches it.
TEST(Redirects, CredentialsStayWithinTheRequestsOrigin) {
  DevServer backend;
  DevServer elsewhere;
  ASSERT_NE(backend.start(), 0);
  ASSERT_NE(elsewhere.start(), 0);
  backend.setPage("/pages/target.html", "target");
  elsewhere.setPage("/pages/target.html", "target");
  const std::string otherHost = "http://localhost:" + std::to_string(backend.port());
  const struct {
    std::string location;
    bool followed;
  } cases[] = {{backend.baseUrl() + "/pages/target.html", true},
               {elsewhere.baseUrl() + "/pages/target.html", false},
               {otherHost + "/pages/target.html", false}};
  testing::LogCapture quiet{LogLevel::none};
  linux_host::CurlHttpClient http;
  ApiServiceImpl service(backend.baseUrl(), KorvaneSdkConfig::Builder("key", "secret").build(),
                         nullptr);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.location);
    backend.clearRequests();
    elsewhere.clearRequests();
    backend.setRedirect("/pages/away.html", c.location);
    std::promise<HttpResult> promise;
    http.send(service.createRequest(backend.baseUrl() + "/pages/away.html", "GET"),
              [&](HttpResult r) { promise.set_value(std::move(r)); });
    const HttpResult result = promise.get_future().get();
    const auto* response = std::get_if<HttpResponse>(&result);
    EXPECT_EQ(response && response->body == "target", c.followed);
    std::size_t credentialsSeen = 0;
    for (const auto* server : {&backend, &elsewhere})
      for (const devserver::RecordedRequest& r : server->requestsTo("/pages/target.html"))
        credentialsSeen += r.header("x-korvane-app-secret") == "secret";
    EXPECT_EQ(credentialsSeen, c.followed ? 1u : 0u);
    if (!c.followed) {
      ASSERT_TRUE(std::holds_alternative<TransportError>(result));
      EXPECT_EQ(std::get<TransportError>(result).kind, TransportErrorKind::other);
    }
  }
}

class ListenerOutcome final : public KorvaneSdkLoginListener {
 public:
  void onSuccess() override { outcome.set_value("success"); }
  void onFailure(KorvaneLoginError error) override { outcome.set_value(description(error)); }
  std::promise<std::string> outcome;
};

template <typename Predicate>
bool eventually(Predicate done, std::chrono::milliseconds timeout = 30s) {
  const auto until = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

// The whole SDK through the facade: the hostile backend refuses initialisation, login, content
// and event batches; once it behaves, initialise, login, content and sending all work, and the
// events of the failed batch arrive.
class HostileBackendSdk : public ::testing::TestWithParam<HostileCase> {
 protected:
  void SetUp() override {
    ASSERT_NE(server_.start(), 0);
    fs::remove_all(data_);
    SdkEnvironment environment =
        testing::linuxEnvironment(data_, loop_.mainThread(), "SESSION-HOSTILE");
    environment.platform.lifecycle = nullptr;
    KorvaneSdkTestAccess::reset(sdk_, std::move(environment));
  }
  void TearDown() override {
    testing::idleFacade(sdk_, linux_host::makePlatformServices(data_));
    std::error_code ignored;
    fs::remove_all(data_, ignored);
  }
  void initialize() {
    sdk_.initialize(KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret")
                        .setApiBaseUrl(server_.baseUrl())
                        .setTimeoutMillis(20000)
                        .build());
  }
  std::string login(const std::string& userId) {
    auto listener = std::make_shared<ListenerOutcome>();
    auto outcome = listener->outcome.get_future();
    sdk_.login(KorvaneSdkUser(userId), listener);
    return outcome.wait_for(60s) == std::future_status::ready ? outcome.get() : "timed out";
  }
  bool loadMissions() {
    auto missions = KorvaneMission::create();
    std::promise<bool> loaded;
    missions->load(
        [&](const std::vector<Mission>& m, MissionProgress) { loaded.set_value(!m.empty()); },
        [&](KorvaneAdError) { loaded.set_value(false); });
    return loaded.get_future().get();
  }
  std::size_t delivered(const std::string& name) const {
    std::size_t count = 0;
    for (const TrackEventRequest& e : server_.deliveredEvents())
      for (const auto& [key, value] : e.parameters) count += key == "event_name" && value == name;
    return count;
  }

  testing::LogCapture log_{LogLevel::info};
  KorvaneSdk& sdk_ = KorvaneSdk::shared();
  DevServer server_;
  testing::MainLoopThread loop_;
  fs::path data_ = fs::temp_directory_path() / ("korvane-hostile-" + std::to_string(::getpid()));
};

TEST_P(HostileBackendSdk, TheSdkKeepsWorkingOnceTheBackendRecovers) {
  const HostileCase& c = GetParam();
  server_.setHostileAnswer(c.answer);
  initialize();
  if (c.validateAndLogin == Outcome::configDropped) {
    ASSERT_TRUE(eventually([&] { return sdk_.isInitialized(); }));
    EXPECT_FALSE(sdk_.validatedAppData()->config);
  } else {
    ASSERT_TRUE(
        eventually([&] { return log_.mentions("[E/KorvaneSdk] SDK validation failed: "); }));
    EXPECT_FALSE(sdk_.isInitialized());
    server_.setHostileAnswer(HostileAnswer::none);
    initialize();
    ASSERT_TRUE(eventually([&] { return sdk_.isInitialized(); }));
    server_.setHostileAnswer(c.answer);
    // A failed login call still signs the user in, as the SDK does on any failure; it says why.
    EXPECT_EQ(login("user-1"), "success");
    EXPECT_TRUE(log_.mentions(
        "[W/KorvaneSdk] Login failed but continuing: " +
        (c.validateAndLogin == Outcome::tooLarge ? responseTooLargeMessage() : std::string())));
    server_.setHostileAnswer(HostileAnswer::none);
  }
  ASSERT_EQ(login("user-1"), "success");

  // Content and a batch of events against the hostile backend, then against the healthy one.
  server_.setHostileAnswer(c.answer);
  if (c.answer != HostileAnswer::deepConfig) {
    EXPECT_FALSE(loadMissions());
  }
  const auto batches = [&] { return server_.requestsTo("/v1/api/sdk/event/batch").size(); };
  const std::size_t batchesBefore = batches();
  sdk_.trackCustomEvent("sent_while_hostile", "harness", JsonValue::object());
  // Once recorded, the request has its hostile answer, whatever the mode is set to next.
  ASSERT_TRUE(eventually([&] {
    sdk_.flushEvents();
    return batches() > batchesBefore;
  }));
  server_.setHostileAnswer(HostileAnswer::none);
  EXPECT_TRUE(loadMissions());
  ASSERT_TRUE(eventually([&] {
    sdk_.trackCustomEvent("sent_after_recovery", "harness", JsonValue::object());
    sdk_.flushEvents();
    return server_.waitForEvents(1, 500ms) && delivered("sent_after_recovery") > 0;
  }));
  EXPECT_TRUE(eventually([&] {
    sdk_.flushEvents();
    return delivered("sent_while_hostile") > 0;
  })) << "the failed batch's events are sent once the backend answers";
}

INSTANTIATE_TEST_SUITE_P(Answers, HostileBackendSdk, ::testing::ValuesIn(kCases), caseName);

}  // namespace
}  // namespace korvane
