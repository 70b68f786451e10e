// Many threads tracking while sends, timer restarts and lifecycle changes run (for TSan).
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <thread>

#include "facade_environments.h"
#include "fake_platform.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"
#include "korvane/sdk/korvane_sdk.h"
#include "log_capture.h"
#include "main_loop_thread.h"
#include "scripted_api.h"
#include "sdk/sdk_environment.h"
#include "telemetry/event_batch_service.h"

namespace korvane {
namespace {

// The batch service over real threads, a real clock and a real event file, with a scripted
// backend.
BatchServiceDependencies realDependencies(std::shared_ptr<EventQueueManager> queue,
                                          std::shared_ptr<EventPersistenceManager> persistence,
                                          std::shared_ptr<testing::ScriptedApi> api,
                                          testing::MainLoopThread& loop,
                                          std::shared_ptr<testing::FakeLifecycle> lifecycle,
                                          std::shared_ptr<linux_host::SystemClock> clock) {
  BatchServiceDependencies deps;
  deps.queue = std::move(queue);
  deps.persistence = std::move(persistence);
  deps.api = [api]() -> Result<std::shared_ptr<ApiService>> {
    return std::shared_ptr<ApiService>(api);
  };
  deps.context = [] { return SendContext{"S", "u", "D", "I", "17"}; };
  deps.mainThread = loop.mainThread();
  deps.clock = std::move(clock);
  deps.random = std::make_shared<linux_host::SystemRandom>();
  deps.lifecycle = std::move(lifecycle);
  deps.executor = std::make_shared<ThreadPoolExecutor>(2);
  deps.serial = std::make_shared<ThreadPoolExecutor>(1);
  return deps;
}

TEST(Concurrency, TrackingFlushingAndLifecycleChangesAtOnce) {
  testing::LogCapture quiet(LogLevel::verbose);  // build every log line too
  KorvaneLogger::setLineWriter([](std::string_view) {});
  const auto dir = std::filesystem::temp_directory_path() /
                   ("korvane-concurrency-" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  testing::MainLoopThread loop;
  auto lifecycle = std::make_shared<testing::FakeLifecycle>();
  auto api = std::make_shared<testing::ScriptedApi>();
  auto clock = std::make_shared<linux_host::SystemClock>();
  auto queue = std::make_shared<EventQueueManager>();
  {
    BatchServiceDependencies deps =
        realDependencies(queue,
                         std::make_shared<EventPersistenceManager>(
                             std::make_shared<linux_host::FixedDocumentsDirectory>(dir), clock),
                         api, loop, lifecycle, clock);
    auto service = EventBatchService::create(std::move(deps), 20, 0.05);

    constexpr int kThreads = 6, kPerThread = 300;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
        for (int i = 0; i < kPerThread; ++i) {
          const EventType type = i % 50 == 0 ? EventType::loginSuccess : EventType::missionClicked;
          service->trackEvent(Event::make(std::to_string(t) + "-" + std::to_string(i), type,
                                          static_cast<double>(clock->nowMillis()), "c",
                                          JsonValue{{"i", i}}));
        }
      });
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i) service->flush();
    });
    threads.emplace_back([&] {
      for (int i = 0; i < 20; ++i) {
        service->updateBatchConfiguration(10 + i % 3, 0.05 + (i % 2) * 0.01);
        loop.runSync([&] {
          lifecycle->send(i % 2 ? AppLifecycleEvent::willEnterForeground
                                : AppLifecycleEvent::didEnterBackground);
        });
      }
    });
    for (std::thread& thread : threads) thread.join();
    loop.runSync([&] { lifecycle->send(AppLifecycleEvent::willEnterForeground); });
    // A flush while a send runs does nothing, so keep asking until the queue is drained.
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (queue->count() > 0 && std::chrono::steady_clock::now() < until) {
      service->flush();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }

    std::size_t sent = 0;
    for (const EventBatch& batch : api->batches()) sent += batch.events.size();
    EXPECT_GT(sent, 0u);
    EXPECT_LE(sent, static_cast<std::size_t>(kThreads * kPerThread) + 100u)
        << "only login events can come back from the file";
    EXPECT_EQ(queue->count(), 0u);
  }
  KorvaneLogger::setLineWriter(nullptr);
  std::filesystem::remove_all(dir);
}

// Background saves on the main thread, batch answers on the network threads and foreground
// loads all rewrite the event file. Whatever their interleaving, every event reaches the backend
// in the end: none is left in neither the queue nor the file.
TEST(Concurrency, EventFileRewritesNeverLoseAnEvent) {
  testing::LogCapture quiet(LogLevel::none);
  KorvaneLogger::setLineWriter([](std::string_view) {});
  const auto dir = std::filesystem::temp_directory_path() /
                   ("korvane-file-concurrency-" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  testing::MainLoopThread loop;
  auto lifecycle = std::make_shared<testing::FakeLifecycle>();
  auto api = std::make_shared<testing::ScriptedApi>();
  auto clock = std::make_shared<linux_host::SystemClock>();
  auto queue = std::make_shared<EventQueueManager>(1000000);  // the bound loses nothing here
  auto persistence = std::make_shared<EventPersistenceManager>(
      std::make_shared<linux_host::FixedDocumentsDirectory>(dir), clock);
  std::mutex deliveredLock;
  std::set<std::string> delivered;
  std::atomic<int> answers{0};
  std::atomic<bool> outage{true};
  api->answerBatch = [&](const EventBatch& batch) -> Result<EventBatchResponse> {
    if (outage && answers++ % 2 == 0) {
      Error unavailable{"ApiService", 503, "HTTP 503 error", "NSError"};
      unavailable.userInfo = {{"response", "HTTP 503"}};
      return unavailable;
    }
    std::lock_guard lock(deliveredLock);
    for (const TrackEventRequest& event : batch.events)
      for (const auto& [key, value] : event.parameters)
        if (key == "id") delivered.insert(value);
    return EventBatchResponse{true, static_cast<std::int64_t>(batch.events.size()), {}};
  };
  constexpr int kThreads = 3, kPerThread = 1200;
  {
    BatchServiceDependencies deps =
        realDependencies(queue, persistence, api, loop, lifecycle, clock);
    auto service = EventBatchService::create(std::move(deps), 5, 3600);

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
        for (int i = 0; i < kPerThread; ++i) {
          const std::string id = std::to_string(t) + "-" + std::to_string(i);
          service->trackEvent(Event::make(id, EventType::missionClicked,
                                          static_cast<double>(clock->nowMillis()), "c",
                                          JsonValue{{"id", id}}));
          if (i % 10 == 0) std::this_thread::yield();
        }
      });
    std::atomic<bool> tracking{true};
    threads.emplace_back([&] {
      while (tracking) service->flush();
    });
    threads.emplace_back([&] {
      while (tracking) {
        loop.runSync([&] { lifecycle->send(AppLifecycleEvent::didEnterBackground); });
        loop.runSync([&] { lifecycle->send(AppLifecycleEvent::willEnterForeground); });
      }
    });
    for (int t = 0; t < kThreads; ++t) threads[t].join();
    tracking = false;
    for (std::thread& thread : threads)
      if (thread.joinable()) thread.join();

    // The backend recovers: send everything the queue and the file still hold.
    // Larger batches drain it in fewer file rewrites (slow under the sanitizers); the drain
    // gives up only once nothing more arrives for a while, so slowness is not taken for loss.
    outage = false;
    service->updateBatchConfiguration(100, std::nullopt);
    std::size_t seen = 0;
    auto lastProgress = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - lastProgress < std::chrono::seconds(20)) {
      loop.runSync([&] { lifecycle->send(AppLifecycleEvent::willEnterForeground); });
      service->flush();
      std::lock_guard lock(deliveredLock);
      if (delivered.size() == kThreads * kPerThread) break;
      if (delivered.size() != seen) {
        seen = delivered.size();
        lastProgress = std::chrono::steady_clock::now();
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  std::lock_guard lock(deliveredLock);
  EXPECT_EQ(delivered.size(), static_cast<std::size_t>(kThreads * kPerThread))
      << "events were lost between the queue and the file";
  KorvaneLogger::setLineWriter(nullptr);
  std::filesystem::remove_all(dir);
}

class CountingListener final : public KorvaneSdkLoginListener {
 public:
  void onSuccess() override { ++successes; }
  void onFailure(KorvaneLoginError) override { ++failures; }
  std::atomic<int> successes{0};
  std::atomic<int> failures{0};
};

// Logins, logouts, tracking and state reads from many threads while validation completes.
TEST(Concurrency, FacadeCallsWhileValidationCompletes) {
  testing::LogCapture quiet(LogLevel::verbose);
  KorvaneLogger::setLineWriter([](std::string_view) {});
  const auto dir = std::filesystem::temp_directory_path() /
                   ("korvane-facade-concurrency-" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  testing::MainLoopThread loop;
  auto api = std::make_shared<testing::ScriptedApi>();
  auto listener = std::make_shared<CountingListener>();
  KorvaneSdk& sdk = KorvaneSdk::shared();
  {
    SdkEnvironment environment;
    testing::FakePlatform fake;
    environment.platform = fake.services();
    environment.platform.clock = std::make_shared<linux_host::SystemClock>();
    environment.platform.random = std::make_shared<linux_host::SystemRandom>();
    environment.platform.mainThread = loop.mainThread();
    environment.platform.lifecycle = nullptr;
    environment.platform.documents = std::make_shared<linux_host::FixedDocumentsDirectory>(dir);
    environment.network = std::make_shared<NetworkManager>("S");
    environment.network->initialize(api);
    environment.tasks = std::make_shared<ThreadPoolExecutor>(2);
    environment.serial = std::make_shared<ThreadPoolExecutor>(1);
    KorvaneSdkTestAccess::reset(sdk, std::move(environment));
  }
  sdk.initialize(KorvaneSdkConfig::Builder("key", "secret").build());

  constexpr int kThreads = 4, kRounds = 200;
  std::atomic<int> loginCalls{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < kRounds; ++i) {
        switch (i % 5) {
          case 0:
            ++loginCalls;
            sdk.login(KorvaneSdkUser("user-" + std::to_string((t + i) % 3)), listener);
            break;
          case 1:
            sdk.trackEventWithCustomName("tap", "ui", JsonValue{{"i", i}});
            break;
          case 2:
            sdk.trackCustomEvent(i % 2 ? "session_start" : "reward", "c");
            break;
          case 3:
            (void)sdk.isLoggedIn();
            (void)sdk.getCurrentUser();
            (void)sdk.isInitialized();
            break;
          default:
            if (i % 20 == 4) sdk.logout();
            sdk.flushEvents();
        }
      }
    });
  threads.emplace_back([&] {
    AppData app;
    app.appKey = "key";
    app.appName = "Demo";
    app.korvaneHubUrl = "https://hub.example/";
    app.trackEventBatchCount = 7;
    app.trackEventBatchIntervalMs = 500;
    while (api->answerValidation(ValidateAppResponse{true, app, std::nullopt}) == 0)
      std::this_thread::yield();
  });
  for (std::thread& thread : threads) thread.join();

  EXPECT_TRUE(sdk.isInitialized());
  EXPECT_EQ(KorvaneSdkTestAccess::eventBatchService(sdk)->batchSize(), 7u);
  // Every login call is answered exactly once, on the main thread, eventually.
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (listener->successes + listener->failures < loginCalls &&
         std::chrono::steady_clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(listener->successes + listener->failures, loginCalls.load());

  testing::idleFacade(sdk);
  KorvaneLogger::setLineWriter(nullptr);
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace korvane
