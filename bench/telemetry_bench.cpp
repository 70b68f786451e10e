// Telemetry costs: trackEvent on the caller's thread, one flush's CPU work, the event file,
// and the memory a full queue holds.
#include <benchmark/benchmark.h>

#include "empty_call_baseline.h"
#include "zlib_baseline.h"

#include <malloc.h>
#include <algorithm>
#include <atomic>
#include <filesystem>

#include <new>

#include "backend/record_codec.h"
#include "backend/telemetry_json.h"
#include "fake_platform.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"
#include "korvane/util/logger.h"
#include "manual_executor.h"
#include "scripted_api.h"
#include "telemetry/event_batch_service.h"
#include "telemetry/event_conversion.h"

// Live heap bytes (as the allocator hands them out), to measure what the queue holds.
namespace {
std::atomic<long long> liveBytes{0};
}  // namespace

void* operator new(std::size_t size) {
  void* p = std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  liveBytes += static_cast<long long>(malloc_usable_size(p));
  return p;
}
void operator delete(void* p) noexcept {
  if (p) liveBytes -= static_cast<long long>(malloc_usable_size(p));
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  operator delete(p);
}

namespace {

using namespace korvane;

Event typicalEvent(int i) {
  return Event::make("6D92078A-8246-4BA4-AE5B-" + std::to_string(100000000000 + i),
                     EventType::missionImpressed, 1763716500123.0 + i, "mission",
                     JsonValue{{"missionId", "mission-" + std::to_string(i % 3)},
                               {"placementId", "home-top"},
                               {"impressionOrder", i % 3 + 1}});
}

BENCHMARK(BM_EmptyCall)->Threads(1)->Threads(4);

// Log lines would mix into the benchmark's own output.
const bool silenced = [] {
  KorvaneLogger::setLineWriter([](std::string_view) {});
  return true;
}();

std::shared_ptr<EventBatchService> quietService() {
  static testing::FakePlatform platform;
  BatchServiceDependencies deps;
  deps.queue = std::make_shared<EventQueueManager>();
  deps.persistence = std::make_shared<EventPersistenceManager>(nullptr, platform.clock);
  auto api = std::make_shared<testing::ScriptedApi>();
  deps.api = [api]() -> Result<std::shared_ptr<ApiService>> {
    return std::shared_ptr<ApiService>(api);
  };
  deps.context = [] { return SendContext{}; };
  deps.mainThread = platform.mainThread;
  deps.clock = std::make_shared<linux_host::SystemClock>();
  deps.random = platform.random;
  deps.executor = std::make_shared<testing::ManualExecutor>();
  deps.serial = deps.executor;
  // Nothing triggers a send, so the caller's own cost is what is measured.
  return EventBatchService::create(std::move(deps), 1'000'000'000, 1e12);
}

// Per-call latency with percentiles (each call timed on its own).
void BM_TrackEvent(benchmark::State& state) {
  static std::shared_ptr<EventBatchService> service;
  if (state.thread_index() == 0) service = quietService();
  KorvaneLogger::setLogLevel(LogLevel::warning);
  std::vector<double> samples;
  samples.reserve(1 << 20);
  const Event prototype = typicalEvent(state.thread_index());
  for (auto _ : state) {
    Event event = prototype;
    const auto start = std::chrono::steady_clock::now();
    service->trackEvent(std::move(event));
    samples.push_back(
        std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(samples.begin(), samples.end());
  state.counters["p50_ns"] =
      benchmark::Counter(samples[samples.size() / 2], benchmark::Counter::kAvgThreads);
  state.counters["p99_ns"] =
      benchmark::Counter(samples[samples.size() * 99 / 100], benchmark::Counter::kAvgThreads);
}
BENCHMARK(BM_TrackEvent)->Threads(1)->Threads(4)->UseRealTime();

std::vector<Event> twentyEvents() {
  std::vector<Event> events;
  for (int i = 0; i < 20; ++i) events.push_back(typicalEvent(i));
  return events;
}

const SendContext kContext{"5B1E4C2A-9D8F-4E3B-A7C6-1F2E3D4C5B6A", "user-184220",
                           "8D5C3B2A-1F0E-4D9C-8B7A-6F5E4D3C2B1A",
                           "6D92078A-8246-4BA4-AE5B-76104861E7DC", "17.4.1"};

std::string flushBody(const std::vector<Event>& events) {
  EventBatch batch{"0E0C2F1A-7B3C-4D5E-8F90-A1B2C3D4E5F6", "2026-11-21T09:15:00Z", "1.0.52-rc.2",
                   "iOS", toTrackEventRequests(events, kContext)};
  return encodeBatchBody(batch);
}

// Takes requests and drops them: what a flush costs up to the transport.
class DiscardingHttpClient final : public HttpClient {
 public:
  void send(HttpRequest request, std::function<void(HttpResult)>) override {
    benchmark::DoNotOptimize(request.body.data());
  }
};

// The conversion of 20 events and the API service's batch request: JSON, headers, gzip. With
// argument 1 each flush comes after a quiet spell, as batches do (seconds apart at the least).
void BM_FlushCpuWork(benchmark::State& state) {
  KorvaneLogger::setLogLevel(LogLevel::warning);
  const std::vector<Event> events = twentyEvents();
  ApiServiceImpl api("https://api.korvane.io",
                     KorvaneSdkConfig::Builder("app-key", "app-secret").build(),
                     std::make_shared<DiscardingHttpClient>());
  for (auto _ : state) {
    if (state.range(0) == 1) startAfterAQuietSpell(state);
    EventBatch batch{"0E0C2F1A-7B3C-4D5E-8F90-A1B2C3D4E5F6", "2026-11-21T09:15:00Z", "1.0.52-rc.2",
                     "iOS", toTrackEventRequests(events, kContext)};
    api.trackEventBatch(batch, [](const Result<EventBatchResponse>&) {});
  }
}
BENCHMARK(BM_FlushCpuWork)->Arg(0)->Arg(1);

void BM_ZlibOnFlushBody(benchmark::State& state) {
  runCompress2Baseline(state, flushBody(twentyEvents()), state.range(0) == 1);
}
BENCHMARK(BM_ZlibOnFlushBody)->Arg(0)->Arg(1);

struct EventFileFixture {
  std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("korvane-bench-" + std::to_string(::getpid()));
  std::shared_ptr<linux_host::SystemClock> clock = std::make_shared<linux_host::SystemClock>();
  EventPersistenceManager store{std::make_shared<linux_host::FixedDocumentsDirectory>(dir), clock};
  std::vector<Event> events(int n) const {
    std::vector<Event> all;
    const double now = static_cast<double>(clock->nowMillis());
    for (int i = 0; i < n; ++i) {
      Event e = typicalEvent(i);
      e.timestamp = now;
      all.push_back(std::move(e));
    }
    return all;
  }
  ~EventFileFixture() { std::filesystem::remove_all(dir); }
};

void BM_SaveEventInto999(benchmark::State& state) {
  EventFileFixture fixture;
  const std::vector<Event> existing = fixture.events(999);
  const Event added = fixture.events(1)[0];
  for (auto _ : state) {
    state.PauseTiming();
    (void)fixture.store.saveEvents(existing);
    state.ResumeTiming();
    benchmark::DoNotOptimize(fixture.store.saveEvent(added));
  }
}
BENCHMARK(BM_SaveEventInto999)->Unit(benchmark::kMillisecond);

void BM_LoadEvents1000(benchmark::State& state) {
  EventFileFixture fixture;
  (void)fixture.store.saveEvents(fixture.events(1000));
  for (auto _ : state) benchmark::DoNotOptimize(fixture.store.loadEvents());
}
BENCHMARK(BM_LoadEvents1000)->Unit(benchmark::kMillisecond);

// Heap held by a queue of 500 typical events (allocator rounding included).
void BM_FullQueueMemory(benchmark::State& state) {
  long long bytes = 0;
  for (auto _ : state) {
    const long long before = liveBytes.load();
    auto queue = std::make_unique<EventQueueManager>();
    for (int i = 0; i < 500; ++i) queue->enqueue(typicalEvent(i));
    bytes = liveBytes.load() - before;
    benchmark::DoNotOptimize(queue);
  }
  state.counters["KiB"] = static_cast<double>(bytes) / 1024.0;
}
BENCHMARK(BM_FullQueueMemory)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
