// The batch service with a manual clock, main thread, executor and a scripted backend.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <set>

#include "fake_platform.h"
#include "korvane/linux/linux_storage.h"
#include "log_capture.h"
#include "manual_executor.h"
#include "scripted_api.h"
#include "telemetry/error_telemetry.h"
#include "telemetry/event_batch_service.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;
using testing::LogCapture;

// The event file kept in memory.
class MemoryPersistence final : public EventPersistenceProtocol {
 public:
  std::vector<Event> file;
  std::function<void()> whileTaking;  // runs between the read and the return of takeEvents
  Status saveEvent(const Event& event) override {
    file.push_back(event);
    return okStatus();
  }
  Status saveEvents(const std::vector<Event>& events) override {
    file = events;
    return okStatus();
  }
  Result<std::vector<Event>> loadEvents() override { return file; }
  Status clearEvents() override {
    file.clear();
    return okStatus();
  }
  void cleanupOldEvents() override {}
  Status mergeEvents(const std::vector<Event>& events) override {
    for (const Event& event : events)
      if (std::none_of(file.begin(), file.end(), [&](const Event& e) { return e == event; }))
        file.push_back(event);
    return okStatus();
  }
  Status forgetEvents(const std::vector<Event>& events) override {
    std::erase_if(file, [&](const Event& e) {
      return std::find(events.begin(), events.end(), e) != events.end();
    });
    return okStatus();
  }
  Result<std::vector<Event>> takeEvents(std::size_t maxCount) override {
    const auto firstLeft =
        file.begin() + static_cast<std::ptrdiff_t>(std::min(maxCount, file.size()));
    std::vector<Event> taken(file.begin(), firstLeft);
    file.erase(file.begin(), firstLeft);
    if (whileTaking) whileTaking();
    return taken;
  }
};

// Background time that counts the grants begun and those still held.
class CountingBackgroundTime final : public BackgroundTime {
 public:
  Subscription begin(const std::string& name) override {
    names.push_back(name);
    ++held;
    return Subscription([this] { --held; });
  }
  std::vector<std::string> names;
  int held = 0;
};

class BatchServiceTest : public ::testing::Test {
 protected:
  std::shared_ptr<EventBatchService> makeService(std::size_t batchSize = 20,
                                                 double interval = 30.0) {
    BatchServiceDependencies deps;
    deps.queue = queue_;
    deps.persistence = persistence_;
    deps.api = [this]() -> Result<std::shared_ptr<ApiService>> {
      return std::shared_ptr<ApiService>(api_);
    };
    deps.context = [] { return SendContext{"S", "u1", "D", "I", "17.4"}; };
    deps.mainThread = platform_.mainThread;
    deps.clock = platform_.clock;
    deps.random = platform_.random;
    deps.lifecycle = platform_.lifecycle;
    deps.reachability = platform_.reachability;
    deps.executor = executor_;
    deps.serial = executor_;
    deps.backgroundTime = backgroundTime_;
    return EventBatchService::create(std::move(deps), batchSize, interval);
  }
  Event event(EventType type = EventType::missionClicked) {
    return Event::make("E" + std::to_string(next_++), type,
                       static_cast<double>(platform_.clock->nowMillis()), "c", std::nullopt);
  }
  // Runs everything that is due: posted main-thread work and background tasks, until quiet.
  void settle() {
    while (platform_.mainThread->runUntilIdle() + executor_->runAll() > 0) {
    }
  }
  std::size_t sentEvents() const {
    std::size_t n = 0;
    for (const EventBatch& b : api_->batches()) n += b.events.size();
    return n;
  }

  testing::FakePlatform platform_;
  std::shared_ptr<EventQueueManager> queue_ = std::make_shared<EventQueueManager>();
  std::shared_ptr<MemoryPersistence> persistence_ = std::make_shared<MemoryPersistence>();
  std::shared_ptr<testing::ScriptedApi> api_ = std::make_shared<testing::ScriptedApi>();
  std::shared_ptr<testing::ManualExecutor> executor_ = std::make_shared<testing::ManualExecutor>();
  std::shared_ptr<CountingBackgroundTime> backgroundTime_ =
      std::make_shared<CountingBackgroundTime>();
  int next_ = 0;
};

TEST_F(BatchServiceTest, TimerPeriodsStayWithinTwentyPercentOfTheInterval) {
  for (const double unit : {0.0, 0.5, 0.999999}) {
    testing::FakePlatform platform;
    platform_.random->setUnit(unit);
    auto service = makeService();
    service->trackEvent(event());  // the timer runs while events wait
    settle();
    const auto delays = platform_.mainThread->pendingDelays();
    ASSERT_EQ(delays.size(), 1u);
    EXPECT_GE(delays[0], 24000ms);
    EXPECT_LE(delays[0], 36000ms);
    service.reset();
    platform_.mainThread->advance(40s);
  }
}

TEST_F(BatchServiceTest, TheTimerRunsOnlyWhileEventsWait) {
  auto service = makeService();
  settle();
  EXPECT_TRUE(platform_.mainThread->pendingDelays().empty()) << "nothing to send, no timer";
  platform_.mainThread->advance(36s);
  settle();
  EXPECT_TRUE(api_->batches().empty());

  service->trackEvent(event());  // 30 s have passed: flushes at once
  settle();
  EXPECT_EQ(sentEvents(), 1u);
  EXPECT_TRUE(platform_.mainThread->pendingDelays().empty()) << "the send emptied the queue";
  service->trackEvent(event());
  settle();
  EXPECT_EQ(sentEvents(), 1u) << "a fresh send resets the age trigger";
  EXPECT_EQ(platform_.mainThread->pendingDelays().size(), 1u) << "the first event arms the timer";
  platform_.mainThread->advance(36s);
  settle();
  EXPECT_EQ(sentEvents(), 2u) << "the tick sends whatever is queued";
  EXPECT_TRUE(platform_.mainThread->pendingDelays().empty()) << "and is not armed again";
}

TEST_F(BatchServiceTest, TheTwentiethEventTriggersASend) {
  auto service = makeService();
  settle();
  for (int i = 0; i < 19; ++i) service->trackEvent(event());
  settle();
  EXPECT_TRUE(api_->batches().empty());
  service->trackEvent(event());
  settle();
  ASSERT_EQ(api_->batches().size(), 1u);
  EXPECT_EQ(api_->batches()[0].events.size(), 20u);
  EXPECT_EQ(api_->batches()[0].events[0].userId, "u1");
  EXPECT_EQ(queue_->count(), 0u);
}

TEST_F(BatchServiceTest, TwoTriggersProduceOneSend) {
  LogCapture capture(LogLevel::debug);
  api_->holdBatches = true;
  auto service = makeService(1);
  service->trackEvent(event());
  service->trackEvent(event());
  settle();
  EXPECT_EQ(api_->batches().size(), 1u);
  EXPECT_TRUE(capture.contains("[D/EventBatchService] Flush already in progress, skipping..."));
  api_->holdBatches = false;
  api_->release();
  service->flush();
  EXPECT_EQ(api_->batches().size(), 2u) << "free again after the answer";
}

// How each failure is classified, and what follows from it.
struct FailureCase {
  const char* name;
  Error error;
  bool retried;
};

Error httpError(long status) {
  Error e{"ApiService", status, "HTTP " + std::to_string(status) + " error", "NSError"};
  e.userInfo = {{"NSLocalizedDescription", e.description}, {"response", "HTTP"}};
  return e;
}
Error urlError(long code) {
  return Error{"NSURLErrorDomain", code, "url error", "URLError"};
}

class RetryClassification : public BatchServiceTest,
                            public ::testing::WithParamInterface<FailureCase> {};

TEST_P(RetryClassification, RetriesOnlyWhatMaySucceedLater) {
  platform_.random->setUnit(0.999999);
  auto service = makeService(1);
  settle();
  api_->script(GetParam().error);
  service->trackEvent(event());
  settle();
  EXPECT_EQ(queue_->count(), 1u) << "the failed event is back in the queue";
  EXPECT_EQ(persistence_->file.size(), 1u) << "and in the file";
  EXPECT_EQ(service->retryCount(), GetParam().retried ? 1 : 0);
  const auto delays = platform_.mainThread->pendingDelays();
  ASSERT_EQ(delays.size(), 1u) << "the retry owns the next attempt, else the timer does";
  if (GetParam().retried) {
    EXPECT_NEAR(static_cast<double>(delays[0].count()), 5000.0, 1.0) << "first ceiling: 5 s";
  } else {
    EXPECT_GE(delays[0], 24000ms) << "the flush timer";
  }
}

INSTANTIATE_TEST_SUITE_P(
    Errors, RetryClassification,
    ::testing::Values(
        FailureCase{"TimedOut", urlError(-1001), true},
        FailureCase{"CannotConnect", urlError(-1004), true},
        FailureCase{"ConnectionLost", urlError(-1005), true},
        FailureCase{"Offline", urlError(-1009), true},
        FailureCase{"Cancelled", urlError(-999), false},
        FailureCase{"BadUrl", urlError(-1000), false}, FailureCase{"Http503", httpError(503), true},
        FailureCase{"Http500", httpError(500), true}, FailureCase{"Http429", httpError(429), true},
        FailureCase{"Http404", httpError(404), false},
        FailureCase{"Http400", httpError(400), false},
        FailureCase{"Refused", Error{"EventBatchService", -1, "Batch processing failed on server"},
                    false},
        FailureCase{"Decoding", Error{"NSCocoaErrorDomain", 4864, "bad", "DecodingError"}, false}),
    [](const auto& param) { return std::string(param.param.name); });

// A batch the server refuses for good is sent again with what follows, but its events leave the
// queue and the file at their third refusal, with a warning, instead of cycling until they age.
TEST_F(BatchServiceTest, EventsRefusedThreeTimesAreDropped) {
  const Error refusals[] = {httpError(400), httpError(404),
                            Error{"EventBatchService", -1, "Batch processing failed on server"}};
  for (const Error& refusal : refusals) {
    SCOPED_TRACE(refusal.description);
    LogCapture capture;
    auto service = makeService(1);
    settle();
    for (int i = 0; i < 3; ++i) api_->script(refusal);
    service->trackEvent(event());
    settle();
    service->flush();
    EXPECT_EQ(queue_->count(), 1u) << "two refusals: still waiting";
    EXPECT_EQ(persistence_->file.size(), 1u);
    service->flush();
    EXPECT_EQ(queue_->count(), 0u);
    EXPECT_TRUE(persistence_->file.empty());
    EXPECT_EQ(capture.count("[W/EventBatchService] Dropped 1 events the server refused 3 times: " +
                            refusal.description),
              1u);
  }
}

TEST_F(BatchServiceTest, BacksOffFiveThenTenSecondsThenGivesUpUntilASuccess) {
  LogCapture capture(LogLevel::debug);
  platform_.random->setUnit(0.999999);
  auto service = makeService(1);
  settle();
  for (int i = 0; i < 4; ++i) api_->script(httpError(503));
  service->trackEvent(event());
  settle();
  EXPECT_TRUE(capture.contains(
      "[D/EventBatchService] Retrying flush after 5.00s (backoff ceiling: 5.0s)..."));
  platform_.mainThread->advance(5s);
  settle();
  EXPECT_TRUE(capture.contains(
      "[D/EventBatchService] Retrying flush after 10.00s (backoff ceiling: 10.0s)..."));
  platform_.mainThread->advance(10s);
  settle();
  EXPECT_EQ(service->retryCount(), 3);
  EXPECT_TRUE(capture.contains("[W/EventBatchService] Max retry count reached. Giving up."));
  EXPECT_EQ(api_->batches().size(), 3u);
  EXPECT_EQ(platform_.mainThread->pendingDelays().size(), 1u) << "only the timer is left";

  service->flush();  // a later failure gives up at once
  EXPECT_EQ(service->retryCount(), 4);
  EXPECT_EQ(platform_.mainThread->pendingDelays().size(), 1u);
  service->flush();  // the script is empty now: success
  EXPECT_EQ(service->retryCount(), 0);
  EXPECT_EQ(queue_->count(), 0u);
}

TEST_F(BatchServiceTest, BackgroundPersistsTheQueueAndForegroundBringsItBack) {
  auto service = makeService();
  settle();
  for (int i = 0; i < 7; ++i) service->trackEvent(event());
  settle();
  platform_.lifecycle->send(AppLifecycleEvent::didEnterBackground);
  EXPECT_EQ(queue_->count(), 0u);
  ASSERT_EQ(persistence_->file.size(), 7u);
  EXPECT_EQ(persistence_->file.front().eventId, "E0");
  EXPECT_TRUE(platform_.mainThread->pendingDelays().empty()) << "no timer in the background";
  service->trackEvent(event());
  service->updateBatchConfiguration(std::nullopt, 10.0);  // as the validation thread may
  settle();
  EXPECT_TRUE(platform_.mainThread->pendingDelays().empty()) << "nor after an event or a setting";
  platform_.lifecycle->send(AppLifecycleEvent::didEnterBackground);

  platform_.lifecycle->send(AppLifecycleEvent::willEnterForeground);
  EXPECT_EQ(queue_->count(), 8u);
  EXPECT_TRUE(persistence_->file.empty()) << "the file is cleared after loading";
  settle();
  EXPECT_EQ(platform_.mainThread->pendingDelays().size(), 1u) << "the timer runs again";

  platform_.lifecycle->send(AppLifecycleEvent::willTerminate);
  EXPECT_EQ(persistence_->file.size(), 8u);
  EXPECT_EQ(queue_->count(), 8u) << "termination writes the queue and leaves it";
}

// A file holding more than the queue has room for gives the queue what fits, oldest first, and
// keeps the rest for the next load instead of letting the queue push it out.
TEST_F(BatchServiceTest, PersistedEventsBeyondTheQueuesRoomWaitInTheFileForTheNextLoad) {
  const std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("korvane-room-" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  auto file = std::make_shared<EventPersistenceManager>(
      std::make_shared<linux_host::FixedDocumentsDirectory>(dir), platform_.clock);
  std::vector<Event> persisted;
  for (int i = 0; i < 700; ++i) persisted.push_back(event());
  ASSERT_TRUE(file->saveEvents(persisted).ok());
  for (int i = 0; i < 100; ++i)
    queue_->enqueue(event());  // a load fills the queue up to half: room for 150

  testing::LogCapture log;
  BatchServiceDependencies deps;
  deps.queue = queue_;
  deps.persistence = file;
  deps.api = [this]() -> Result<std::shared_ptr<ApiService>> {
    return std::shared_ptr<ApiService>(api_);
  };
  deps.context = [] { return SendContext{}; };
  deps.mainThread = platform_.mainThread;
  deps.clock = platform_.clock;
  deps.random = platform_.random;
  deps.lifecycle = platform_.lifecycle;
  deps.executor = executor_;
  deps.serial = executor_;
  auto service = EventBatchService::create(std::move(deps));
  executor_->runAll(1);  // the serial queue reads the file

  EXPECT_EQ(queue_->count(), 250u);
  EXPECT_EQ(queue_->droppedCount(), 0u) << "nothing was pushed out of the queue";
  const std::vector<Event> queued = queue_->snapshot();
  EXPECT_EQ(queued.front().eventId, "E0");
  EXPECT_EQ(queued[149].eventId, "E149") << "the loaded events, oldest first";
  EXPECT_EQ(queued.back().eventId, "E799") << "then those queued before, in their order";
  const Result<std::vector<Event>> left = file->loadEvents();
  ASSERT_TRUE(left.ok());
  ASSERT_EQ(left.value().size(), 550u) << "the rest stays in the file";
  EXPECT_EQ(left.value().front().eventId, "E150");
  EXPECT_TRUE(
      log.contains("[I/EventBatchService] Took 150 of 700 events from the event file, "
                   "leaving 550 for a later load"));

  for (const char* next : {"E150", "E400", "E650"}) {
    queue_->dequeue(500);
    platform_.lifecycle->send(AppLifecycleEvent::willEnterForeground);
    EXPECT_EQ(queue_->snapshot().front().eventId, next) << "each load brings the next oldest";
  }
  EXPECT_EQ(queue_->count(), 50u);
  EXPECT_FALSE(std::filesystem::exists(dir / "korvane_events.json"));
  service.reset();
  std::filesystem::remove_all(dir);
}

TEST_F(BatchServiceTest, ABatchFailingAfterBackgroundingKeepsWhatBackgroundingWrote) {
  api_->holdBatches = true;
  auto service = makeService(2);
  service->trackEvent(event());
  service->trackEvent(event());  // E0, E1 go out and hang
  settle();
  service->trackEvent(event());  // E2 waits in the queue
  platform_.lifecycle->send(AppLifecycleEvent::didEnterBackground);
  ASSERT_EQ(persistence_->file.size(), 1u);
  api_->release(httpError(503));
  std::set<std::string> inFile;
  for (const Event& e : persistence_->file) inFile.insert(e.eventId);
  EXPECT_EQ(inFile, (std::set<std::string>{"E0", "E1", "E2"}))
      << "the failed batch joins the file, E2 stays";

  api_->holdBatches = false;
  service->flush();
  service->flush();
  EXPECT_EQ(persistence_->file.size(), 1u) << "sent events leave the file";
  EXPECT_EQ(persistence_->file[0].eventId, "E2");
}

// A batch out when the app leaves the foreground keeps background time until its answer is
// handled, whatever the answer; nothing is held between sends.
TEST_F(BatchServiceTest, ABatchInFlightHoldsBackgroundTimeUntilItsAnswer) {
  struct Case {
    const char* name;
    std::optional<Error> failure;
  };
  for (const Case& c : {Case{"delivered", std::nullopt}, Case{"server error", httpError(503)},
                        Case{"cannot connect", urlError(-1004)}}) {
    SCOPED_TRACE(c.name);
    platform_ = testing::FakePlatform();
    queue_ = std::make_shared<EventQueueManager>();
    persistence_ = std::make_shared<MemoryPersistence>();
    backgroundTime_ = std::make_shared<CountingBackgroundTime>();
    api_ = std::make_shared<testing::ScriptedApi>();
    api_->holdBatches = true;
    auto service = makeService(2);
    settle();
    EXPECT_EQ(backgroundTime_->held, 0) << "nothing held before a send";
    service->trackEvent(event());
    service->trackEvent(event());
    settle();
    ASSERT_EQ(backgroundTime_->names, std::vector<std::string>{"KorvaneSDK event batch"});
    platform_.lifecycle->send(AppLifecycleEvent::didEnterBackground);
    EXPECT_EQ(backgroundTime_->held, 1) << "still out after backgrounding";
    api_->release(c.failure);
    settle();
    EXPECT_EQ(backgroundTime_->held, 0) << "ended once the answer is handled";
    service.reset();
    settle();
  }
}

TEST_F(BatchServiceTest, PersistedEventsAreLoadedAtStartAndSentWhenDue) {
  for (int i = 0; i < 25; ++i) persistence_->file.push_back(event());
  auto service = makeService();
  EXPECT_EQ(persistence_->file.size(), 25u) << "read on the serial queue, not here";
  settle();
  EXPECT_TRUE(persistence_->file.empty());
  EXPECT_EQ(sentEvents(), 20u) << "a full batch goes at once";
  EXPECT_EQ(queue_->count(), 5u);
}

// The file is read on the serial queue, so events can be tracked before or while it is read: they
// queue behind the loaded ones, which are older. When they take the room the read was measured
// against, the loaded events that no longer fit wait in the file again instead of being lost.
TEST_F(BatchServiceTest, EventsTrackedBeforeTheFileIsReadQueueBehindTheLoadedOnes) {
  struct Case {
    const char* name;
    int inFile;
    int trackedBefore;
    int trackedWhileReading;
    std::size_t leftInFile;
  };
  const Case cases[] = {{"tracked before the read", 30, 5, 0, 0},
                        {"tracked while the read is under way", 30, 0, 5, 0},
                        {"tracked into the room the read counted on", 495, 0, 255, 250}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    queue_ = std::make_shared<EventQueueManager>();
    persistence_ = std::make_shared<MemoryPersistence>();
    std::vector<std::string> expected;
    for (int i = 0; i < c.inFile; ++i) persistence_->file.push_back(event());
    for (const Event& e : persistence_->file) expected.push_back(e.eventId);
    auto service = makeService(1000);
    std::vector<std::string> tracked;
    const auto track = [&](int n) {
      for (int i = 0; i < n; ++i) {
        Event e = event();
        tracked.push_back(e.eventId);
        service->trackEvent(std::move(e));
      }
    };
    track(c.trackedBefore);
    persistence_->whileTaking = [&] { track(c.trackedWhileReading); };
    executor_->runAll(1);  // the serial queue's read

    expected.resize(expected.size() - c.leftInFile);
    expected.insert(expected.end(), tracked.begin(), tracked.end());
    std::vector<std::string> queued;
    for (const Event& e : queue_->snapshot()) queued.push_back(e.eventId);
    EXPECT_EQ(queued, expected);
    EXPECT_EQ(persistence_->file.size(), c.leftInFile) << "the newest loaded wait in the file";
    EXPECT_EQ(queue_->droppedCount(), 0u);
    service.reset();
    settle();
  }
}

TEST_F(BatchServiceTest, ServerSettingsApplyOnlyWhenValidAndChanged) {
  auto service = makeService();
  settle();
  {
    LogCapture capture(LogLevel::verbose);
    service->updateBatchConfiguration(0, -1.0);
    service->updateBatchConfiguration(20, 30.0);
    EXPECT_TRUE(capture.lines().empty());
  }
  for (int i = 0; i < 5; ++i) service->trackEvent(event());
  settle();
  EXPECT_TRUE(api_->batches().empty());
  service->updateBatchConfiguration(5, 2.0);
  EXPECT_EQ(service->batchSize(), 5u);
  EXPECT_EQ(service->flushInterval(), 2.0);
  settle();
  EXPECT_EQ(sentEvents(), 5u) << "the queue already holds a batch of the new size";
  service->trackEvent(event());
  const auto delays = platform_.mainThread->pendingDelays();
  ASSERT_EQ(delays.size(), 1u);
  EXPECT_LE(delays[0], 2400ms) << "the timer runs with the new interval";
}

// A server interval the timers cannot take is brought into range and said so; the timer then
// runs at the range's edge instead of spinning or overflowing.
TEST_F(BatchServiceTest, AbsurdServerIntervalsAreClampedAndLogged) {
  struct Case {
    double seconds;
    double applied;
  };
  const Case cases[] = {{0.001, 1.0},
                        {1e16, 86400.0},
                        {std::numeric_limits<double>::infinity(), 86400.0},
                        {9.2e15, 86400.0},
                        {45.0, 45.0}};
  for (const Case& c : cases) {
    auto service = makeService();
    service->trackEvent(event());  // the timer runs while events wait
    settle();
    LogCapture capture(LogLevel::warning);
    service->updateBatchConfiguration(std::nullopt, c.seconds);
    EXPECT_EQ(service->flushInterval(), c.applied) << c.seconds;
    EXPECT_EQ(capture.mentions("[W/EventBatchService] Flush interval "), c.applied != c.seconds)
        << c.seconds;
    platform_.mainThread->runUntilIdle();
    const auto delays = platform_.mainThread->pendingDelays();
    ASSERT_FALSE(delays.empty()) << c.seconds;
    EXPECT_GE(delays.back(), std::chrono::milliseconds(std::llround(c.applied * 800)));
    EXPECT_LE(delays.back(), std::chrono::milliseconds(std::llround(c.applied * 1200)));
  }
}

TEST_F(BatchServiceTest, CriticalEventsAreWrittenToTheFileAtOnce) {
  auto service = makeService();
  service->trackEvent(event(EventType::loginSuccess));
  service->trackEvent(event(EventType::missionClicked));
  service->trackEvent(event(EventType::sdkCrash));
  ASSERT_EQ(persistence_->file.size(), 2u);
  EXPECT_EQ(persistence_->file[0].type, EventType::loginSuccess);
  EXPECT_EQ(queue_->count(), 3u);
}

// Error telemetry through the same fakes.
class ErrorTelemetryTest : public BatchServiceTest {
 protected:
  void SetUp() override {
    service_ = makeService(100);
    telemetry_->install(service_, "1.0.52-rc.2", nullptr, platform_.clock, platform_.random);
    KorvaneLogger::setTelemetrySink(telemetry_->loggerSink());
  }
  void TearDown() override { KorvaneLogger::setTelemetrySink(nullptr); }
  std::vector<Event> errorEvents() const {
    std::vector<Event> found;
    for (const Event& e : queue_->snapshot())
      if (e.type == EventType::sdkError) found.push_back(e);
    return found;
  }
  std::shared_ptr<ErrorTelemetry> telemetry_ = std::make_shared<ErrorTelemetry>();
  std::shared_ptr<EventBatchService> service_;
};

TEST_F(ErrorTelemetryTest, OnlyErrorsWithANonNetworkErrorObjectBecomeEvents) {
  LogCapture capture(LogLevel::none);
  KorvaneLogger::setTelemetrySink(telemetry_->loggerSink());
  const Error decoding{"NSCocoaErrorDomain", 4864, "bad data", "DecodingError"};
  platform_.clock->advance(std::chrono::microseconds(250));
  KorvaneLogger::e("Api", "token=abc failed", decoding);  // becomes an event
  KorvaneLogger::e("Api", "timed out", urlError(-1001));  // network: no
  KorvaneLogger::w("Api", "warned", decoding);            // warning: no
  KorvaneLogger::e("Api", "no error object");             // no object: no
  const auto events = errorEvents();
  ASSERT_EQ(events.size(), 1u);
  const JsonValue& p = *events[0].payload;
  EXPECT_EQ(p["errorType"], "DecodingError");
  EXPECT_EQ(p["message"], "token=*** failed");
  EXPECT_EQ(p["layer"], "core");
  EXPECT_EQ(p["sdkVersion"], "1.0.52-rc.2");
  EXPECT_EQ(p["platform"], "iOS");
  EXPECT_EQ(events[0].category, "sdk_diagnostic");
  EXPECT_EQ(events[0].timestamp, 1700000000000.25) << "with the fraction of a millisecond";

  telemetry_->setEnabled(false);
  KorvaneLogger::e("Api", "again", decoding);
  telemetry_->reportError("host says", nullptr, "host");
  EXPECT_EQ(errorEvents().size(), 1u) << "switched off";
}

// A queue whose enqueue itself logs an error, as a failing track path would.
class ComplainingQueue final : public EventQueueProtocol {
 public:
  EventQueueManager inner;
  void enqueue(Event event) override {
    inner.enqueue(std::move(event));
    KorvaneLogger::e("Queue", "enqueue trouble", Error{"X", 1, "inner", "QueueError"});
  }
  std::vector<Event> prepend(std::vector<Event> events) override {
    return inner.prepend(std::move(events));
  }
  std::vector<Event> dequeue(std::size_t n) override { return inner.dequeue(n); }
  std::size_t count() const override { return inner.count(); }
  std::size_t room() const override { return inner.room(); }
  std::vector<Event> snapshot() const override { return inner.snapshot(); }
};

TEST_F(BatchServiceTest, AnErrorRaisedWhileReportingIsNotReportedAgain) {
  LogCapture capture(LogLevel::none);
  auto complaining = std::make_shared<ComplainingQueue>();
  BatchServiceDependencies deps;
  deps.queue = complaining;
  deps.persistence = persistence_;
  deps.api = [this]() -> Result<std::shared_ptr<ApiService>> {
    return std::shared_ptr<ApiService>(api_);
  };
  deps.context = [] { return SendContext{}; };
  deps.mainThread = platform_.mainThread;
  deps.clock = platform_.clock;
  deps.random = platform_.random;
  deps.executor = executor_;
  deps.serial = executor_;
  auto service = EventBatchService::create(std::move(deps), 100, 30.0);
  auto telemetry = std::make_shared<ErrorTelemetry>();
  telemetry->install(service, "1.0.52-rc.2", nullptr, platform_.clock, platform_.random);
  KorvaneLogger::setTelemetrySink(telemetry->loggerSink());
  KorvaneLogger::e("Outer", "first", Error{"X", 1, "outer", "OuterError"});
  KorvaneLogger::setTelemetrySink(nullptr);
  ASSERT_EQ(complaining->count(), 1u)
      << "the error logged inside the report did not become a second event";
  EXPECT_EQ(complaining->snapshot()[0].payload->at("errorType"), "OuterError");
}

TEST(StackTrace, KeepsFourThousandCharactersAndMarksTheCut) {
  const std::string exact(4000, 'x');
  EXPECT_EQ(joinStackTrace({exact}), exact);
  EXPECT_EQ(joinStackTrace({exact + "y"}), exact + "…[truncated]");
  EXPECT_EQ(joinStackTrace({"a", "b"}), "a\nb");
  const std::string wide =
      std::string(3999, 'x') + "한국";  // counted in characters, cut between them
  EXPECT_EQ(joinStackTrace({wide}), std::string(3999, 'x') + "한…[truncated]");
}

}  // namespace
}  // namespace korvane
