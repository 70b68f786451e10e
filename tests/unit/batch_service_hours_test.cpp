// What the batch service costs over a simulated hour: main-thread wake-ups while nothing waits,
// and send attempts while the device is offline or the backend fails. Manual clock, main thread
// and executor; the real API service over the fake HTTP client, whose requests are the send
// attempts.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>

#include "fake_platform.h"
#include "korvane/linux/linux_storage.h"
#include "log_capture.h"
#include "manual_executor.h"
#include "telemetry/event_batch_service.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* kBatchPath = "/v1/api/sdk/event/batch";

class BatchServiceHourTest : public ::testing::Test {
 public:  // table rows act on the fixture
  void SetUp() override {
    std::filesystem::remove_all(documents_);
    platform_.random->setUnit(0.999);  // backoff delays at their ceilings
    platform_.http->respond = [this](const HttpRequest&) -> HttpResult {
      if (!platform_.reachability->connected)
        return TransportError{TransportErrorKind::notConnected, 6, "offline"};
      return HttpResponse{200, {}, R"({"success":true,"processedCount":20,"failedEventIds":[]})"};
    };
  }
  void TearDown() override {
    service_.reset();
    std::filesystem::remove_all(documents_);
  }

  void start() {
    BatchServiceDependencies deps;
    deps.queue = queue_;
    deps.persistence = std::make_shared<EventPersistenceManager>(
        std::make_shared<linux_host::FixedDocumentsDirectory>(documents_), platform_.clock);
    auto api = std::make_shared<ApiServiceImpl>("https://api.example.io",
                                                KorvaneSdkConfig::Builder("key", "secret").build(),
                                                platform_.http);
    deps.api = [api]() -> Result<std::shared_ptr<ApiService>> {
      return std::shared_ptr<ApiService>(api);
    };
    deps.context = [] { return SendContext{"S", "u1", "D", "I", "17.4"}; };
    deps.mainThread = platform_.mainThread;
    deps.clock = platform_.clock;
    deps.random = platform_.random;
    deps.lifecycle = platform_.lifecycle;
    deps.reachability = platform_.reachability;
    deps.executor = executor_;
    deps.serial = executor_;
    service_ = EventBatchService::create(std::move(deps));
    settle();
  }
  void settle() {
    while (platform_.mainThread->runUntilIdle() + executor_->runAll() > 0) {
    }
  }
  void track() {
    service_->trackEvent(Event::make("E" + std::to_string(next_++), EventType::missionClicked,
                                     static_cast<double>(platform_.clock->nowMillis()), "c",
                                     std::nullopt));
  }
  // Moves time on by `span` a second at a time, running background work as it comes; `each` runs
  // at the start of every second. Returns the main-thread tasks that ran: the wake-ups.
  int pass(std::chrono::seconds span, const std::function<void(std::chrono::seconds)>& each = {}) {
    int wakeUps = 0;
    for (std::chrono::seconds at{0}; at < span; ++at) {
      if (each) each(at);
      executor_->runAll();
      wakeUps += platform_.mainThread->advance(1s);
      executor_->runAll();
    }
    return wakeUps;
  }
  std::size_t sendAttempts() const {
    std::size_t n = 0;
    for (const HttpRequest& request : platform_.http->requests())
      n += request.url.ends_with(kBatchPath) ? 1 : 0;
    return n;
  }

  testing::LogCapture quiet_{LogLevel::none};
  testing::FakePlatform platform_;
  std::shared_ptr<EventQueueManager> queue_ = std::make_shared<EventQueueManager>();
  std::shared_ptr<testing::ManualExecutor> executor_ = std::make_shared<testing::ManualExecutor>();
  std::shared_ptr<EventBatchService> service_;
  std::filesystem::path documents_ =
      std::filesystem::temp_directory_path() / ("korvane-hours-" + std::to_string(::getpid()));
  int next_ = 0;
};

// Nothing to send, nothing to wake for: whatever emptied the queue, the hour after it passes
// without a single main-thread task.
TEST_F(BatchServiceHourTest, AnIdleHourWakesTheMainThreadNever) {
  struct Case {
    const char* name;
    std::function<void(BatchServiceHourTest&)> before;
  };
  const Case cases[] = {
      {"nothing tracked since the start", [](BatchServiceHourTest&) {}},
      {"a full batch sent at once",
       [](BatchServiceHourTest& t) {
         for (int i = 0; i < 20; ++i) t.track();
       }},
      {"a few events sent by the timer",
       [](BatchServiceHourTest& t) {
         for (int i = 0; i < 3; ++i) t.track();
         t.pass(40s);
       }},
      {"a backlog sent once the network came back",
       [](BatchServiceHourTest& t) {
         t.platform_.reachability->set(false);
         for (int i = 0; i < 30; ++i) t.track();
         t.pass(120s);
         t.platform_.reachability->set(true);
         t.pass(60s);
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TearDown();
    platform_ = testing::FakePlatform();
    SetUp();
    queue_ = std::make_shared<EventQueueManager>();
    start();
    c.before(*this);
    settle();
    ASSERT_EQ(queue_->count(), 0u) << "everything was sent";
    const std::size_t sentBefore = sendAttempts();
    EXPECT_EQ(pass(3600s), 0) << "wake-ups in an idle hour";
    EXPECT_EQ(sendAttempts(), sentBefore);
  }
}

// Offline for an hour while the app tracks an event every 3 s: three attempts (the send and its
// two retries), then sending waits for the network or the foreground; a change notice that still
// says offline does not end the wait, and each return to the foreground tries once.
TEST_F(BatchServiceHourTest, AnOfflineHourCostsAtMostEightSendAttempts) {
  struct Case {
    const char* name;
    std::function<void(BatchServiceHourTest&, std::chrono::seconds)> extra;
    std::size_t attempts;
  };
  const Case cases[] = {
      {"offline throughout", [](BatchServiceHourTest&, std::chrono::seconds) {}, 3},
      {"the path changes every 10 minutes but stays offline",
       [](BatchServiceHourTest& t, std::chrono::seconds at) {
         if (at.count() % 600 == 300) t.platform_.reachability->set(false);
       },
       3},
      {"the app leaves and comes back every 20 minutes",
       [](BatchServiceHourTest& t, std::chrono::seconds at) {
         if (at.count() % 1200 == 600) {
           t.platform_.lifecycle->send(AppLifecycleEvent::didEnterBackground);
           t.platform_.lifecycle->send(AppLifecycleEvent::willEnterForeground);
         }
       },
       6},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TearDown();
    platform_ = testing::FakePlatform();
    SetUp();
    queue_ = std::make_shared<EventQueueManager>();
    platform_.reachability->connected = false;
    start();
    const int wakeUps = pass(3600s, [&](std::chrono::seconds at) {
      if (at.count() % 3 == 0) track();
      c.extra(*this, at);
    });
    EXPECT_EQ(sendAttempts(), c.attempts);
    EXPECT_LE(sendAttempts(), 8u);
    EXPECT_LE(wakeUps, 3) << "the retries and at most one tick of the timer";
    EXPECT_GT(queue_->count(), 0u) << "the events wait";
  }
}

// With the network there but the backend failing, the flush timer paces the attempts after the
// third failure: one a tick, never one per tracked event; once the device is offline too, none.
TEST_F(BatchServiceHourTest, AFailingBackendIsTriedOncePerTimerTick) {
  struct Case {
    const char* name;
    std::chrono::seconds offlineFrom;
    std::size_t atMost;
  };
  const Case cases[] = {{"online throughout", 3600s, 3 + 3600 / 24},
                        {"offline after half an hour", 1800s, 3 + 1800 / 24}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TearDown();
    platform_ = testing::FakePlatform();
    SetUp();
    queue_ = std::make_shared<EventQueueManager>();
    platform_.http->respond = [](const HttpRequest&) -> HttpResult {
      return HttpResponse{503, {}, "Service Unavailable"};
    };
    start();
    const int wakeUps = pass(3600s, [&](std::chrono::seconds at) {
      if (at.count() % 3 == 0) track();
      if (at == c.offlineFrom) platform_.reachability->set(false);
    });
    EXPECT_LE(sendAttempts(), c.atMost) << "a 24 s period at the shortest";
    EXPECT_LE(sendAttempts(), static_cast<std::size_t>(wakeUps) + 1) << "one per wake-up at most";
    EXPECT_GE(sendAttempts(), c.atMost / 2) << "the backend is still tried";
  }
}

// The network coming back ends the wait at once; what waited is sent, oldest first.
TEST_F(BatchServiceHourTest, SendingResumesWhenTheNetworkComesBack) {
  platform_.reachability->connected = false;
  start();
  pass(600s, [&](std::chrono::seconds at) {
    if (at.count() % 30 == 0) track();
  });
  ASSERT_EQ(sendAttempts(), 3u);
  ASSERT_EQ(queue_->count(), 20u);

  platform_.reachability->set(true);
  settle();
  EXPECT_EQ(sendAttempts(), 4u) << "one send at once";
  EXPECT_EQ(queue_->count(), 0u);
  EXPECT_EQ(service_->retryCount(), 0);
  EXPECT_EQ(service_->tally().delivered, 20u);
}

// An offline hour at an event a second is seven times what the queue holds: what nothing may
// send waits in the event file rather than being pushed out, and all of it goes once the
// network is back.
TEST_F(BatchServiceHourTest, WhatWaitsOfflineBeyondTheQueuesBoundIsKeptAndSentLater) {
  platform_.reachability->connected = false;
  start();
  pass(3600s, [&](std::chrono::seconds) { track(); });
  ASSERT_EQ(sendAttempts(), 3u);
  EXPECT_EQ(queue_->droppedCount(), 0u);
  EXPECT_LE(queue_->count(), 250u) << "the queue keeps room";

  platform_.reachability->set(true);
  settle();
  for (int flushes = 0; flushes < 400 && service_->tally().delivered < 3600; ++flushes) {
    service_->flush();
    settle();
  }
  EXPECT_EQ(service_->tally().delivered, 3600u);
  EXPECT_EQ(queue_->count(), 0u);
  EXPECT_EQ(queue_->droppedCount(), 0u);
}

}  // namespace
}  // namespace korvane
