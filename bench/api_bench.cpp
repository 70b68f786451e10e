// gzip of a telemetry batch against zlib alone, and the cost of building a login request.
#include <benchmark/benchmark.h>

#include "empty_call_baseline.h"
#include "zlib_baseline.h"

#include "backend/gzip.h"
#include "backend/record_codec.h"
#include "korvane/backend/api_service.h"
#include "korvane/util/logger.h"

namespace {

using namespace korvane;

// Twenty events as the batch service sends them: mission, quiz and offerwall events with the
// identifiers every event carries.
std::string realisticBatchBody() {
  EventBatch batch{
      "0E0C2F1A-7B3C-4D5E-8F90-A1B2C3D4E5F6", "2026-11-21T09:15:00Z", "1.0.52-rc.2", "iOS", {}};
  const char* names[] = {"mission_impressed", "mission_clicked", "quiz_impressed",
                         "offerwall_opened", "custom"};
  for (int i = 0; i < 20; ++i) {
    TrackEventRequest e;
    e.name = names[i % 5];
    e.sdkVersion = "1.0.52-rc.2";
    e.timestamp = "2026-11-21 18:15:" + std::to_string(10 + i);
    e.sessionId = "5B1E4C2A-9D8F-4E3B-A7C6-1F2E3D4C5B6A";
    e.userId = "user-184220";
    e.deviceId = "8D5C3B2A-1F0E-4D9C-8B7A-6F5E4D3C2B1A";
    e.ifa = "6D92078A-8246-4BA4-AE5B-76104861E7DC";
    e.platform = "iOS";
    e.osVersion = "17.4.1";
    e.parameters = {{"missionId", "mission-" + std::to_string(i % 3 + 1)},
                    {"placementId", "home-top"},
                    {"impressionOrder", std::to_string(i % 3 + 1)},
                    {"source", "sdk_api"}};
    batch.events.push_back(std::move(e));
  }
  return json::dump(toJson(batch));
}

const std::string& batchBody() {
  static const std::string body = realisticBatchBody();
  return body;
}

void BM_GzipBatch(benchmark::State& state) {
  const std::string& body = batchBody();
  std::size_t compressed = 0;
  for (auto _ : state) {
    Result<std::string> out = gzip(body);
    compressed = out.value().size();
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
  state.counters["input_bytes"] = static_cast<double>(body.size());
  state.counters["ratio"] = static_cast<double>(body.size()) / static_cast<double>(compressed);
}
BENCHMARK(BM_GzipBatch);

void BM_ZlibCompress2Batch(benchmark::State& state) {
  runCompress2Baseline(state, batchBody());
}
BENCHMARK(BM_ZlibCompress2Batch);

BENCHMARK(BM_EmptyCall);

// createRequest, the login record's JSON encoding and its compression: what a login costs
// before the transport takes over.
void BM_BuildLoginRequest(benchmark::State& state) {
  KorvaneLogger::setLogLevel(LogLevel::warning);
  ApiServiceImpl api("https://api.korvane.io",
                     KorvaneSdkConfig::Builder("app-key", "app-secret").build(), nullptr);
  LoginRequest login;
  login.userId = "user-184220";
  login.gender = "F";
  login.birthYear = "1990";
  login.loginInfo = {"user_login",
                     "1.0.52-rc.2",
                     "1763716500123",
                     "5B1E4C2A-9D8F-4E3B-A7C6-1F2E3D4C5B6A",
                     "user-184220",
                     "8D5C3B2A-1F0E-4D9C-8B7A-6F5E4D3C2B1A",
                     "6D92078A-8246-4BA4-AE5B-76104861E7DC",
                     "iOS",
                     "17.4.1",
                     JsonValue{{"user_id", "user-184220"}, {"category", "authentication"}}};
  login.deviceInfo = {"8D5C3B2A-1F0E-4D9C-8B7A-6F5E4D3C2B1A",
                      "iPhone14,2",
                      "iPhone 13 Pro",
                      "Apple",
                      "iOS",
                      "17.4.1",
                      "6D92078A-8246-4BA4-AE5B-76104861E7DC",
                      "KR",
                      "ko",
                      "appstore",
                      1170,
                      2532};
  for (auto _ : state) {
    HttpRequest request = api.createRequest("https://api.korvane.io/v1/api/sdk/login", "POST");
    api.compressRequestBody(request, json::dump(toJson(login)));
    benchmark::DoNotOptimize(request);
  }
}
BENCHMARK(BM_BuildLoginRequest);

}  // namespace

BENCHMARK_MAIN();
