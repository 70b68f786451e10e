// The facade's start: what initialize costs the calling thread (empty event file, 1000 events in
// it, a file at its 10 MiB limit), and how long until the local backend's answer makes the SDK
// initialised.
#include <benchmark/benchmark.h>

#include <unistd.h>
#include "empty_call_baseline.h"

#include <filesystem>
#include <thread>

#include "dev_server.h"
#include "fake_platform.h"
#include "korvane/linux/curl_http_client.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"
#include "korvane/sdk/korvane_sdk.h"
#include "main_loop_thread.h"
#include "manual_executor.h"
#include "scripted_api.h"
#include "sdk/sdk_environment.h"
#include "telemetry/event_persistence.h"

namespace {

using namespace korvane;
namespace fs = std::filesystem;

const fs::path kDocuments =
    fs::temp_directory_path() / ("korvane-sdk-bench-" + std::to_string(::getpid()));

BENCHMARK(BM_EmptyCall);

const fs::path kMasterFile = kDocuments.string() + "-master.json";
constexpr const char* kEventFileName = "korvane_events.json";

// More events than fit in 10 MiB: the file keeps the newest that do.
constexpr int kFullFile = 100000;

// Writes the event file a run starts from, once; each iteration starts from a copy of it.
void writeMasterFile(int events) {
  fs::remove_all(kDocuments);
  fs::remove(kMasterFile);
  if (events == 0) return;
  EventPersistenceManager file(std::make_shared<linux_host::FixedDocumentsDirectory>(kDocuments),
                               std::make_shared<linux_host::SystemClock>());
  std::vector<Event> list;
  const double now = static_cast<double>(linux_host::SystemClock().nowMillis());
  for (int i = 0; i < events; ++i)
    list.push_back(Event::make("EVENT-" + std::to_string(i), EventType::missionImpressed, now,
                               "mission", JsonValue{{"missionId", "m" + std::to_string(i % 3)}}));
  (void)file.saveEvents(list);
  fs::rename(kDocuments / kEventFileName, kMasterFile);
}

void restoreEventFile() {
  fs::remove_all(kDocuments);
  fs::create_directories(kDocuments);
  if (fs::exists(kMasterFile)) fs::copy_file(kMasterFile, kDocuments / kEventFileName);
}

// A session on real storage, clock and randomness whose background work is never run, so the
// measurement is exactly what initialize does before it returns.
SdkEnvironment callerThreadEnvironment(const testing::FakePlatform& fake) {
  SdkEnvironment environment;
  environment.platform = fake.services();
  environment.platform.clock = std::make_shared<linux_host::SystemClock>();
  environment.platform.random = std::make_shared<linux_host::SystemRandom>();
  environment.platform.documents =
      std::make_shared<linux_host::FixedDocumentsDirectory>(kDocuments);
  environment.network = std::make_shared<NetworkManager>("BENCH");
  environment.network->initialize(std::make_shared<testing::ScriptedApi>());
  environment.tasks = std::make_shared<testing::ManualExecutor>();
  environment.serial = std::make_shared<testing::ManualExecutor>();
  return environment;
}

void BM_InitializeOnCallingThread(benchmark::State& state) {
  KorvaneLogger::setLogLevel(LogLevel::warning);
  const auto config = KorvaneSdkConfig::Builder("key", "secret").build();
  KorvaneSdk& sdk = KorvaneSdk::shared();
  writeMasterFile(static_cast<int>(state.range(0)));
  state.counters["file_bytes"] =
      fs::exists(kMasterFile) ? static_cast<double>(fs::file_size(kMasterFile)) : 0.0;
  for (auto _ : state) {
    state.PauseTiming();
    restoreEventFile();
    testing::FakePlatform fake;
    fake.tracking->currentStatus = tracking_status::kAuthorized;
    KorvaneSdkTestAccess::reset(sdk, callerThreadEnvironment(fake));
    state.ResumeTiming();
    sdk.initialize(config);
  }
  KorvaneSdkTestAccess::reset(sdk, callerThreadEnvironment(testing::FakePlatform()));
  fs::remove_all(kDocuments);
  fs::remove(kMasterFile);
}
BENCHMARK(BM_InitializeOnCallingThread)
    ->Arg(0)
    ->Arg(1000)
    ->Arg(kFullFile)
    ->Iterations(100)
    ->Unit(benchmark::kMillisecond);

// From the initialize call until isInitialized() reads true: validation over libcurl against the
// local backend on this machine.
void BM_TimeUntilInitialized(benchmark::State& state) {
  KorvaneLogger::setLogLevel(LogLevel::warning);
  KorvaneLogger::setLineWriter([](std::string_view) {});  // decoded answers are printed
  devserver::DevServer server;
  server.start();
  testing::MainLoopThread loop;
  auto http = std::make_shared<linux_host::CurlHttpClient>();
  const auto config = KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret")
                          .setApiBaseUrl(server.baseUrl())
                          .build();
  KorvaneSdk& sdk = KorvaneSdk::shared();
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove_all(kDocuments);
    testing::FakePlatform fake;
    SdkEnvironment environment;
    environment.platform = fake.services();
    environment.platform.http = http;
    environment.platform.mainThread = loop.mainThread();
    environment.platform.clock = std::make_shared<linux_host::SystemClock>();
    environment.platform.random = std::make_shared<linux_host::SystemRandom>();
    environment.platform.documents =
        std::make_shared<linux_host::FixedDocumentsDirectory>(kDocuments);
    environment.network = std::make_shared<NetworkManager>("BENCH");
    environment.tasks = std::make_shared<ThreadPoolExecutor>(2);
    environment.serial = std::make_shared<ThreadPoolExecutor>(1);
    KorvaneSdkTestAccess::reset(sdk, std::move(environment));
    state.ResumeTiming();
    sdk.initialize(config);
    while (!sdk.isInitialized()) std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  KorvaneSdkTestAccess::reset(sdk, callerThreadEnvironment(testing::FakePlatform()));
  KorvaneLogger::setLineWriter(nullptr);
  fs::remove_all(kDocuments);
}
BENCHMARK(BM_TimeUntilInitialized)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(50);

}  // namespace

BENCHMARK_MAIN();
