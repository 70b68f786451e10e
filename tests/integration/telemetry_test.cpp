// The telemetry pipeline end to end: real main loop, libcurl, the local backend with faults,
// the event file on disk, and a host process that crashes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <thread>

#include "backend/record_codec.h"
#include "dev_server.h"
#include "fake_platform.h"
#include "korvane/linux/curl_http_client.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"
#include "log_capture.h"
#include "main_loop_thread.h"
#include "telemetry/event_batch_service.h"
#include "telemetry/event_codec.h"
#include "telemetry/event_conversion.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using devserver::DevServer;
using devserver::Fault;

fs::path freshDirectory(const std::string& name) {
  const fs::path dir =
      fs::temp_directory_path() / ("korvane-" + name + "-" + std::to_string(::getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir);
  return dir;
}

const SendContext kContext{"SESSION-1", "user-7", "DEVICE-1",
                           "6D92078A-8246-4BA4-AE5B-76104861E7DC", "17.4"};

struct Pipeline {
  std::shared_ptr<EventQueueManager> queue = std::make_shared<EventQueueManager>();
  std::shared_ptr<EventPersistenceManager> persistence;
  std::shared_ptr<EventBatchService> service;
};

Pipeline makePipeline(const fs::path& documents, std::function<std::string()> baseUrl,
                      std::shared_ptr<MainThread> mainThread,
                      std::shared_ptr<AppLifecycle> lifecycle, std::shared_ptr<Executor> executor,
                      double interval) {
  Pipeline p;
  auto clock = std::make_shared<linux_host::SystemClock>();
  p.persistence = std::make_shared<EventPersistenceManager>(
      std::make_shared<linux_host::FixedDocumentsDirectory>(documents), clock);
  auto http = std::make_shared<linux_host::CurlHttpClient>();
  auto config =
      KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret").setTimeoutMillis(1000).build();
  BatchServiceDependencies deps;
  deps.queue = p.queue;
  deps.persistence = p.persistence;
  deps.api = [=]() -> Result<std::shared_ptr<ApiService>> {
    return std::shared_ptr<ApiService>(std::make_shared<ApiServiceImpl>(baseUrl(), config, http));
  };
  deps.context = [] { return kContext; };
  deps.mainThread = std::move(mainThread);
  deps.clock = clock;
  deps.random = std::make_shared<linux_host::SystemRandom>();
  deps.lifecycle = std::move(lifecycle);
  deps.serial = executor;
  deps.executor = std::move(executor);
  p.service = EventBatchService::create(std::move(deps), 20, interval);
  return p;
}

// 2,000 events through timers, 5xx and 429 storms, timeouts, dropped and refused connections and
// a background/foreground cycle: every event arrives, in its exact wire form.
TEST(TelemetryPipeline, LosesNoEventThroughFaultsAndLifecycleChanges) {
  testing::LogCapture quiet(LogLevel::none);
  const fs::path documents = freshDirectory("soak");
  testing::MainLoopThread loop;
  auto lifecycle = std::make_shared<testing::FakeLifecycle>();
  auto executor = std::make_shared<ThreadPoolExecutor>(2);

  auto server = std::make_unique<DevServer>();
  ASSERT_NE(server->start(), 0);
  const int port = server->port();
  const std::string base = server->baseUrl();
  std::vector<TrackEventRequest> delivered;
  auto currentBase = [&] { return base; };
  Pipeline p = makePipeline(documents, currentBase, loop.mainThread(), lifecycle, executor, 0.3);

  std::map<std::string, Event> sent;
  auto track = [&](int seq) {
    Event e = Event::make(
        "E" + std::to_string(seq), seq % 2 ? EventType::missionClicked : EventType::quizImpressed,
        static_cast<double>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                std::chrono::system_clock::now().time_since_epoch())
                                .count()),
        "soak", JsonValue{{"seq", seq}, {"placementId", "home"}});
    sent.emplace(std::to_string(seq), e);
    p.service->trackEvent(std::move(e));
  };

  const std::string batchPath = "/v1/api/sdk/event/batch";
  for (int seq = 0; seq < 2000; ++seq) {
    switch (seq) {
      case 200:
        server->setFault(batchPath, Fault{503, 0ms, false, false, 6});
        break;
      case 500:
        server->setFault(batchPath, Fault{429, 0ms, false, false, 6});
        break;
      case 800:
        server->setFault(batchPath, Fault{0, 0ms, true, false, 3});
        break;
      case 650:
        server->setFault(batchPath, Fault{0, 1200ms, false, false, 1});
        break;  // answered after the client gave up
      case 1200: {
        server->stop();  // connections are refused until it is back
        for (TrackEventRequest& r : server->deliveredEvents()) delivered.push_back(std::move(r));
        server.reset();
        break;
      }
      case 1300: {
        devserver::Options options;
        options.port = port;
        server = std::make_unique<DevServer>(options);
        ASSERT_NE(server->start(), 0);
        break;
      }
      case 1500:
        loop.runSync([&] { lifecycle->send(AppLifecycleEvent::didEnterBackground); });
        break;
      case 1600:
        loop.runSync([&] { lifecycle->send(AppLifecycleEvent::willEnterForeground); });
        break;
      default:
        break;
    }
    track(seq);
    std::this_thread::sleep_for(4ms);  // about 250 events a second
  }

  // Everything is sent by the timers and triggers; allow for backoff and give-ups. Events the
  // design parks in the file (a foreground that found the queue busy skips loading) go out at the
  // next start, so the app terminates and starts again a few seconds into the wait.
  const auto restartAt = std::chrono::steady_clock::now() + 5s;
  bool restarted = false;
  // The loop ends as soon as everything arrived; the bound only keeps a lost event from hanging
  // the run, and is wide for instrumented builds on a busy machine.
  const auto deadline = std::chrono::steady_clock::now() + 300s;
  std::size_t dropped = 0;
  auto uniqueDelivered = [&] {
    std::set<std::string> seen;
    for (const auto& r : delivered) seen.insert(r.parameters[0].second);
    for (const auto& r : server->deliveredEvents()) seen.insert(r.parameters[0].second);
    return seen.size();
  };
  while (uniqueDelivered() + dropped + p.queue->droppedCount() < sent.size() &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(100ms);
    if (!restarted && std::chrono::steady_clock::now() > restartAt) {
      restarted = true;
      loop.runSync([&] { lifecycle->send(AppLifecycleEvent::willTerminate); });
      dropped += p.queue->droppedCount();
      p = makePipeline(documents, currentBase, loop.mainThread(), lifecycle, executor, 0.3);
    }
    p.service->flush();
  }
  for (TrackEventRequest& r : server->deliveredEvents()) delivered.push_back(std::move(r));

  std::map<std::string, int> copies;
  for (const TrackEventRequest& r : delivered) {
    ASSERT_EQ(r.parameters.size(), 2u);
    const std::string seq = r.parameters[0].second;
    ++copies[seq];
    const auto expected = sent.find(seq);
    ASSERT_NE(expected, sent.end()) << seq;
    EXPECT_EQ(json::dump(toJson(r)),
              json::dump(toJson(toTrackEventRequest(expected->second, kContext))));
  }
  std::size_t duplicates = 0;
  for (const auto& [seq, n] : copies) duplicates += static_cast<std::size_t>(n - 1);
  // While sends are held back, the events beyond half the queue wait in the file, so the bound
  // never has to push one out.
  dropped += p.queue->droppedCount();
  EXPECT_EQ(dropped, 0u);
  EXPECT_EQ(copies.size(), 2000u) << "every event arrived";
  RecordProperty("duplicates", static_cast<int>(duplicates));
  std::printf(
      "delivered %zu events, %zu unique, %zu duplicates (answers the client had given up on, or "
      "events sent from the queue and later again from the file), %zu pushed out by the bound\n",
      delivered.size(), copies.size(), duplicates, dropped);
  p.service.reset();
  executor.reset();
  fs::remove_all(documents);
}

TEST(TelemetryPipeline, AnUncaughtExceptionLeavesACrashEventThatTheNextStartSends) {
  const fs::path documents = freshDirectory("crash");
  const pid_t child = fork();
  if (child == 0) {
    execl(KORVANE_CRASH_CHILD, KORVANE_CRASH_CHILD, documents.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the host died of the exception";
  EXPECT_EQ(WTERMSIG(status), SIGABRT);

  std::ifstream in(documents / "korvane_events.json");
  const std::string text((std::istreambuf_iterator<char>(in)), {});
  const Result<std::vector<Event>> file = decodeEventFile(text);
  ASSERT_TRUE(file.ok()) << text;
  ASSERT_EQ(file.value().size(), 1u);
  const Event& crash = file.value()[0];
  EXPECT_EQ(crash.type, EventType::sdkCrash);
  EXPECT_EQ(crash.category, "sdk_diagnostic");
  EXPECT_EQ(crash.payload->at("errorType"), "std::runtime_error");
  EXPECT_EQ(crash.payload->at("message"), "std::runtime_error: payment failed for password=***");
  EXPECT_FALSE(crash.payload->at("stacktrace").get<std::string>().empty());
  EXPECT_EQ(crash.payload->at("layer"), "core");

  testing::LogCapture quiet(LogLevel::none);
  DevServer server;
  ASSERT_NE(server.start(), 0);
  testing::MainLoopThread loop;
  auto executor = std::make_shared<ThreadPoolExecutor>(1);
  Pipeline next = makePipeline(
      documents, [&] { return server.baseUrl(); }, loop.mainThread(), nullptr, executor, 0.2);
  ASSERT_TRUE(server.waitForEvents(1, 10s));
  EXPECT_EQ(server.deliveredEvents()[0].name, "sdk_crash");
  EXPECT_FALSE(fs::exists(documents / "korvane_events.json")) << "loaded and cleared";
  next.service.reset();
  fs::remove_all(documents);
}

// An event file that cannot be read is logged, never thrown: otherwise the exception would
// end the process while the file lock is held and the crash handler would wait for it forever.
TEST(TelemetryPipeline, AnUnreadableDataDirectoryIsLoggedAndTheCrashHandlerStillFinishes) {
  const fs::path documents = freshDirectory("crash-unreadable");
  const fs::path output = documents.string() + ".out";
  const pid_t child = fork();
  if (child == 0) {
    const int fd = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ::dup2(fd, STDERR_FILENO);  // where log lines go
    execl(KORVANE_CRASH_CHILD, KORVANE_CRASH_CHILD, documents.c_str(), "--unreadable-later",
          static_cast<char*>(nullptr));
    _exit(127);
  }
  // Waits generously; a child still alive by then is stuck.
  int status = 0;
  pid_t ended = 0;
  for (int i = 0; i < 600 && ended == 0; ++i) {
    ended = waitpid(child, &status, WNOHANG);
    if (ended == 0) std::this_thread::sleep_for(100ms);
  }
  if (ended == 0) {
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
  }
  ASSERT_NE(ended, 0) << "the crash handler hung";
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGABRT);
  std::ifstream in(output);
  const std::string printed((std::istreambuf_iterator<char>(in)), {});
  EXPECT_NE(printed.find("[E/EventBatchService] Failed to load persisted events: "),
            std::string::npos)
      << printed;
  EXPECT_NE(printed.find("[E/EventBatchService] Failed to persist crash event: "),
            std::string::npos)
      << printed;
  fs::remove(output);
  fs::remove(documents.string() + "-loop");
  fs::remove(documents);
}

TEST(TelemetryPipeline, WithTelemetryOffACrashLeavesNothingAndTheHostHandlerStillRuns) {
  const fs::path documents = freshDirectory("crash-off");
  const std::string marker = (documents / "marker").string();
  const pid_t child = fork();
  if (child == 0) {
    execl(KORVANE_CRASH_CHILD, KORVANE_CRASH_CHILD, documents.c_str(), "--telemetry-off",
          marker.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_TRUE(fs::exists(marker)) << "the previously installed handler was called";
  EXPECT_FALSE(fs::exists(documents / "korvane_events.json"));
  fs::remove_all(documents);
}

}  // namespace
}  // namespace korvane
