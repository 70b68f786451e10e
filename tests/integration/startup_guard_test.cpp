// The start-up guard across real processes: hosts whose start dies at a named step, and what the
// starts after them do.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"
#include "telemetry/event_persistence.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

enum class Outcome { died, normal, safe, inert };

const char* name(Outcome outcome) {
  switch (outcome) {
    case Outcome::died:
      return "died";
    case Outcome::normal:
      return "normal";
    case Outcome::safe:
      return "safe";
    case Outcome::inert:
      return "inert";
  }
  return "?";
}

struct Launch {
  std::string appVersion;
  std::string crashAt;  // empty: the start runs to its end
  Outcome expected;
};

void PrintTo(const Launch& launch, std::ostream* out) {
  *out << launch.appVersion << (launch.crashAt.empty() ? "" : " dies at " + launch.crashAt)
       << " -> " << name(launch.expected);
}

struct ChildResult {
  bool aborted = false;
  int exitCode = -1;
  std::string out;
  std::string log;

  std::size_t count(const std::string& text, const std::string& needle) const {
    std::size_t n = 0;
    for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
    return n;
  }
  bool says(const std::string& line) const { return out.find(line + "\n") != std::string::npos; }
  Outcome outcome() const {
    if (aborted) return Outcome::died;
    if (says("initialize: error -4 " + std::string(kInertLine))) return Outcome::inert;
    if (count(log, kSafeLine) > 0) return Outcome::safe;
    return Outcome::normal;
  }

  static constexpr const char* kInertLine =
      "KorvaneSDK is inert: its start ended the app 3 times in a row. It stays off until the app "
      "or the SDK is updated";
  static constexpr const char* kSafeLine = "[W/KorvaneSdk] KorvaneSDK starts in safe mode";
};

std::string readAll(const fs::path& file) {
  std::ifstream in(file);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class StartupGuardProcesses : public ::testing::TestWithParam<std::vector<Launch>> {
 protected:
  void SetUp() override {
    std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(test.begin(), test.end(), '/', '-');
    data_ = fs::temp_directory_path() /
            ("korvane-startup-it-" + std::to_string(::getpid()) + "-" + test);
    fs::remove_all(data_);
    fs::create_directories(data_ / "Documents");
  }
  void TearDown() override { fs::remove_all(data_); }

  ChildResult start(const Launch& run, std::size_t expectEvents) const {
    const fs::path out = data_ / "child.out";
    const fs::path log = data_ / "child.log";
    const std::string events = std::to_string(expectEvents);
    const pid_t child = fork();
    if (child == 0) {
      const int outFd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      const int logFd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      ::dup2(outFd, 1);
      ::dup2(logFd, 2);
      std::vector<const char*> args = {KORVANE_STARTUP_CHILD, data_.c_str(),
                                       run.appVersion.c_str()};
      if (!run.crashAt.empty()) {
        args.push_back("--crash-at");
        args.push_back(run.crashAt.c_str());
      }
      args.push_back("--expect-events");
      args.push_back(events.c_str());
      args.push_back(nullptr);
      execv(KORVANE_STARTUP_CHILD, const_cast<char* const*>(args.data()));
      _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ChildResult result;
    result.aborted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = readAll(out);
    result.log = readAll(log);
    return result;
  }

  // What the event file holds: a safe start leaves it unread.
  std::size_t eventsInFile() const {
    EventPersistenceManager file(
        std::make_shared<linux_host::FixedDocumentsDirectory>(data_ / "Documents"),
        std::make_shared<linux_host::SystemClock>());
    Result<std::vector<Event>> events = file.loadEvents();
    return events ? events.value().size() : 0;
  }
  void seedEventFile() const {
    EventPersistenceManager file(
        std::make_shared<linux_host::FixedDocumentsDirectory>(data_ / "Documents"),
        std::make_shared<linux_host::SystemClock>());
    const double now = static_cast<double>(linux_host::SystemClock().nowMillis());
    ASSERT_TRUE(file.saveEvents({Event::custom("E1", "waiting", now, "test", std::nullopt)}).ok());
  }

  fs::path data_;
};

// Each sequence is a row of launches of one app; every launch is checked against its expected
// outcome, and each kind of start against what it must and must not do.
TEST_P(StartupGuardProcesses, EachLaunchStartsAsTheLaunchesBeforeItEnded) {
  int launch = 0;
  for (const Launch& run : GetParam()) {
    ++launch;
    seedEventFile();
    const std::size_t before = eventsInFile();
    const ChildResult result = start(run, run.expected == Outcome::safe ? 1 : 0);
    SCOPED_TRACE("launch " + std::to_string(launch) + " (" + name(run.expected) + ")\n" +
                 result.out + result.log.substr(0, 4000));
    ASSERT_EQ(name(result.outcome()), std::string(name(run.expected)));
    switch (run.expected) {
      case Outcome::died:
        break;
      case Outcome::normal:
        EXPECT_TRUE(result.says("initialized: true"));
        EXPECT_EQ(result.count(result.log, "[D/KorvaneSdk] Creating EventBatchService..."), 1u);
        EXPECT_EQ(result.count(result.out, "event: sdk_safe_mode"), 0u);
        EXPECT_LT(eventsInFile(), before) << "the event file was loaded";
        break;
      case Outcome::safe:
        EXPECT_TRUE(result.says("initialized: true"));
        // Reported once: one log line and one event.
        EXPECT_EQ(result.count(result.log, ChildResult::kSafeLine), 1u);
        EXPECT_EQ(result.count(result.out, "event: "), 1u);
        EXPECT_TRUE(result.says("event: sdk_safe_mode"));
        // No event-file load, no flush timer, no tracking prompt.
        EXPECT_EQ(eventsInFile(), before);
        EXPECT_EQ(result.count(result.log, "EventBatchService"), 0u);
        EXPECT_EQ(result.count(result.log, "[SYNC] Initializing advertising ID"), 0u);
        break;
      case Outcome::inert:
        EXPECT_TRUE(result.says("initialized: false"));
        EXPECT_TRUE(result.says("requests: 0")) << "not even validation";
        EXPECT_EQ(eventsInFile(), before);
        break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Launches, StartupGuardProcesses,
    ::testing::Values(
        // Two starts die at different steps: the third is safe and reports it, and its finish
        // makes the fourth a normal start again.
        std::vector<Launch>{{"1.0 (1)", "event file load", Outcome::died},
                            {"1.0 (1)", "initialize", Outcome::died},
                            {"1.0 (1)", "", Outcome::safe},
                            {"1.0 (1)", "", Outcome::normal}},
        // The safe start dies too: inert from then on, until the app's version changes.
        std::vector<Launch>{{"1.0 (1)", "initialize", Outcome::died},
                            {"1.0 (1)", "initialize", Outcome::died},
                            {"1.0 (1)", "initialize", Outcome::died},
                            {"1.0 (1)", "", Outcome::inert},
                            {"1.0 (1)", "", Outcome::inert},
                            {"1.1 (2)", "", Outcome::normal}},
        // A finished start between two deaths starts the count again.
        std::vector<Launch>{{"1.0 (1)", "event file load", Outcome::died},
                            {"1.0 (1)", "", Outcome::normal},
                            {"1.0 (1)", "event file load", Outcome::died},
                            {"1.0 (1)", "", Outcome::normal}}),
    [](const ::testing::TestParamInfo<std::vector<Launch>>& row) {
      return std::to_string(row.index);
    });

}  // namespace
}  // namespace korvane
