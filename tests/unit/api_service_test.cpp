// The API service over a fake transport: request shape, gzip bodies, status and error rules.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "backend/gzip.h"
#include "backend/record_codec.h"
#include "fake_platform.h"
#include "gunzip.h"
#include "korvane/backend/api_service.h"
#include "log_capture.h"

namespace korvane {
namespace {

using testing::FakeHttpClient;
using testing::gunzip;
using testing::LogCapture;

TEST(Gzip, RoundTripsThroughZlibWhateverTheInput) {
  std::mt19937 random(7);
  std::string incompressible(100000, '\0');
  for (char& c : incompressible) c = static_cast<char>(random());
  std::string repetitive;
  for (int i = 0; i < 20000; ++i)
    repetitive += R"({"name":"mission_clicked","n":)" + std::to_string(i % 7) + "}";
  for (const std::string& input :
       {std::string("x"), std::string("{\"a\":1}"), incompressible, repetitive}) {
    Result<std::string> compressed = gzip(input);
    ASSERT_TRUE(compressed.ok());
    ASSERT_GE(compressed.value().size(), 2u);
    EXPECT_EQ(static_cast<unsigned char>(compressed.value()[0]), 0x1f);
    EXPECT_EQ(static_cast<unsigned char>(compressed.value()[1]), 0x8b);
    EXPECT_EQ(gunzip(compressed.value()), input) << "input of " << input.size() << " bytes";
  }
  EXPECT_EQ(gzip("").value(), "") << "empty input: no header at all";
}

// One compressor's state serves body after body: each output is a whole gzip stream of its own
// body, the same bytes a fresh state gives, whatever came before it (a large incompressible body
// leaves a full window and long match chains behind; an empty body stays empty).
TEST(Gzip, AKeptStateCompressesEachOfConsecutiveBodiesAsAFreshOneWould) {
  std::mt19937 random(11);
  std::string incompressible(70000, '\0');
  for (char& c : incompressible) c = static_cast<char>(random());
  std::string batch;
  for (int i = 0; i < 20; ++i)
    batch += R"({"name":"mission_impressed","eventId":"E)" + std::to_string(i) + R"("},)";
  const std::vector<std::string> bodies = {batch, incompressible, "", "x", batch + batch, batch};
  GzipCompressor compressor;
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    SCOPED_TRACE("body " + std::to_string(i) + " of " + std::to_string(bodies[i].size()) +
                 " bytes");
    Result<std::string> kept = compressor.compress(bodies[i]);
    ASSERT_TRUE(kept.ok());
    EXPECT_EQ(kept.value(), gzip(bodies[i]).value());
    if (!bodies[i].empty()) {
      EXPECT_EQ(gunzip(kept.value()), bodies[i]);
    }
  }
}

// Bodies compressed at the same time from several threads each come out whole.
TEST(Gzip, OneCompressorServesSeveralThreadsAtOnce) {
  GzipCompressor compressor;
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      const std::string body = std::string(20000 + t * 1000, static_cast<char>('a' + t)) + "end";
      for (int round = 0; round < 50; ++round) {
        Result<std::string> out = compressor.compress(body);
        if (!out.ok() || gunzip(out.value()) != body) ++wrong;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

TEST(Gzip, ErrorTexts) {
  EXPECT_EQ(gzipInitializationFailed(-2).description, "GZIP initialization failed with code: -2");
  EXPECT_EQ(gzipCompressionFailed(-3).description, "GZIP compression failed with code: -3");
  EXPECT_EQ(gzipDecompressionFailed(-5).description, "GZIP decompression failed with code: -5");
}

class ApiServiceTest : public ::testing::Test {
 protected:
  ApiServiceTest()
      : config_(KorvaneSdkConfig::Builder("key-1", "secret-1").setTimeoutMillis(1500).build()),
        http_(std::make_shared<FakeHttpClient>()),
        api_("https://api.example.io", config_, http_) {}

  void answer(int status, std::string body) {
    http_->respond = [=](const HttpRequest&) { return HttpResult(HttpResponse{status, {}, body}); };
  }

  KorvaneSdkConfig config_;
  std::shared_ptr<FakeHttpClient> http_;
  ApiServiceImpl api_;
};

TEST_F(ApiServiceTest, EveryRequestCarriesTheCommonHeadersInOrderAndBothTimeouts) {
  api_.getPlacementUrl("p", [](auto) {});
  api_.trackEvent(TrackEventRequest{}, [](auto) {});
  const HttpHeaders common = {{"Content-Type", "application/json"},
                              {"x-korvane-app-key", "key-1"},
                              {"x-korvane-app-secret", "secret-1"},
                              {"x-korvane-sdk-version", "1.0.52-rc.2"},
                              {"x-korvane-platform", "iOS"}};
  const auto requests = http_->requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_EQ(requests[0].headers, common);
  EXPECT_TRUE(requests[0].body.empty());
  EXPECT_EQ(requests[1].method, "POST");
  HttpHeaders withEncoding = common;
  withEncoding.emplace_back("Content-Encoding", "gzip");
  EXPECT_EQ(requests[1].headers, withEncoding);
  for (const HttpRequest& r : requests) {
    EXPECT_EQ(r.timeout, std::chrono::seconds(60));
    EXPECT_EQ(r.resourceTimeout, std::chrono::milliseconds(1500));
  }
}

TEST_F(ApiServiceTest, UrlsAndQueryItems) {
  api_.validateApp([](auto) {});
  api_.getQuiz(std::nullopt, std::nullopt, "ZERO", [](auto) {});
  api_.getQuiz("u 1", "ios", "I", [](auto) {});
  api_.getMissions("a&b=c+d", std::nullopt, "I", [](auto) {});
  api_.getBannerInfo("u", "place/1", "iOS", [](auto) {});
  api_.getPlacementUrl("한국", [](auto) {});
  api_.trackEventBatch(EventBatch{}, [](auto) {});
  const std::vector<std::string> expected = {
      "https://api.example.io/v1/api/sdk/validate",
      "https://api.example.io/v1/api/sdk/quiz?ifa=ZERO",
      "https://api.example.io/v1/api/sdk/quiz?userId=u%201&platform=ios&ifa=I",
      "https://api.example.io/v1/api/sdk/mission?userId=a%26b%3Dc%2Bd&ifa=I",
      "https://api.example.io/v1/api/sdk/banner?userId=u&placementId=place/1&platform=iOS",
      "https://api.example.io/v1/api/sdk/placement-url?placementId=%ED%95%9C%EA%B5%AD",
      "https://api.example.io/v1/api/sdk/event/batch",
  };
  std::vector<std::string> urls;
  for (const HttpRequest& r : http_->requests()) urls.push_back(r.url);
  EXPECT_EQ(urls, expected);
}

TEST(ApiService, UnformableUrlsFailBeforeSending) {
  auto http = std::make_shared<FakeHttpClient>();
  ApiServiceImpl api("not a url", KorvaneSdkConfig::Builder("k", "s").build(), http);
  std::vector<Error> errors;
  api.validateApp([&](auto r) { errors.push_back(r.error()); });
  api.getQuiz(std::nullopt, std::nullopt, "i", [&](auto r) { errors.push_back(r.error()); });
  api.trackEventBatch(EventBatch{}, [&](auto r) { errors.push_back(r.error()); });
  EXPECT_TRUE(http->requests().empty());
  ASSERT_EQ(errors.size(), 3u);
  for (const Error& e : errors) EXPECT_EQ(e.description, "Invalid URL");
}

TEST_F(ApiServiceTest, PostBodiesAreGzipOfTheJson) {
  LogCapture capture(LogLevel::debug);
  TrackEventRequest event{"n", "v", "t", "s", std::nullopt, "d", "i", "iOS", "17", {}};
  api_.trackEvent(event, [](auto) {});
  ASSERT_EQ(http_->requests().size(), 1u);
  EXPECT_EQ(gunzip(http_->requests()[0].body), json::dump(toJson(event)));
  EXPECT_TRUE(
      capture.contains("[D/ApiService] TrackEvent URL: https://api.example.io/v1/api/sdk/event"));
  EXPECT_TRUE(capture.contains("[D/ApiService] TrackEvent request headers:"));
  EXPECT_TRUE(capture.contains("[D/ApiService]   - SDK Version: 1.0.52-rc.2"));
  EXPECT_TRUE(capture.contains("[D/ApiService]   - Platform: iOS"));
}

TEST(ApiService, SizeReportTruncatesTheReductionShowsGrowthAsNegativeAndAnEmptyBodyAsNone) {
  LogCapture capture(LogLevel::debug);
  std::string large;
  for (int i = 0; i < 300; ++i) large += "abcdefgh";
  ApiServiceImpl api("https://api.example.io", KorvaneSdkConfig::Builder("k", "s").build(),
                     nullptr);
  for (const std::string& body : {std::string(R"({"a":1})"), large}) {
    HttpRequest request;
    api.compressRequestBody(request, body);
    const double ratio = 1.0 - double(request.body.size()) / double(body.size());
    const long reduction = static_cast<long>(ratio * 100.0);
    EXPECT_TRUE(
        capture.contains("[D/ApiService] Request compressed: " + std::to_string(body.size()) +
                         " bytes → " + std::to_string(request.body.size()) + " bytes (" +
                         std::to_string(reduction) + "% reduction)"))
        << body.size();
  }
  EXPECT_TRUE(
      capture.contains("[D/ApiService] Request compressed: 7 bytes → 27 bytes (-285% reduction)"));
  HttpRequest empty;
  api.compressRequestBody(empty, "");
  EXPECT_TRUE(capture.contains("[D/ApiService] Request compressed: 0 bytes → " +
                               std::to_string(empty.body.size()) + " bytes (0% reduction)"));
}

TEST_F(ApiServiceTest, OnlyTheBatchTurnsHttpStatusesIntoErrors) {
  struct Case {
    int status;
    std::string body;
    bool batchOk;
  };
  const std::string accepted = R"({"success":true,"processedCount":1,"failedEventIds":[]})";
  const Case cases[] = {{200, accepted, true},  {302, accepted, true},  {399, accepted, true},
                        {400, accepted, false}, {404, accepted, false}, {429, "", false},
                        {503, "oops", false},   {200, "oops", false}};
  for (const Case& c : cases) {
    answer(c.status, c.body);
    std::optional<Result<EventBatchResponse>> batch;
    api_.trackEventBatch(EventBatch{}, [&](auto r) { batch = std::move(r); });
    ASSERT_TRUE(batch.has_value());
    EXPECT_EQ(batch->ok(), c.batchOk) << c.status;
    if (!batch->ok() && c.status >= 400) {
      EXPECT_EQ(batch->error().domain, "ApiService");
      EXPECT_EQ(batch->error().code, c.status);
      EXPECT_EQ(batch->error().description, "HTTP " + std::to_string(c.status) + " error");
      ASSERT_EQ(batch->error().userInfo.size(), 2u);
      EXPECT_EQ(batch->error().userInfo[1].first, "response");
    }
    std::optional<Status> single;
    api_.trackEvent(TrackEventRequest{},
                    [&](auto r) { single = r.ok() ? okStatus() : Status(r.error()); });
    EXPECT_TRUE(single->ok()) << "a single event is delivered whatever the answer: " << c.status;
  }
}

TEST_F(ApiServiceTest, TransportErrorsReachTheCallerAsUrlErrors) {
  http_->respond = [](const HttpRequest&) {
    return HttpResult(TransportError{TransportErrorKind::timedOut, 28, "Operation timed out"});
  };
  std::optional<Error> error;
  api_.trackEvent(TrackEventRequest{}, [&](auto r) { error = r.error(); });
  EXPECT_EQ(error->domain, "NSURLErrorDomain");
  EXPECT_EQ(error->code, -1001);
  EXPECT_TRUE(error->isNetworkError());
}

// A failing server is no answer on the keys, whatever its body; a refusal is one, read or not.
TEST_F(ApiServiceTest, ValidationDecodesRefusalsButNotServerFailuresAndExplainsWhatItCannotDecode) {
  struct Case {
    int status;
    const char* body;
    bool decoded;
    long errorCode;
  };
  const Case cases[] = {
      {500, R"({"success":false,"message":"maintenance"})", false, 500},
      {503, "Service Unavailable", false, 503},
      {401, R"({"success":false,"message":"Invalid app key or secret"})", true, 0},
      {401, "Unauthorized", false, 401},
      {403, "Forbidden", false, 403},
      {400, R"({"success":false,"message":"missing header"})", true, 0},
  };
  std::optional<Result<ValidateAppResponse>> result;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.status) + " " + c.body);
    answer(c.status, c.body);
    api_.validateApp([&](auto r) { result = std::move(r); });
    ASSERT_EQ(result->ok(), c.decoded);
    if (!c.decoded) {
      EXPECT_EQ(result->error().domain, "ApiService");
      EXPECT_EQ(result->error().code, c.errorCode);
    }
  }

  LogCapture capture(LogLevel::verbose);
  answer(200, R"({"success":true,"app":{"appKey":"k"}})");
  api_.validateApp([&](auto r) { result = std::move(r); });
  EXPECT_FALSE(result->ok());
  const auto messages = capture.messages();
  auto has = [&](const std::string& prefix) {
    return std::any_of(messages.begin(), messages.end(),
                       [&](const std::string& m) { return m.rfind(prefix, 0) == 0; });
  };
  EXPECT_TRUE(has("[V/ApiService] === ValidateApp Response Debug ==="));
  EXPECT_TRUE(has("[V/ApiService] Status Code: 200"));
  EXPECT_TRUE(has("[V/ApiService] Raw JSON Response: "));
  EXPECT_TRUE(has("[E/ApiService] Decoding error: "));
  EXPECT_TRUE(has("[V/ApiService] Response as Dictionary: "));
  EXPECT_TRUE(has("[V/ApiService] App object contents: "));
  const auto lines = capture.lines();
  EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& l) {
    return l.rfind("Decoding error: ", 0) == 0;
  })) << "the plain print comes too";
}

}  // namespace
}  // namespace korvane
