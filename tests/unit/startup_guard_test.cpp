// The start-up guard's decision from the mark the previous starts left, and the mark it leaves.
#include "sdk/startup_guard.h"

#include <gtest/gtest.h>

#include "korvane/util/json_value.h"
#include "memory_key_value_store.h"

namespace korvane {
namespace {

using testing::MemoryKeyValueStore;

std::string mark(const char* app, const char* sdk, JsonValue unfinished,
                 const char* step = "initialize") {
  return JsonValue{{"appVersion", app},
                   {"sdkVersion", sdk},
                   {"unfinishedStarts", std::move(unfinished)},
                   {"step", step}}
      .dump();
}

struct Row {
  const char* name;
  std::optional<std::string> before;  // the mark as the last start left it
  StartupMode mode;
  int counted;                          // unfinishedStarts() as begin() found it
  std::optional<JsonValue> afterCount;  // what the mark says once begin() returned
};

class StartupGuardDecision : public ::testing::TestWithParam<Row> {};

TEST_P(StartupGuardDecision, DecidesFromTheMarkAndMarksThisStart) {
  const Row& row = GetParam();
  auto store = std::make_shared<MemoryKeyValueStore>();
  if (row.before) store->setString(StartupGuard::kKey, *row.before);
  StartupGuard guard(store, {"2.0 (7)", "1.0.52-rc.2"});
  EXPECT_EQ(guard.begin("initialize"), row.mode);
  EXPECT_EQ(guard.unfinishedStarts(), row.counted);
  const JsonValue after = JsonValue::parse(store->getString(StartupGuard::kKey).value_or("null"));
  if (row.afterCount) {
    EXPECT_EQ(after["unfinishedStarts"], *row.afterCount);
    EXPECT_EQ(after["appVersion"], "2.0 (7)");
    EXPECT_EQ(after["sdkVersion"], "1.0.52-rc.2");
    EXPECT_EQ(after["step"], "initialize");
  } else {
    EXPECT_EQ(store->getString(StartupGuard::kKey), row.before) << "an inert start marks nothing";
  }
}

INSTANTIATE_TEST_SUITE_P(
    Marks, StartupGuardDecision,
    ::testing::Values(
        Row{"noMark", std::nullopt, StartupMode::normal, 0, 1},
        Row{"oneUnfinished", mark("2.0 (7)", "1.0.52-rc.2", 1), StartupMode::normal, 1, 2},
        Row{"twoUnfinished", mark("2.0 (7)", "1.0.52-rc.2", 2), StartupMode::safe, 2, 3},
        Row{"threeUnfinished", mark("2.0 (7)", "1.0.52-rc.2", 3), StartupMode::inert, 3,
            std::nullopt},
        Row{"manyUnfinished", mark("2.0 (7)", "1.0.52-rc.2", 40), StartupMode::inert, 3,
            std::nullopt},
        Row{"finished", mark("2.0 (7)", "1.0.52-rc.2", 0, "finished"), StartupMode::normal, 0, 1},
        Row{"newAppVersion", mark("1.9 (6)", "1.0.52-rc.2", 3), StartupMode::normal, 0, 1},
        Row{"newSdkVersion", mark("2.0 (7)", "1.0.51", 3), StartupMode::normal, 0, 1},
        Row{"countAsText", mark("2.0 (7)", "1.0.52-rc.2", "3"), StartupMode::normal, 0, 1},
        Row{"negativeCount", mark("2.0 (7)", "1.0.52-rc.2", -2), StartupMode::normal, 0, 1},
        Row{"notJson", std::string("{\"unfinishedStarts\": 3"), StartupMode::normal, 0, 1},
        Row{"notAnObject", std::string("[3]"), StartupMode::normal, 0, 1}),
    [](const ::testing::TestParamInfo<Row>& row) { return std::string(row.param.name); });

TEST(StartupGuard, StepsReachTheHookAndTheMarkAndAFinishClearsTheCount) {
  auto store = std::make_shared<MemoryKeyValueStore>();
  store->setString(StartupGuard::kKey, mark("", "1", 1));
  std::vector<std::string> heard;
  StartupGuard guard(store, {"", "1"}, [&](std::string_view step) { heard.emplace_back(step); });
  const auto stored = [&] {
    return JsonValue::parse(store->getString(StartupGuard::kKey).value_or("null"));
  };

  EXPECT_EQ(guard.begin("initialize"), StartupMode::normal);
  guard.reached("telemetry", false);
  EXPECT_EQ(stored()["step"], "initialize") << "an unmarked step leaves the mark";
  guard.reached("event file load", true);
  EXPECT_EQ(stored()["step"], "event file load");
  EXPECT_EQ(stored()["unfinishedStarts"], 2);
  EXPECT_EQ(guard.begin("initialize"), StartupMode::normal) << "decided once";
  EXPECT_EQ(stored()["unfinishedStarts"], 2) << "a repeated begin counts no new start";
  guard.finish();
  EXPECT_EQ(stored()["unfinishedStarts"], 0);
  EXPECT_EQ(heard, (std::vector<std::string>{"initialize", "telemetry", "event file load"}));

  StartupGuard next(store, {"", "1"});
  EXPECT_EQ(next.begin("initialize"), StartupMode::normal);
  EXPECT_EQ(next.unfinishedStarts(), 0);
}

TEST(StartupGuard, TheSafeStartKnowsWhereTheLastStartStopped) {
  auto store = std::make_shared<MemoryKeyValueStore>();
  store->setString(StartupGuard::kKey, mark("a", "s", 2, "event file load"));
  StartupGuard guard(store, {"a", "s"});
  EXPECT_EQ(guard.begin("initialize"), StartupMode::safe);
  EXPECT_EQ(guard.lastStep(), "event file load");
}

TEST(StartupGuard, WithoutASettingsStoreEveryStartIsNormal) {
  StartupGuard guard(nullptr, {"a", "s"});
  EXPECT_EQ(guard.begin("initialize"), StartupMode::normal);
  guard.reached("event file load", true);
  guard.finish();
}

}  // namespace
}  // namespace korvane
