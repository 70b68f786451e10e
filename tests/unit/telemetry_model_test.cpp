// Event model, wire conversion, the bounded queue and the event file.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <set>

#include "backend/record_codec.h"
#include "korvane/linux/linux_storage.h"
#include "log_capture.h"
#include "manual_clock.h"
#include "telemetry/event_codec.h"
#include "telemetry/event_conversion.h"
#include "telemetry/event_persistence.h"
#include "telemetry/event_queue.h"
#include "util/base64.h"
#include "util/number_text.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;
using json::Json;

Event eventAt(double millis, std::string id = "E") {
  return Event::make(std::move(id), EventType::missionClicked, millis, "mission",
                     Json{{"missionId", "m1"}});
}

TEST(EventType, RawValuesRoundTripAndNothingElseConstructs) {
  const std::vector<std::string> raw = {
      "quiz_clicked",      "quiz_impressed",     "quiz_started",
      "quiz_completed",    "mission_clicked",    "mission_impressed",
      "mission_completed", "mission_progressed", "offerwall_opened",
      "offerwall_closed",  "banner_clicked",     "banner_impressed",
      "login_success",     "login_failed",       "custom",
      "sdk_error",         "sdk_crash"};
  for (std::size_t i = 0; i < raw.size(); ++i) {
    EXPECT_EQ(rawValue(static_cast<EventType>(i)), raw[i]);
    EXPECT_EQ(eventTypeFromRawValue(raw[i]), static_cast<EventType>(i));
  }
  for (const char* other : {"", "Custom", "session_start", "user_login", "sdk_crash "})
    EXPECT_EQ(eventTypeFromRawValue(other), std::nullopt) << other;
}

TEST(EventConversion, NamesParametersTimesAndTheAbsentUser) {
  const SendContext context{"SESSION", std::nullopt, "DEVICE", "IFA", "17.4"};
  struct Case {
    Event event;
    std::string name;
    std::vector<std::pair<std::string, std::string>> parameters;
  };
  const Case cases[] = {
      {Event::custom("1", "level_up", 0, "game", std::nullopt), "level_up", {}},
      {Event::make("2", EventType::bannerClicked, 0, "banner", std::nullopt), "banner_clicked", {}},
      {Event::make("3", EventType::missionProgressed, 0, "mission",
                   Json{{"missionId", "m1"}, {"progress", 3}}),
       "mission_progressed",
       {{"missionId", "m1"}, {"progress", "3"}}},
      {Event::make("4", EventType::custom, 0, "c",
                   Json{{"b", true},
                        {"f", 2.5},
                        {"n", nullptr},
                        {"a", Json::array({1, "x"})},
                        {"o", Json{{"k", 1}}}}),
       "custom",
       {{"b", "true"}, {"f", "2.5"}, {"n", "null"}, {"a", R"([1,"x"])"}, {"o", R"({"k":1})"}}},
  };
  for (const Case& c : cases) {
    const TrackEventRequest request = toTrackEventRequest(c.event, context);
    EXPECT_EQ(request.name, c.name);
    EXPECT_EQ(request.parameters, c.parameters);
    EXPECT_EQ(request.userId, std::nullopt);
    EXPECT_EQ(json::dump(toJson(request)).find("userId"), std::string::npos) << "absent, not null";
    EXPECT_EQ(request.sessionId, "SESSION");
    EXPECT_EQ(request.sdkVersion, "1.0.52-rc.2");
    EXPECT_EQ(request.platform, "iOS");
  }
  // Midnight 1970 UTC seen from the device's zone.
  const std::time_t zero = 0;
  std::tm local{};
  localtime_r(&zero, &local);
  char expected[32];
  std::strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", &local);
  EXPECT_EQ(formatLocalTimestamp(0), expected);
  EXPECT_EQ(formatLocalTimestamp(999.9), expected) << "milliseconds are cut, not rounded";
  // Out-of-range times from a tampered file show as the nearest year the text can hold.
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::pair<double, int> extremes[] = {
      {1e300, 9999}, {kInfinity, 9999}, {-1e300, 1}, {-kInfinity, 1}, {9.3e18, 9999}};
  for (const auto& [millis, year] : extremes)
    EXPECT_EQ(std::stoi(formatLocalTimestamp(millis)), year) << millis;
  EXPECT_EQ(formatLocalTimestamp(std::nan("")), expected);
  EXPECT_EQ(formatIso8601(std::chrono::system_clock::time_point(std::chrono::seconds(1772356500))),
            "2026-03-01T09:15:00Z");
}

// Intervals and delays in log lines print as the platform's default number description.
TEST(NumberText, ShortestDigitsWithAFractionAndExponentsOnlyAtTheExtremes) {
  const std::pair<double, const char*> cases[] = {
      {30.0, "30.0"}, {1.5, "1.5"},     {31.204, "31.204"}, {0.3, "0.3"},    {2000.0, "2000.0"},
      {0.0, "0.0"},   {-4.25, "-4.25"}, {1e-5, "1e-05"},    {1e16, "1e+16"}, {0.0001, "0.0001"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(swiftNumber(value), text) << value;
}

TEST(EventFile, EncodingKeepsKeyOrderAndCarriesThePayloadAsBase64) {
  const Event plain = Event::make("A", EventType::quizClicked, 1.5, "quiz", std::nullopt);
  const Event named = Event::custom("B", "level_up", 2, "game", Json{{"level", 3}});
  EXPECT_EQ(json::dump(toJson(plain)),
            R"({"eventId":"A","type":"quiz_clicked","timestamp":1.5,"category":"quiz"})");
  EXPECT_EQ(
      json::dump(toJson(named)),
      R"({"eventId":"B","type":"custom","customEventName":"level_up","timestamp":2.0,"category":"game",)"
      R"("payload":"eyJsZXZlbCI6M30="})");
  EXPECT_EQ(encodeEventFile({plain, named}),
            "[" + json::dump(toJson(plain)) + "," + json::dump(toJson(named)) + "]")
      << "the file writer and the record encoding agree";
  for (const double t : {0.0, 1763716500123.0, 1763716500123.456, 1e-9, 1e20, -3.25}) {
    const Event e = Event::make("T", EventType::custom, t, "c", std::nullopt);
    EXPECT_EQ(decodeEventFile(encodeEventFile({e})).value().at(0).timestamp, t) << t;
  }
  const Result<std::vector<Event>> back = decodeEventFile(encodeEventFile({plain, named}));
  ASSERT_TRUE(back.ok());
  EXPECT_EQ(back.value(), (std::vector<Event>{plain, named}));

  for (const char* damaged :
       {R"([{"eventId":"A","type":"quiz_clickd","timestamp":1,"category":"q"}])",
        R"({"eventId":"A"})",
        R"([{"eventId":"A","type":"custom","timestamp":1,"category":"q","payload":"!!"}])", "",
        "[1]", R"([{"eventId":"A","type":"custom","timestamp":"1","category":"q"}])",
        R"([{"eventId":"A","type":"custom","timestamp":1,"category":"q","customEventName":7}])",
        R"([{"eventId":"A","type":"custom","timestamp":1,"category":"q","payload":"WzFd"}])",
        "{}"}) {
    EXPECT_FALSE(decodeEventFile(damaged).ok()) << damaged;
    EXPECT_EQ(validEventCount(damaged), std::nullopt) << damaged;
  }
  const std::string good =
      R"([{"eventId":"A","type":"custom","timestamp":1,"category":"q","payload":null,"x":{"y":[1]}},)"
      R"({"eventId":"B","type":"custom","type":"quiz_clicked","timestamp":2,"category":"q"}])";
  EXPECT_EQ(decodeEventFile(good).value().size(), 2u);
  EXPECT_EQ(validEventCount(good), 2u)
      << "unknown keys, nested values and repeated keys read alike";
}

TEST(EventQueue, DropsTheOldestBeyondFiveHundredAndDequeuesInOrder) {
  EventQueueManager queue;
  for (int i = 0; i < 501; ++i) queue.enqueue(eventAt(i, std::to_string(i)));
  EXPECT_EQ(queue.count(), 500u);
  EXPECT_EQ(queue.snapshot().front().eventId, "1") << "event 0 was dropped";
  EXPECT_TRUE(queue.dequeue(0).empty());
  const std::vector<Event> first = queue.dequeue(20);
  ASSERT_EQ(first.size(), 20u);
  EXPECT_EQ(first.front().eventId, "1");
  EXPECT_EQ(first.back().eventId, "20");
  EventQueueManager small;
  for (int i = 0; i < 7; ++i) small.enqueue(eventAt(i));
  EXPECT_EQ(small.dequeue(20).size(), 7u);
  EXPECT_EQ(small.count(), 0u);
  EventQueueManager none(0);
  none.enqueue(eventAt(1));
  EXPECT_EQ(none.count(), 0u);
  EXPECT_EQ(none.droppedCount(), 1u) << "a queue of no room keeps nothing";
}

// Events read back from the file are older than anything queued since: they go ahead of it, the
// oldest of them first, and what does not fit is handed back rather than pushing anything out.
TEST(EventQueue, PutsOlderEventsAheadAsFarAsThereIsRoom) {
  struct Case {
    std::size_t capacity;
    int queued;
    int older;
    std::vector<std::string> expected;
    std::vector<std::string> handedBack;
  };
  const Case cases[] = {
      {5, 2, 2, {"o0", "o1", "q0", "q1"}, {}},
      {5, 2, 4, {"o0", "o1", "o2", "q0", "q1"}, {"o3"}},
      {5, 5, 1, {"q0", "q1", "q2", "q3", "q4"}, {"o0"}},
      {5, 0, 0, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.queued) + " queued, " + std::to_string(c.older) + " older");
    EventQueueManager queue(c.capacity);
    for (int i = 0; i < c.queued; ++i) queue.enqueue(eventAt(100 + i, "q" + std::to_string(i)));
    std::vector<Event> older;
    for (int i = 0; i < c.older; ++i) older.push_back(eventAt(i, "o" + std::to_string(i)));
    std::vector<std::string> handedBack;
    for (const Event& e : queue.prepend(std::move(older))) handedBack.push_back(e.eventId);
    std::vector<std::string> queued;
    for (const Event& e : queue.snapshot()) queued.push_back(e.eventId);
    EXPECT_EQ(queued, c.expected);
    EXPECT_EQ(handedBack, c.handedBack);
    EXPECT_EQ(queue.count(), c.expected.size());
    EXPECT_EQ(queue.droppedCount(), 0u);
  }
}

class EventFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("korvane-events-" + std::to_string(::getpid()) + "-" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    documents_ = std::make_shared<linux_host::FixedDocumentsDirectory>(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }
  EventPersistenceManager manager() { return EventPersistenceManager(documents_, clock_); }
  fs::path file() const { return dir_ / "korvane_events.json"; }
  double now() const { return static_cast<double>(clock_->nowMillis()); }

  fs::path dir_;
  std::shared_ptr<linux_host::FixedDocumentsDirectory> documents_;
  std::shared_ptr<testing::ManualClock> clock_ = std::make_shared<testing::ManualClock>();
};

// A crash report or a tracked login saved into a file that grew during an outage keeps every
// event the file's size and age bounds allow. What they push out is the oldest by timestamp,
// wherever it stands in the file, and it is counted and logged.
TEST_F(EventFileTest, ASaveIntoALargeFileDropsOnlyWhatItsBoundsPushOut) {
  constexpr double kMaxAgeMillis = 604800.0 * 1000.0;
  struct Case {
    const char* name;
    std::size_t newer;     // merged first
    std::size_t older;     // merged behind them, each older than every one of them
    std::size_t stale;     // the oldest this many are past the maximum age at the save
    bool fileSizeIsLimit;  // the merged file's size is the limit, so the report does not fit
  };
  const Case cases[] = {
      {"a backlog within its bounds", 3000, 0, 0, false},
      {"a backlog partly past the maximum age", 3000, 0, 1000, false},
      {"older events behind newer ones, at the size limit", 1500, 1500, 0, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    fs::remove_all(dir_);
    const double start = now();
    std::vector<Event> merged;
    std::vector<Event> older;
    for (std::size_t i = 0; i < c.newer; ++i)
      merged.push_back(eventAt(start - static_cast<double>(c.newer - i), "n" + std::to_string(i)));
    for (std::size_t i = 0; i < c.older; ++i)
      older.push_back(
          eventAt(start - static_cast<double>(c.newer + c.older - i), "o" + std::to_string(i)));
    ASSERT_TRUE(manager().mergeEvents(merged).ok());
    ASSERT_TRUE(manager().mergeEvents(older).ok());
    merged.insert(merged.end(), older.begin(), older.end());
    std::vector<Event> byAge = merged;
    std::ranges::sort(byAge, {}, &Event::timestamp);
    // Moves the clock until exactly the oldest `stale` events are the maximum age or older.
    if (c.stale > 0)
      clock_->advance(std::chrono::milliseconds(
          static_cast<std::int64_t>(kMaxAgeMillis - (start - byAge[c.stale - 1].timestamp))));
    const std::int64_t limit =
        c.fileSizeIsLimit ? static_cast<std::int64_t>(fs::file_size(file())) : 10485760;
    EventPersistenceManager store(documents_, clock_, "korvane_events.json", limit, 604800);
    const Event crash = Event::make("crash", EventType::sdkCrash, now(), "error",
                                    Json{{"message", "terminate called"}});

    testing::LogCapture capture;
    ASSERT_TRUE(store.saveEvent(crash).ok());

    std::ifstream in(file());
    const std::string text(std::istreambuf_iterator<char>(in), {});
    const std::vector<Event> kept = decodeEventFile(text).value();
    EXPECT_GE(store.droppedCount(), c.stale);
    const std::size_t overSize = std::max(store.droppedCount(), c.stale) - c.stale;
    EXPECT_EQ(overSize > 0, c.fileSizeIsLimit);
    EXPECT_LE(static_cast<std::int64_t>(text.size()), limit);
    std::set<std::string> expected{crash.eventId};
    for (std::size_t i = c.stale + overSize; i < byAge.size(); ++i)
      expected.insert(byAge[i].eventId);
    std::set<std::string> keptIds;
    for (const Event& event : kept) keptIds.insert(event.eventId);
    EXPECT_EQ(kept.size(), expected.size());
    EXPECT_EQ(keptIds, expected) << "the oldest by timestamp go, and only they";
    if (overSize > 0) {
      EXPECT_GT(text.size() + 1 + encodeEvent(byAge[c.stale + overSize - 1]).size(),
                static_cast<std::size_t>(limit))
          << "the youngest of the dropped would not have fitted";
    }
    EXPECT_EQ(capture.count("events from the event file ("), store.droppedCount() > 0 ? 1u : 0u);
    if (store.droppedCount() > 0) {
      EXPECT_TRUE(capture.mentions(
          "[W/EventBatchService] Dropped " + std::to_string(store.droppedCount()) +
          " events from the event file (" + std::to_string(c.stale) + " older than 604800 s, " +
          std::to_string(overSize) + " past its " + std::to_string(limit) + "-byte limit)"));
    }
  }
}

TEST_F(EventFileTest, EventsExactlySevenDaysOldAreDropped) {
  auto store = manager();
  const double sevenDays = 604800.0 * 1000.0;
  ASSERT_TRUE(
      store.saveEvents({eventAt(now() - sevenDays, "old"), eventAt(now() - sevenDays + 1, "young")})
          .ok());
  const std::vector<Event> kept = store.loadEvents().value();
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].eventId, "young");

  testing::LogCapture capture;
  store.cleanupOldEvents();
  EXPECT_EQ(decodeEventFile([&] {
              std::ifstream in(file());
              return std::string(std::istreambuf_iterator<char>(in), {});
            }())
                .value()
                .size(),
            1u)
      << "the old event is gone from the file too";
}

// Every write keeps the file within its size and age limits, oldest out first, counted and
// logged: repeated failures and saves can no longer grow it without bound.
TEST_F(EventFileTest, WritesKeepTheFileWithinItsSizeAndAgeLimits) {
  const double day = 86400.0 * 1000.0;
  constexpr std::size_t kLimit = 2000;
  EventPersistenceManager store(documents_, clock_, "korvane_events.json", kLimit, 604800);
  const auto ids = [&] {
    std::ifstream in(file());
    const Result<std::vector<Event>> decoded =
        decodeEventFile(std::string(std::istreambuf_iterator<char>(in), {}));
    std::vector<std::string> found;
    for (const Event& e : decoded.value()) found.push_back(e.eventId);
    return found;
  };
  testing::LogCapture capture;
  std::vector<Event> events{eventAt(now() - 8 * day, "stale")};
  for (int i = 0; i < 30; ++i) events.push_back(eventAt(now() - 30 + i, "e" + std::to_string(i)));
  std::swap(events[5], events[20]);  // file order is not age order: the oldest go first
  ASSERT_TRUE(store.saveEvents(events).ok());
  EXPECT_LE(fs::file_size(file()), kLimit);
  std::vector<std::string> kept = ids();
  ASSERT_FALSE(kept.empty());
  EXPECT_EQ(std::count(kept.begin(), kept.end(), "stale"), 0);
  EXPECT_EQ(std::count(kept.begin(), kept.end(), "e5"), 0) << "older than every kept event";
  EXPECT_EQ(std::count(kept.begin(), kept.end(), "e29"), 1);
  EXPECT_EQ(store.droppedCount(), 31 - kept.size());
  EXPECT_TRUE(capture.mentions("[W/EventBatchService] Dropped " + std::to_string(31 - kept.size()) +
                               " events from the event file (1 older than 604800 s, "));

  for (int i = 0; i < 40; ++i) {
    ASSERT_TRUE(store.saveEvent(eventAt(now(), "s" + std::to_string(i))).ok());
    ASSERT_TRUE(store.mergeEvents({eventAt(now(), "m" + std::to_string(i))}).ok());
    EXPECT_LE(fs::file_size(file()), kLimit) << i;
  }
  EXPECT_EQ(ids().back(), "m39");

  clock_->advance(std::chrono::hours(24 * 8));
  ASSERT_TRUE(store.saveEvent(eventAt(now(), "late")).ok());
  EXPECT_EQ(ids(), std::vector<std::string>{"late"}) << "a single save drops what aged too";
}

// Every write that rereads the file counts as dropped only what really aged out: young events it
// keeps are neither counted nor reported.
TEST_F(EventFileTest, WritesCountOnlyTheEventsThatAgedOut) {
  using Write = std::function<Status(EventPersistenceManager&)>;
  const std::pair<const char*, Write> writes[] = {
      {"merge", [&](auto& s) { return s.mergeEvents({eventAt(now(), "merged")}); }},
      {"save", [&](auto& s) { return s.saveEvent(eventAt(now(), "saved")); }},
      {"forget", [&](auto& s) { return s.forgetEvents({eventAt(now(), "young0")}); }},
  };
  for (const auto& [name, write] : writes) {
    for (const std::size_t stale : {0u, 2u}) {
      auto store = manager();
      std::vector<Event> events;
      for (std::size_t i = 0; i < stale; ++i)
        events.push_back(eventAt(now() - 8 * 86400000.0, "stale" + std::to_string(i)));
      for (int i = 0; i < 5; ++i) events.push_back(eventAt(now() - 5, "young" + std::to_string(i)));
      std::ofstream(file()) << encodeEventFile(events);
      testing::LogCapture capture;
      ASSERT_TRUE(write(store).ok()) << name;
      EXPECT_EQ(store.droppedCount(), stale) << name;
      EXPECT_EQ(capture.count("events from the event file ("), stale ? 1u : 0u) << name;
      if (stale) {
        EXPECT_TRUE(
            capture.mentions("[W/EventBatchService] Dropped 2 events from the event file "
                             "(2 older than 604800 s, 0 past its "))
            << name;
      }
    }
  }
}

// A merge that adds nothing (a batch that failed again, an empty list) leaves the file as it is:
// no write, not even one that renames the same text over it.
TEST_F(EventFileTest, AMergeThatAddsNothingWritesNothing) {
  struct Case {
    const char* name;
    std::vector<Event> merged;
    bool written;
  };
  const std::vector<Event> inFile = {eventAt(now(), "a"), eventAt(now(), "b")};
  const Case cases[] = {
      {"the same events", inFile, false},
      {"some of them", {inFile[1]}, false},
      {"none", {}, false},
      {"one new among them", {inFile[0], eventAt(now(), "c")}, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto store = manager();
    ASSERT_TRUE(store.saveEvents(inFile).ok());
    const auto inode = [&] {
      struct stat status{};
      return ::stat(file().c_str(), &status) == 0 ? status.st_ino : 0;
    };
    const ino_t before = inode();
    ASSERT_TRUE(store.mergeEvents(c.merged).ok());
    EXPECT_EQ(inode() != before, c.written) << "each write renames a new file over the old one";
    EXPECT_EQ(store.loadEvents().value().size(), c.written ? 3u : 2u);
  }
}

// A data directory that cannot be read (here a loop of symbolic links) fails every file
// operation with an error; none throws.
TEST_F(EventFileTest, AnUnreadableDirectoryGivesErrorsNotExceptions) {
  const fs::path other = dir_.string() + "-loop";
  fs::remove(other);
  fs::create_symlink(other, dir_);
  fs::create_symlink(dir_, other);
  auto store = manager();
  EXPECT_FALSE(store.loadEvents().ok());
  EXPECT_FALSE(store.saveEvent(eventAt(now())).ok());
  EXPECT_FALSE(store.saveEvents({eventAt(now())}).ok());
  EXPECT_FALSE(store.clearEvents().ok());
  testing::LogCapture capture;
  store.cleanupOldEvents();
  EXPECT_TRUE(capture.mentions("[E/EventBatchService] Failed to cleanup old events: "));
  fs::remove(other);
}

// A disk that fills up while the new text is written (the temporary file is /dev/full, which
// takes the bytes and fails the flush) fails the save and leaves the old file whole.
TEST_F(EventFileTest, ASaveThatCannotFlushFailsAndKeepsTheOldFile) {
  auto store = manager();
  ASSERT_TRUE(store.saveEvents({eventAt(now(), "kept")}).ok());
  fs::create_symlink("/dev/full", file().string() + ".writing");
  EXPECT_FALSE(store.saveEvents({eventAt(now(), "kept"), eventAt(now(), "lost")}).ok());
  const auto events = store.loadEvents();
  ASSERT_TRUE(events.ok());
  ASSERT_EQ(events.value().size(), 1u);
  EXPECT_EQ(events.value()[0].eventId, "kept");
}

// The crash handler saves through the same lock; when it runs on a thread that died inside a
// file operation, its save is refused instead of waiting for that thread forever.
TEST_F(EventFileTest, AFileOperationStartedInsideAnotherOnTheSameThreadIsRefused) {
  class Reentering final : public DocumentsDirectory {
   public:
    explicit Reentering(fs::path dir) : dir_(std::move(dir)) {}
    fs::path path() const override {
      if (store && !nested) nested = store->saveEvent(eventAt(1.7e12, "nested"));
      fs::create_directories(dir_);
      return dir_;
    }
    EventPersistenceManager* store = nullptr;
    mutable std::optional<Status> nested;

   private:
    fs::path dir_;
  };
  auto documents = std::make_shared<Reentering>(dir_);
  EventPersistenceManager store(documents, clock_);
  documents->store = &store;
  ASSERT_TRUE(store.saveEvent(eventAt(now(), "outer")).ok());
  ASSERT_TRUE(documents->nested);
  EXPECT_FALSE(documents->nested->ok());
  documents->store = nullptr;
  ASSERT_EQ(store.loadEvents().value().size(), 1u);
  EXPECT_EQ(store.loadEvents().value()[0].eventId, "outer");
}

// A file that starts with a UTF-8 byte-order mark loads, so a single save keeps what it holds.
TEST_F(EventFileTest, AByteOrderMarkedFileKeepsItsEventsThroughASave) {
  auto store = manager();
  fs::create_directories(dir_);
  std::ofstream(file(), std::ios::binary)
      << "\xEF\xBB\xBF" << encodeEventFile({eventAt(now(), "a"), eventAt(now(), "b")});
  ASSERT_EQ(store.loadEvents().value().size(), 2u);
  ASSERT_TRUE(store.saveEvent(eventAt(now(), "c")).ok());
  const Result<std::vector<Event>> loaded = store.loadEvents();
  std::vector<std::string> ids;
  for (const Event& e : loaded.value()) ids.push_back(e.eventId);
  EXPECT_EQ(ids, (std::vector<std::string>{"a", "b", "c"}));
}

// A payload is read alike by the check that runs before each save and by decoding, whatever
// stands before its object; a save never throws, and a refused record is dropped alone.
TEST_F(EventFileTest, ThePayloadCheckAndDecodingAgree) {
  const struct {
    std::string payload;
    bool valid;
  } cases[] = {
      {"77u/e30=", true},                                    // byte-order mark, {}
      {base64::encode("\xEF\xBB\xBF \n{\"k\":[1]}"), true},  // mark, white space, object
      {base64::encode(" \xEF\xBB\xBF{}"), false},            // a mark after white space
      {base64::encode("\xEF\xBB\xBF[]"), false},             // marked, not an object
      {base64::encode("\xEF\xBB{}"), false},                 // part of a mark
  };
  auto store = manager();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.payload);
    const std::string text = R"([{"eventId":"a","type":"custom","timestamp":)" +
                             std::to_string(static_cast<long long>(now())) +
                             R"(,"category":"c","payload":")" + c.payload + R"("}])";
    EXPECT_EQ(validEventCount(text).has_value(), c.valid);
    EXPECT_EQ(decodeEventFile(text).ok(), c.valid);
    fs::create_directories(dir_);
    std::ofstream(file(), std::ios::binary) << text;
    testing::LogCapture capture;
    Status saved = okStatus();
    ASSERT_NO_THROW(saved = store.saveEvent(eventAt(now(), "new")));
    EXPECT_TRUE(saved.ok());
    EXPECT_EQ(store.loadEvents().value().size(), c.valid ? 2u : 1u);
    EXPECT_EQ(capture.count("Dropped 1 damaged events from the event file: "), c.valid ? 0u : 1u);
  }
}

// A write that fails part-way (here a file-size limit, as a full disk would) leaves the old file
// whole and reports the failure.
TEST_F(EventFileTest, AFailedWriteLeavesTheOldFileWhole) {
  auto store = manager();
  ASSERT_TRUE(store.saveEvents({eventAt(now(), "kept")}).ok());
  std::vector<Event> many;
  for (int i = 0; i < 200; ++i) many.push_back(eventAt(now(), "big" + std::to_string(i)));

  struct rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit small = before;
  small.rlim_cur = 4096;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const Status saved = store.saveEvents(many);
  const Status merged = store.mergeEvents(many);
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, oldHandler);

  EXPECT_FALSE(saved.ok());
  EXPECT_FALSE(merged.ok());
  const Result<std::vector<Event>> left = store.loadEvents();
  ASSERT_TRUE(left.ok()) << left.error().description;
  ASSERT_EQ(left.value().size(), 1u);
  EXPECT_EQ(left.value()[0].eventId, "kept");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_), fs::directory_iterator()), 1)
      << "no temporary file is left behind";
}

// One record that no longer decodes costs only itself: every operation keeps its neighbours,
// and the first that writes leaves it out, counted and logged once.
TEST_F(EventFileTest, ADamagedRecordCostsOnlyItself) {
  using Operation = std::function<void(EventPersistenceManager&)>;
  const Operation operations[] = {
      [](EventPersistenceManager& s) { ASSERT_TRUE(s.saveEvent(eventAt(1.7e12, "new")).ok()); },
      [](EventPersistenceManager& s) { ASSERT_TRUE(s.mergeEvents({eventAt(1.7e12, "a")}).ok()); },
      [](EventPersistenceManager& s) { ASSERT_TRUE(s.forgetEvents({}).ok()); },
      [](EventPersistenceManager& s) { s.cleanupOldEvents(); },
      [](EventPersistenceManager& s) { ASSERT_EQ(s.takeEvents(1).value().size(), 1u); },
  };
  const char* damagedRecords[] = {
      R"({"eventId":"x","type":"from_a_newer_version","timestamp":1.7e12,"category":"c"})",
      R"({"eventId":"x","type":"custom","timestamp":null,"category":"c"})",
      R"({"eventId":"x","type":"custom","timestamp":1.7e12,"category":"c","payload":"WzFd"})",
      R"("not an event")",
  };
  for (const char* damaged : damagedRecords) {
    for (std::size_t op = 0; op < std::size(operations); ++op) {
      SCOPED_TRACE(std::string(damaged) + ", operation " + std::to_string(op));
      fs::create_directories(dir_);
      std::ofstream(file(), std::ios::binary)
          << "[" << encodeEvent(eventAt(now(), "a")) << "," << damaged << ","
          << encodeEvent(eventAt(now(), "b")) << "]";
      auto store = manager();
      ASSERT_EQ(store.loadEvents().value().size(), 2u);
      testing::LogCapture capture;
      operations[op](store);
      std::set<std::string> left;
      const Result<std::vector<Event>> loaded = store.loadEvents();
      for (const Event& e : loaded.value()) left.insert(e.eventId);
      EXPECT_FALSE(left.contains("x"));
      EXPECT_TRUE(left.contains("b")) << "the record after the damaged one is kept";
      EXPECT_EQ(store.droppedCount(), 1u);
      EXPECT_EQ(capture.count("Dropped 1 damaged events from the event file: "), 1u);
      EXPECT_EQ(capture.count("started afresh"), 0u);
      std::ifstream in(file());
      EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}).find("\"x\""),
                std::string::npos)
          << "the damaged record left the file";
    }
  }
}

TEST_F(EventFileTest, MissingDamagedAndClearedFiles) {
  auto store = manager();
  EXPECT_TRUE(store.loadEvents().ok());
  EXPECT_TRUE(store.loadEvents().value().empty()) << "no file: nothing, no error";
  EXPECT_TRUE(store.clearEvents().ok());

  // A damaged file is an error for loading, while saving or merging starts a new list, saying so
  // once at error level.
  using Write = std::function<Status(EventPersistenceManager&, const Event&)>;
  const Write writes[] = {
      [](EventPersistenceManager& s, const Event& e) { return s.saveEvent(e); },
      [](EventPersistenceManager& s, const Event& e) { return s.mergeEvents({e}); }};
  for (const Write& write : writes) {
    for (const char* damaged : {"not an event list", "[{\"eventId\":", "\xEF\xBB\xBF{}"}) {
      std::ofstream(file()) << damaged;
      EXPECT_FALSE(store.loadEvents().ok()) << damaged;
      testing::LogCapture capture;
      ASSERT_TRUE(write(store, eventAt(now(), "fresh")).ok());
      ASSERT_TRUE(write(store, eventAt(now(), "next")).ok());
      EXPECT_EQ(store.loadEvents().value().size(), 2u) << damaged;
      EXPECT_EQ(capture.count("[E/EventBatchService] The event file was damaged and is started "
                              "afresh: "),
                1u)
          << damaged;
    }
  }
  ASSERT_TRUE(store.clearEvents().ok());
  EXPECT_FALSE(fs::exists(file()));

  EventPersistenceManager homeless(nullptr, clock_);
  EXPECT_EQ(homeless.saveEvent(eventAt(now())).error().description,
            "Could not find documents directory");
  EXPECT_EQ(homeless.loadEvents().error().description, "Could not find documents directory");
}

}  // namespace
}  // namespace korvane
