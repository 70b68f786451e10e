// Many threads tracking while sends, timer restarts and lifecycle changes run (for TSan).
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "fake_platform.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"
#include "korvane/telemetry/event_batch_service.h"
#include "log_capture.h"
#include "main_loop_thread.h"
#include "scripted_api.h"

namespace korvane {
namespace {

TEST(Concurrency, TrackingFlushingAndLifecycleChangesAtOnce) {
  testing::LogCapture quiet(LogLevel::verbose);  // build every log line too
  KorvaneLogger::setLineWriter([](std::string_view) {});
  const auto dir = std::filesystem::temp_directory_path() / ("korvane-concurrency-" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  testing::MainLoopThread loop;
  auto lifecycle = std::make_shared<testing::FakeLifecycle>();
  auto api = std::make_shared<testing::ScriptedApi>();
  auto clock = std::make_shared<linux_host::SystemClock>();
  auto queue = std::make_shared<EventQueueManager>();
  {
    BatchServiceDependencies deps;
    deps.queue = queue;
    deps.persistence = std::make_shared<EventPersistenceManager>(std::make_shared<linux_host::FixedDocumentsDirectory>(dir), clock);
    deps.api = [api]() -> Result<std::shared_ptr<ApiService>> { return std::shared_ptr<ApiService>(api); };
    deps.context = [] { return SendContext{"S", "u", "D", "I", "17"}; };
    deps.mainThread = loop.mainThread();
    deps.clock = clock;
    deps.random = std::make_shared<linux_host::SystemRandom>();
    deps.lifecycle = lifecycle;
    deps.executor = std::make_shared<ThreadPoolExecutor>(2);
    auto service = EventBatchService::create(std::move(deps), 20, 0.05);

    constexpr int kThreads = 6, kPerThread = 300;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
        for (int i = 0; i < kPerThread; ++i) {
          const EventType type = i % 50 == 0 ? EventType::loginSuccess : EventType::missionClicked;
          service->trackEvent(Event::make(std::to_string(t) + "-" + std::to_string(i), type,
                                          static_cast<double>(clock->nowMillis()), "c", JsonValue{{"i", i}}));
        }
      });
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i) service->flush();
    });
    threads.emplace_back([&] {
      for (int i = 0; i < 20; ++i) {
        service->updateBatchConfiguration(10 + i % 3, 0.05 + (i % 2) * 0.01);
        loop.runSync([&] { lifecycle->send(i % 2 ? AppLifecycleEvent::willEnterForeground : AppLifecycleEvent::didEnterBackground); });
      }
    });
    for (std::thread& thread : threads) thread.join();
    loop.runSync([&] { lifecycle->send(AppLifecycleEvent::willEnterForeground); });
    for (int i = 0; i < 200 && queue->count() > 0; ++i) service->flush();

    std::size_t sent = 0;
    for (const EventBatch& batch : api->batches()) sent += batch.events.size();
    EXPECT_GT(sent, 0u);
    EXPECT_LE(sent, static_cast<std::size_t>(kThreads * kPerThread) + 100u) << "only login events can come back from the file";
    EXPECT_EQ(queue->count(), 0u);
  }
  KorvaneLogger::setLineWriter(nullptr);
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace korvane
