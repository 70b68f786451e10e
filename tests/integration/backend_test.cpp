// The libcurl transport against the local backend on 127.0.0.1: every endpoint on the wire,
// refusals, and transport failures mapped to the neutral kinds.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "backend/record_codec.h"
#include "dev_server.h"
#include "korvane/backend/api_service.h"
#include "korvane/linux/curl_http_client.h"
#include "log_capture.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;
using devserver::DevServer;
using devserver::Fault;

// Runs an asynchronous API call and waits for its result.
template <typename T, typename Call>
Result<T> await(Call&& call) {
  std::promise<Result<T>> promise;
  auto future = promise.get_future();
  call([&promise](Result<T> result) { promise.set_value(std::move(result)); });
  if (future.wait_for(30s) != std::future_status::ready)
    return Error{"test", 0, "no answer in 30 s"};
  return future.get();
}

class BackendTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(server_.start(), 0);
    http_ = std::make_shared<linux_host::CurlHttpClient>();
  }

  ApiServiceImpl api(const std::string& key = "demo-app-key",
                     const std::string& secret = "demo-app-secret",
                     std::int64_t timeoutMillis = 5000) {
    return ApiServiceImpl(
        server_.baseUrl(),
        KorvaneSdkConfig::Builder(key, secret).setTimeoutMillis(timeoutMillis).build(), http_);
  }

  testing::LogCapture quiet_{LogLevel::none};
  DevServer server_;
  std::shared_ptr<linux_host::CurlHttpClient> http_;
};

void expectCommonHeaders(const devserver::RecordedRequest& r) {
  EXPECT_EQ(r.header("Content-Type"), "application/json");
  EXPECT_EQ(r.header("x-korvane-app-key"), "demo-app-key");
  EXPECT_EQ(r.header("x-korvane-app-secret"), "demo-app-secret");
  EXPECT_EQ(r.header("x-korvane-sdk-version"), "1.0.52-rc.2");
  EXPECT_EQ(r.header("x-korvane-platform"), "iOS");
}

TEST_F(BackendTest, EveryEndpointOnTheWire) {
  ApiServiceImpl service = api();

  auto validated = await<ValidateAppResponse>([&](auto done) { service.validateApp(done); });
  ASSERT_TRUE(validated.ok()) << validated.error().description;
  ASSERT_TRUE(validated.value().app.has_value());
  EXPECT_EQ(validated.value().app->korvaneHubUrl, server_.baseUrl() + "/offerwall/");
  EXPECT_EQ(validated.value().app->config->at("rewardName"), "포인트");

  LoginRequest login;
  login.userId = "user-1";
  login.gender = "M";
  login.loginInfo = {"user_login", "1.0.52-rc.2", "1",   "S",  "user-1",
                     "D",          "I",           "iOS", "17", JsonValue{{"user_id", "user-1"}}};
  login.deviceInfo = {"D",          "iPhone14,2", std::nullopt, "Apple",
                      "iOS",        "17",         std::nullopt, std::nullopt,
                      std::nullopt, "appstore",   std::nullopt, std::nullopt};
  auto loggedIn = await<LoginResponse>([&](auto done) { service.login(login, done); });
  ASSERT_TRUE(loggedIn.ok()) << loggedIn.error().description;
  ASSERT_TRUE(loggedIn.value().user.has_value()) << server_.requests().back().status;
  EXPECT_EQ(loggedIn.value().user->userId, "user-1");

  auto quiz = await<QuizResponse>(
      [&](auto done) { service.getQuiz(std::nullopt, std::nullopt, "ZERO", done); });
  ASSERT_TRUE(quiz.ok()) << quiz.error().description;
  EXPECT_EQ(quiz.value().events.size(), 2u);
  auto missions =
      await<MissionResponse>([&](auto done) { service.getMissions("user 1", "iOS", "I", done); });
  ASSERT_TRUE(missions.ok()) << missions.error().description;
  EXPECT_EQ(missions.value().events.size(), 3u);
  auto banner = await<BannerInfoResponse>(
      [&](auto done) { service.getBannerInfo("u", "top&1", "iOS", done); });
  ASSERT_TRUE(banner.ok());
  auto placement =
      await<PlacementUrlResponse>([&](auto done) { service.getPlacementUrl("wall-1", done); });
  ASSERT_TRUE(placement.ok());
  EXPECT_EQ(placement.value().url, server_.baseUrl() + "/offerwall/?placement=wall-1");

  TrackEventRequest event{
      "quiz_clicked", "1.0.52-rc.2", "2026-01-01 09:00:00", "S", std::nullopt, "D", "I",
      "iOS",          "17",          {{"quizId", "q1"}}};
  EXPECT_TRUE((await<Unit>([&](auto done) { service.trackEvent(event, done); })).ok());
  EventBatch batch{"B1", "2026-01-01T00:00:00Z", "1.0.52-rc.2", "iOS", {event, event}};
  auto accepted =
      await<EventBatchResponse>([&](auto done) { service.trackEventBatch(batch, done); });
  ASSERT_TRUE(accepted.ok()) << accepted.error().description;
  EXPECT_EQ(accepted.value().processedCount, 2);

  const auto requests = server_.requests();
  ASSERT_EQ(requests.size(), 8u);
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"GET", "/v1/api/sdk/validate"},
      {"POST", "/v1/api/sdk/login"},
      {"GET", "/v1/api/sdk/quiz?ifa=ZERO"},
      {"GET", "/v1/api/sdk/mission?userId=user%201&platform=iOS&ifa=I"},
      {"GET", "/v1/api/sdk/banner?userId=u&placementId=top%261&platform=iOS"},
      {"GET", "/v1/api/sdk/placement-url?placementId=wall-1"},
      {"POST", "/v1/api/sdk/event"},
      {"POST", "/v1/api/sdk/event/batch"}};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE(expected[i].second);
    EXPECT_EQ(requests[i].method, expected[i].first);
    EXPECT_EQ(requests[i].target, expected[i].second);
    EXPECT_EQ(requests[i].status, 200);
    expectCommonHeaders(requests[i]);
    if (requests[i].method == "POST") {
      EXPECT_EQ(requests[i].header("Content-Encoding"), "gzip");
    } else {
      EXPECT_EQ(requests[i].header("Content-Encoding"), std::nullopt);
      EXPECT_TRUE(requests[i].rawBody.empty());
    }
  }
  EXPECT_EQ(requests[1].body, json::dump(toJson(login)));
  EXPECT_EQ(requests[6].body, json::dump(toJson(event)));
  EXPECT_EQ(requests[7].body, json::dump(toJson(batch)));
  EXPECT_EQ(server_.deliveredEvents().size(), 3u);
}

TEST_F(BackendTest, RefusedAppsDecodeOrNotAsTheBackendAnswers) {
  ApiServiceImpl stranger = api("unknown-key", "x");
  auto refused = await<ValidateAppResponse>([&](auto done) { stranger.validateApp(done); });
  ASSERT_TRUE(refused.ok()) << "a JSON refusal is an answer, not an error";
  EXPECT_FALSE(refused.value().success);
  EXPECT_EQ(refused.value().message, "Invalid app key or secret");
  EXPECT_EQ(server_.requests().back().status, 401);

  ApiServiceImpl wrongSecret = api("demo-app-key", "wrong");
  server_.setUndecodableRefusals(true);
  auto undecodable = await<ValidateAppResponse>([&](auto done) { wrongSecret.validateApp(done); });
  ASSERT_FALSE(undecodable.ok());
  EXPECT_EQ(undecodable.error().code, 401) << "a refusal of the keys, read or not";
}

TEST_F(BackendTest, InjectedFaultsReachTheCallerAsTheRightKinds) {
  struct Case {
    const char* name;
    Fault fault;
    std::int64_t timeoutMillis;
    std::string domain;
    long code;
  };
  const Case cases[] = {
      {"5xx", Fault{503, 0ms, false, false, 1}, 5000, "ApiService", 503},
      {"429", Fault{429, 0ms, false, false, 1}, 5000, "ApiService", 429},
      {"timeout", Fault{0, 1500ms, false, false, 1}, 300, "NSURLErrorDomain", -1001},
      {"dropped", Fault{0, 0ms, true, false, 1}, 5000, "NSURLErrorDomain", -1005},
      {"garbage", Fault{0, 0ms, false, true, 1}, 5000, "NSCocoaErrorDomain", 4864},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    server_.setFault("/v1/api/sdk/event/batch", c.fault);
    ApiServiceImpl service = api("demo-app-key", "demo-app-secret", c.timeoutMillis);
    auto result =
        await<EventBatchResponse>([&](auto done) { service.trackEventBatch(EventBatch{}, done); });
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().domain, c.domain);
    EXPECT_EQ(result.error().code, c.code);
  }
  ApiServiceImpl service = api();
  EXPECT_TRUE((await<EventBatchResponse>([&](auto done) {
                service.trackEventBatch(EventBatch{}, done);
              })).ok())
      << "each fault was injected once";
}

// Pages, redirects, attacker pages and the web app's files misbehave as the endpoints do: late,
// with a status, or with the connection dropped mid-body; a redirect may answer late.
TEST_F(BackendTest, PagesRedirectsAndFilesTakeFaultsToo) {
  const auto get = [&](const std::string& path, std::chrono::milliseconds timeout) {
    HttpRequest request;
    request.url = server_.baseUrl() + path;
    request.timeout = timeout;
    std::promise<HttpResult> promise;
    http_->send(request, [&](HttpResult r) { promise.set_value(std::move(r)); });
    return promise.get_future().get();
  };
  const auto body = [](const HttpResult& result) {
    const auto* response = std::get_if<HttpResponse>(&result);
    return response ? std::to_string(response->status) + " " + response->body : "no response";
  };
  const auto failure = [](const HttpResult& result) {
    const auto* error = std::get_if<TransportError>(&result);
    return error ? std::optional(error->kind) : std::nullopt;
  };
  server_.setPage("/pages/target.html", "target");
  server_.setRedirect("/pages/away.html", server_.baseUrl() + "/pages/target.html");
  server_.setRedirect("/pages/slow-away.html", server_.baseUrl() + "/pages/target.html", 1500ms);
  EXPECT_EQ(body(get("/pages/away.html", 5s)), "200 target");
  EXPECT_EQ(failure(get("/pages/slow-away.html", 300ms)), TransportErrorKind::timedOut);
  EXPECT_EQ(body(get("/pages/slow-away.html", 5s)), "200 target");

  server_.setDelay("/hostile/attack.html", 1500ms);
  EXPECT_EQ(failure(get("/hostile/attack.html", 300ms)), TransportErrorKind::timedOut);
  server_.setFault("/offerwall/index.html", Fault{503, 0ms, false, false, 1});
  EXPECT_EQ(body(get("/offerwall/index.html", 5s)).substr(0, 4), "503 ");
  EXPECT_EQ(body(get("/offerwall/index.html", 5s)).substr(0, 4), "200 ");
  server_.setFault("/pages/target.html", Fault{0, 0ms, true, false, 1});
  EXPECT_EQ(failure(get("/pages/target.html", 5s)), TransportErrorKind::connectionLost);
  EXPECT_EQ(body(get("/pages/target.html", 5s)), "200 target");
  server_.clearFaults();
  EXPECT_EQ(body(get("/hostile/attack.html", 5s)).substr(0, 4), "200 ");

  std::vector<int> statuses;
  for (const devserver::RecordedRequest& r : server_.requestsTo("/pages/target.html"))
    statuses.push_back(r.status);
  EXPECT_EQ(statuses, (std::vector<int>{200, 200, 0, 200})) << "each request recorded as answered";
}

TEST_F(BackendTest, BodiesTheBackendCannotReadAreRefusedWithAReason) {
  ApiServiceImpl service = api();
  HttpRequest request = service.createRequest(server_.baseUrl() + "/v1/api/sdk/event", "POST");
  request.headers.emplace_back("Content-Encoding", "gzip");
  request.body = "\x1f\x8b not really gzip";
  auto answer = [&](HttpRequest r) {
    std::promise<HttpResult> promise;
    http_->send(std::move(r), [&](HttpResult result) { promise.set_value(std::move(result)); });
    return std::get<HttpResponse>(promise.get_future().get());
  };
  HttpResponse corrupt = answer(request);
  EXPECT_EQ(corrupt.status, 400);
  EXPECT_NE(corrupt.body.find("corrupt gzip"), std::string::npos);

  HttpRequest wrongShape = service.createRequest(server_.baseUrl() + "/v1/api/sdk/event", "POST");
  service.compressRequestBody(wrongShape, R"({"name":"x"})");
  HttpResponse refused = answer(wrongShape);
  EXPECT_EQ(refused.status, 400);
  EXPECT_NE(refused.body.find("sdkVersion"), std::string::npos) << refused.body;
}

// A TCP socket bound to a free loopback port (listening when asked); -1 on failure.
std::pair<int, int> loopbackSocket(bool listening) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      (listening && listen(fd, 1) != 0)) {
    close(fd);
    return {-1, 0};
  }
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  return {fd, ntohs(address.sin_port)};
}

TEST(Transport, RefusedConnectionsAreCannotConnect) {
  // A port that was just free: nothing listens there.
  const auto [probe, port] = loopbackSocket(false);
  ASSERT_GE(probe, 0);
  close(probe);

  linux_host::CurlHttpClient http;
  HttpRequest request;
  request.url = "http://127.0.0.1:" + std::to_string(port) + "/";
  std::promise<HttpResult> promise;
  http.send(request, [&](HttpResult r) { promise.set_value(std::move(r)); });
  const HttpResult result = promise.get_future().get();
  ASSERT_TRUE(std::holds_alternative<TransportError>(result));
  EXPECT_EQ(std::get<TransportError>(result).kind, TransportErrorKind::cannotConnect);
  EXPECT_EQ(toError(std::get<TransportError>(result)).code, -1004);
}

// What actually crosses the socket: header lines in order, nothing added between them.
TEST(Transport, HeadersGoOutInTheOrderTheRequestGivesThem) {
  const auto [listener, port] = loopbackSocket(true);
  ASSERT_GE(listener, 0);

  std::string raw;
  std::thread peer([&] {
    const int connection = accept(listener, nullptr, nullptr);
    char buffer[4096];
    while (raw.find("\r\n\r\n") == std::string::npos) {
      const ssize_t n = ::read(connection, buffer, sizeof buffer);
      if (n <= 0) break;
      raw.append(buffer, static_cast<std::size_t>(n));
    }
    const std::string reply = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\n{}";
    (void)!::write(connection, reply.data(), reply.size());
    close(connection);
  });

  ApiServiceImpl service("http://127.0.0.1:" + std::to_string(port),
                         KorvaneSdkConfig::Builder("k", "s").build(),
                         std::make_shared<linux_host::CurlHttpClient>());
  auto placement =
      await<PlacementUrlResponse>([&](auto done) { service.getPlacementUrl("p", done); });
  peer.join();
  close(listener);

  std::vector<std::string> lines;
  for (std::size_t start = 0, end;
       (end = raw.find("\r\n", start)) != std::string::npos && end > start; start = end + 2)
    lines.push_back(raw.substr(start, end - start));
  ASSERT_GE(lines.size(), 6u) << raw;
  EXPECT_EQ(lines[0], "GET /v1/api/sdk/placement-url?placementId=p HTTP/1.1");
  std::vector<std::string> ours;
  for (const std::string& line : lines)
    if (line.rfind("Content-Type", 0) == 0 || line.rfind("x-korvane-", 0) == 0)
      ours.push_back(line);
  EXPECT_EQ(ours,
            (std::vector<std::string>{
                "Content-Type: application/json", "x-korvane-app-key: k", "x-korvane-app-secret: s",
                "x-korvane-sdk-version: 1.0.52-rc.2", "x-korvane-platform: iOS"}));
}

}  // namespace
}  // namespace korvane
