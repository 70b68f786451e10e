#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>

#include "korvane/util/logger.h"
#include "log_capture.h"

namespace korvane {
namespace {

using testing::LogCapture;

TEST(KorvaneLogger, LineFormatIsTimeLevelTagMessage) {
  LogCapture capture;
  KorvaneLogger::d("EventBatchService", "Creating EventBatchService...");
  ASSERT_EQ(capture.lines().size(), 1u);
  EXPECT_TRUE(std::regex_match(
      capture.lines()[0],
      std::regex(
          R"(\[\d\d:\d\d:\d\d\.\d\d\d\] \[D/EventBatchService\] Creating EventBatchService\.\.\.)")))
      << capture.lines()[0];
}

struct LevelCase {
  LogLevel configured;
  std::string expectedLetters;  // letters printed for e, w, i, d, v in that order
  friend void PrintTo(const LevelCase& c, std::ostream* os) {
    *os << "level " << static_cast<int>(c.configured);
  }
};

class LoggerLevels : public ::testing::TestWithParam<LevelCase> {};

TEST_P(LoggerLevels, PrintsOnlyLinesAtOrAboveTheLevel) {
  LogCapture capture(GetParam().configured);
  KorvaneLogger::e("T", "m");
  KorvaneLogger::w("T", "m");
  KorvaneLogger::i("T", "m");
  KorvaneLogger::d("T", "m");
  KorvaneLogger::v("T", "m");
  std::string letters;
  for (const std::string& m : capture.messages()) letters += m.at(1);
  EXPECT_EQ(letters, GetParam().expectedLetters);
}

INSTANTIATE_TEST_SUITE_P(
    AllLevels, LoggerLevels,
    ::testing::Values(LevelCase{LogLevel::none, ""}, LevelCase{LogLevel::error, "E"},
                      LevelCase{LogLevel::warning, "EW"}, LevelCase{LogLevel::info, "EWI"},
                      LevelCase{LogLevel::debug, "EWID"}, LevelCase{LogLevel::verbose, "EWIDV"}),
    [](const auto& level) {
      return "level" + std::to_string(static_cast<int>(level.param.configured));
    });

TEST(KorvaneLogger, DefaultLevelIsWarningAndRawValuesOutsideTheRangeAreRejected) {
  EXPECT_EQ(KorvaneLogger::logLevel(), LogLevel::warning);
  EXPECT_EQ(logLevelFromRawValue(5), LogLevel::verbose);
  EXPECT_EQ(logLevelFromRawValue(6), std::nullopt);
  EXPECT_EQ(logLevelFromRawValue(-1), std::nullopt);
}

// With no writer of the host's, console lines go to standard error: standard output belongs to
// the host (a tool printing JSON there must not find log lines in it).
TEST(KorvaneLogger, ConsoleLinesStayOutOfStandardOutput) {
  KorvaneLogger::setLineWriter(nullptr);
  const std::string base = ::testing::TempDir() + "korvane-console-" + std::to_string(::getpid());
  const int streams[] = {STDOUT_FILENO, STDERR_FILENO};
  std::string seen[2];
  int saved[2];
  std::fflush(stdout);
  std::fflush(stderr);
  for (int i = 0; i < 2; ++i) {
    saved[i] = ::dup(streams[i]);
    ASSERT_TRUE(std::freopen((base + std::to_string(i)).c_str(), "w", i == 0 ? stdout : stderr));
  }
  KorvaneLogger::w("Console", "a warning line");
  KorvaneLogger::print("a plain line");
  for (int i = 0; i < 2; ++i) {
    std::fflush(i == 0 ? stdout : stderr);
    ::dup2(saved[i], streams[i]);
    ::close(saved[i]);
    std::ifstream in(base + std::to_string(i));
    seen[i].assign(std::istreambuf_iterator<char>(in), {});
    std::remove((base + std::to_string(i)).c_str());
  }
  EXPECT_EQ(seen[0], "");
  EXPECT_NE(seen[1].find("[W/Console] a warning line\n"), std::string::npos) << seen[1];
  EXPECT_NE(seen[1].find("a plain line\n"), std::string::npos) << seen[1];
}

struct SinkCall {
  LogLevel level;
  std::string tag, message;
  std::optional<Error> error;
};

TEST(KorvaneLogger, SinkSeesScrubbedErrorsAndWarningsEvenWhenTheConsoleIsSilent) {
  LogCapture capture(LogLevel::none);
  std::vector<SinkCall> calls;
  KorvaneLogger::setTelemetrySink(
      [&](LogLevel level, std::string_view tag, std::string_view message, const Error* error) {
        calls.push_back({level, std::string(tag), std::string(message),
                         error ? std::optional<Error>(*error) : std::nullopt});
      });
  const Error failure{"NSURLErrorDomain", -1001, "timed out for a@b.io", "URLError"};
  KorvaneLogger::e("Api", "token=abc failed", failure);
  KorvaneLogger::w("Api", "slow");
  KorvaneLogger::i("Api", "info never reaches the sink");
  KorvaneLogger::d("Api", "nor debug");

  EXPECT_TRUE(capture.lines().empty());
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].level, LogLevel::error);
  EXPECT_EQ(calls[0].tag, "Api");
  EXPECT_EQ(calls[0].message, "token=*** failed");
  EXPECT_EQ(calls[0].error, failure);
  EXPECT_EQ(calls[1].level, LogLevel::warning);
  EXPECT_FALSE(calls[1].error.has_value());
}

// A host reads the installed sink to put its own in front of it.
TEST(KorvaneLogger, TheSinkCanBeReadAndChained) {
  LogCapture capture(LogLevel::none);
  EXPECT_FALSE(KorvaneLogger::telemetrySink());
  std::vector<std::string> heard;
  KorvaneLogger::setTelemetrySink(
      [&](LogLevel, std::string_view, std::string_view message, const Error*) {
        heard.push_back("installed " + std::string(message));
      });
  KorvaneLogger::TelemetrySink previous = KorvaneLogger::telemetrySink();
  ASSERT_TRUE(previous);
  KorvaneLogger::setTelemetrySink([&, previous](LogLevel level, std::string_view tag,
                                                std::string_view message, const Error* error) {
    heard.push_back("host " + std::string(message));
    previous(level, tag, message, error);
  });
  KorvaneLogger::w("T", "slow");
  EXPECT_EQ(heard, (std::vector<std::string>{"host slow", "installed slow"}));
  KorvaneLogger::setTelemetrySink(nullptr);
  EXPECT_FALSE(KorvaneLogger::telemetrySink());
}

// A platform gives its host object with the sink and reads it back; the owner goes with the sink
// it came with: replaced by another sink or cleared, it is dropped and released.
TEST(KorvaneLogger, TheSinksOwnerComesBackWithItsSinkOnlyAndIsReleasedWithIt) {
  LogCapture capture(LogLevel::none);
  const auto sink = [](LogLevel, std::string_view, std::string_view, const Error*) {};
  auto owner = std::make_shared<int>(7);
  const std::weak_ptr<int> watched = owner;
  KorvaneLogger::setTelemetrySink(sink, std::move(owner));
  EXPECT_EQ(KorvaneLogger::telemetrySinkOwner().get(), watched.lock().get());

  struct Next {
    const char* name;
    KorvaneLogger::TelemetrySink sink;
    bool withOwner;
  };
  for (const Next& next :
       {Next{"another sink without one", sink, false}, Next{"no sink, with one", nullptr, true}}) {
    SCOPED_TRACE(next.name);
    KorvaneLogger::setTelemetrySink(sink, std::make_shared<int>(1));
    KorvaneLogger::setTelemetrySink(next.sink, next.withOwner ? std::make_shared<int>(2) : nullptr);
    EXPECT_EQ(KorvaneLogger::telemetrySinkOwner(), nullptr);
  }
  EXPECT_TRUE(watched.expired());
}

TEST(KorvaneLogger, ErrorSuffixCarriesTheScrubbedDescription) {
  LogCapture capture;
  KorvaneLogger::w("Tag", "send to user@example.com", Error{"D", 1, "password=123 rejected"});
  ASSERT_EQ(capture.messages().size(), 1u);
  EXPECT_EQ(capture.messages()[0], "[W/Tag] send to *** - password=*** rejected");
}

TEST(KorvaneLogger, LazyMessagesAreBuiltOnlyWhenSomeoneWantsThem) {
  LogCapture capture(LogLevel::warning);
  int built = 0;
  auto make = [&] {
    ++built;
    return std::string("expensive");
  };
  KorvaneLogger::d("T", make);
  KorvaneLogger::v("T", make);
  EXPECT_EQ(built, 0);
  KorvaneLogger::w("T", make);
  EXPECT_EQ(built, 1);

  KorvaneLogger::setLogLevel(LogLevel::none);
  KorvaneLogger::e("T", make);
  EXPECT_EQ(built, 1) << "no console and no sink: nothing to build";
  KorvaneLogger::setTelemetrySink(
      [](LogLevel, std::string_view, std::string_view, const Error*) {});
  KorvaneLogger::e("T", make);
  EXPECT_EQ(built, 2);
}

// The documented examples; the differential test covers the rest.
TEST(KorvaneLogger, ScrubMasksCredentialValuesAndEmailAddresses) {
  const std::pair<std::string, std::string> cases[] = {
      {"appKey=abc123&x=1", "appKey=***&x=1"},
      {R"({"password":"hunter2","ok":1})", R"({"password":"***","ok":1})"},
      {"Authorization: Bearer xyz", "Authorization: *** xyz"},
      {"APPKEY = 1", "APPKEY = ***"},
      {"mail jane.doe@example.co.uk now", "mail *** now"},
      {R"({"model":"iPhone","ifa":"6D92078A-8246-4BA4-AE5B-76104861E7DC"})",
       R"({"model":"iPhone","ifa":"***"})"},
      {"/v1/api/sdk/mission?platform=iOS&ifa=6D92078A-8246",
       "/v1/api/sdk/mission?platform=iOS&ifa=***"},
      {"no secrets here", "no secrets here"},
  };
  for (const auto& [input, expected] : cases)
    EXPECT_EQ(KorvaneLogger::scrub(input), expected) << input;
}

}  // namespace
}  // namespace korvane
