#include <gtest/gtest.h>

#include <gio/gio.h>
#include <glib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <thread>
#include <vector>

#include "korvane/linux/drawn_pixels.h"
#include "korvane/linux/glib_main_thread.h"
#include "korvane/linux/host_lifecycle.h"
#include "korvane/linux/linux_device.h"
#include "korvane/linux/linux_diagnostics.h"
#include "korvane/linux/linux_reachability.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"
#include "korvane/platform/http_client.h"
#include "log_capture.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

class TempDir : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() /
           ("korvane-test-" + std::to_string(::getpid()) + "-" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }
  fs::path dir_;
};

using FileKeyValueStoreTest = TempDir;

TEST_F(FileKeyValueStoreTest, ValuesSurviveANewInstanceAndRemovalsToo) {
  const fs::path file = dir_ / "nested" / "defaults.json";
  {
    linux_host::FileKeyValueStore store(file);
    EXPECT_EQ(store.getString("device_id"), std::nullopt);
    store.setString("device_id", "ABC");
    store.setString("currentUserId", "u-1");
    store.remove("currentUserId");
    store.remove("never-set");
    EXPECT_EQ(store.getString("device_id"), "ABC");
  }
  linux_host::FileKeyValueStore reopened(file);
  EXPECT_EQ(reopened.getString("device_id"), "ABC");
  EXPECT_EQ(reopened.getString("currentUserId"), std::nullopt);
}

TEST_F(FileKeyValueStoreTest, DamagedFilesReadAsEmptyAndAreReplacedOnWrite) {
  const std::string damaged[] = {"", "{not json", "[1,2]", "\xFF\xFE", R"({"a": 1, "b": "kept"})"};
  for (const std::string& contents : damaged) {
    fs::create_directories(dir_);
    const fs::path file = dir_ / "defaults.json";
    std::ofstream(file, std::ios::binary) << contents;
    testing::LogCapture quiet(LogLevel::none);
    linux_host::FileKeyValueStore store(file);
    EXPECT_EQ(store.getString("a"), std::nullopt) << "non-string values are ignored";
    store.setString("a", "x");
    EXPECT_EQ(linux_host::FileKeyValueStore(file).getString("a"), "x") << contents;
  }
}

// Host text is not always UTF-8 (a user id from a legacy store); writing it must not throw.
TEST_F(FileKeyValueStoreTest, TextThatIsNotUtf8IsWrittenWithReplacementCharacters) {
  const fs::path file = dir_ / "defaults.json";
  {
    linux_host::FileKeyValueStore store(file);
    store.setString("device_id", "ABC");
    store.setString("currentUserId", "user-\xFF\xC3(\xED\xA0\x80-1");
    store.setString("key-\xFE", "value");
    EXPECT_EQ(store.getString("currentUserId"), "user-\xFF\xC3(\xED\xA0\x80-1");
  }
  linux_host::FileKeyValueStore reopened(file);
  EXPECT_EQ(reopened.getString("device_id"), "ABC");
  const std::optional<std::string> user = reopened.getString("currentUserId");
  ASSERT_TRUE(user);
  EXPECT_EQ(user->rfind("user-\xEF\xBF\xBD", 0), 0u) << *user;
  EXPECT_EQ(reopened.getString("key-\xEF\xBF\xBD"), "value");
}

TEST_F(FileKeyValueStoreTest, DocumentsDirectoryExistsOnceAskedFor) {
  linux_host::FixedDocumentsDirectory documents(dir_ / "Documents");
  EXPECT_TRUE(fs::is_directory(documents.path()));
}

// Runs the default GLib context until `done` or a generous deadline.
void runUntil(const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!done() && std::chrono::steady_clock::now() < deadline)
    g_main_context_iteration(nullptr, FALSE) ||
        (std::this_thread::sleep_for(std::chrono::milliseconds(1)), true);
}

TEST(GlibMainThread, RunsPostedWorkInOrderAndDelayedWorkUnlessCancelled) {
  linux_host::GlibMainThread main;
  std::vector<std::string> order;
  main.postAfter(std::chrono::milliseconds(30), [&] { order.push_back("late"); });
  TaskHandle cancelled =
      main.postAfter(std::chrono::milliseconds(10), [&] { order.push_back("cancelled"); });
  std::thread other([&] { main.post([&] { order.push_back("from other thread"); }); });
  other.join();
  main.post([&] { order.push_back("second"); });
  cancelled.cancel();
  runUntil([&] { return order.size() == 3; });
  EXPECT_EQ(order, (std::vector<std::string>{"from other thread", "second", "late"}));
}

TEST(GlibMainThread, KnowsWhichThreadIsMain) {
  linux_host::GlibMainThread main;
  EXPECT_TRUE(main.isCurrent());
  bool onOther = true;
  std::thread([&] { onOther = main.isCurrent(); }).join();
  EXPECT_FALSE(onOther);
}

TEST(LinuxDevice, LocaleNamesGiveLanguageAndRegion) {
  struct Case {
    const char* name;
    std::optional<std::string> language, region;
  };
  const Case cases[] = {
      {"ko_KR.UTF-8", "ko", "KR"},
      {"en_US@euro", "en", "US"},
      {"de", "de", std::nullopt},
      {"C.UTF-8", std::nullopt, std::nullopt},
      {"POSIX", std::nullopt, std::nullopt},
      {"", std::nullopt, std::nullopt},
      {"pt_", "pt", std::nullopt},
  };
  for (const Case& c : cases) {
    const linux_host::LocaleParts parts = linux_host::parseLocaleName(c.name);
    EXPECT_EQ(parts.language, c.language) << c.name;
    EXPECT_EQ(parts.region, c.region) << c.name;
  }
}

// Reports from other threads arrive on the main thread; a report made on it arrives at once.
TEST(HostAppLifecycle, DeliversOnTheMainThreadUntilUnsubscribed) {
  auto main = std::make_shared<linux_host::GlibMainThread>();
  auto lifecycle = std::make_shared<linux_host::HostAppLifecycle>(main);
  std::vector<std::pair<AppLifecycleEvent, bool>> heard;
  Subscription subscription = lifecycle->subscribe(
      [&](AppLifecycleEvent event) { heard.emplace_back(event, main->isCurrent()); });

  lifecycle->notify(AppLifecycleEvent::willTerminate);
  EXPECT_EQ(heard.size(), 1u) << "on the main thread: delivered before notify returns";
  std::thread([&] { lifecycle->notify(AppLifecycleEvent::didEnterBackground); }).join();
  EXPECT_EQ(heard.size(), 1u);
  // A host that exits right after saying so runs no main loop again: termination is heard at once.
  std::thread([&] { lifecycle->notify(AppLifecycleEvent::willTerminate); }).join();
  ASSERT_EQ(heard.size(), 2u);
  EXPECT_EQ(heard[1], std::make_pair(AppLifecycleEvent::willTerminate, false));
  heard.pop_back();
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
  EXPECT_EQ(lifecycle->state(), AppState::background);
  subscription.reset();
  lifecycle->notify(AppLifecycleEvent::willEnterForeground);
  EXPECT_EQ(heard, (std::vector<std::pair<AppLifecycleEvent, bool>>{
                       {AppLifecycleEvent::willTerminate, true},
                       {AppLifecycleEvent::didEnterBackground, true}}));
  EXPECT_EQ(lifecycle->state(), AppState::active);
}

// GIO's network monitor says when the network may have changed; the observer hears what
// isConnected() says then, until its subscription ends.
// The host's crash reporter runs after the SDK's handler even when that one throws (memory
// running out in a failing process).
TEST(LinuxDiagnosticsDeathTest, AThrowingSdkHandlerStillLeavesTheHostHandlerToRun) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        std::set_terminate([] {
          std::fputs("host handler ran\n", stderr);
          std::abort();
        });
        linux_host::LinuxProcessDiagnostics().installUncaughtExceptionHandler(
            [](const UncaughtException&) { throw std::bad_alloc(); });
        std::thread([] { throw std::runtime_error("uncaught"); }).join();
      },
      "host handler ran");
}

TEST(LinuxReachability, PassesTheMonitorsChangesOnUntilUnsubscribed) {
  linux_host::LinuxReachability reachability;
  std::vector<bool> heard;
  Subscription subscription =
      reachability.subscribe([&](bool connected) { heard.push_back(connected); });
  GNetworkMonitor* monitor = g_network_monitor_get_default();
  g_signal_emit_by_name(monitor, "network-changed", TRUE);
  ASSERT_FALSE(heard.empty());
  EXPECT_EQ(heard.back(), reachability.isConnected());
  subscription.reset();
  const std::size_t before = heard.size();
  g_signal_emit_by_name(monitor, "network-changed", FALSE);
  EXPECT_EQ(heard.size(), before);
}

TEST(RandomSource, UuidsAreUpperCaseVersion4AndDistinct) {
  linux_host::SystemRandom random;
  const std::regex shape("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> seen;
  for (int n = 0; n < 1000; ++n) {
    const std::string uuid = random.makeUuid();
    ASSERT_TRUE(std::regex_match(uuid, shape)) << uuid;
    seen.insert(uuid);
    const double unit = random.nextUnit();
    ASSERT_TRUE(unit >= 0.0 && unit < 1.0);
  }
  EXPECT_EQ(seen.size(), 1000u);
}

TEST(TransportError, KindsMapToUrlLoadingCodes) {
  const std::pair<TransportErrorKind, long> cases[] = {
      {TransportErrorKind::timedOut, -1001},       {TransportErrorKind::cannotConnect, -1004},
      {TransportErrorKind::connectionLost, -1005}, {TransportErrorKind::notConnected, -1009},
      {TransportErrorKind::cancelled, -999},       {TransportErrorKind::other, -1}};
  for (const auto& [kind, code] : cases) {
    const Error error = toError(TransportError{kind, 7, "text"});
    EXPECT_EQ(error.code, code);
    EXPECT_TRUE(error.isNetworkError());
    EXPECT_EQ(error.description, "text");
  }
}

// The addresses a platform hands over: the request's and the one a redirect points to.
TEST(Redirects, AreFollowedOnlyWithinTheRequestsOrigin) {
  const std::string from = "https://api.example.com/v1/validate";
  const struct {
    const char* to;
    bool followed;
  } cases[] = {
      {"https://api.example.com/v2/validate?x=1", true},
      {"HTTPS://API.Example.com:443/", true},
      {"https://api.example.com:8443/", false},
      {"http://api.example.com/", false},
      {"https://example.com/", false},
      {"https://api.example.com.evil.test/", false},
      {"https://user:pw@api.example.com/", false},
      {"/relative", false},
      {"", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.to);
    EXPECT_EQ(followsRedirect(from, c.to), c.followed);
  }
  // An address without an origin is never followed from, even to itself.
  EXPECT_FALSE(followsRedirect("about:blank", "about:blank"));
  EXPECT_FALSE(followsRedirect("", ""));
}

// A window picture of one colour is blank, whatever the row padding holds; one differing pixel
// anywhere, the last one included, is content.
TEST(DrawnPixels, OneColourThroughoutIsBlank) {
  constexpr int kWidth = 3, kHeight = 2, kChannels = 4;
  constexpr std::size_t kStride = 16;  // 12 bytes of pixels and 4 of padding a row
  struct Case {
    const char* name;
    std::function<void(std::vector<std::uint8_t>&)> change;
    bool content;
  };
  const Case cases[] = {
      {"uniform", [](auto&) {}, false},
      {"padding differs",
       [](auto& p) {
         p[12] = 0;
         p[kStride + 15] = 7;
       },
       false},
      {"first pixel differs", [](auto& p) { p[0] = 0; }, true},
      {"last pixel's alpha differs", [](auto& p) { p[kStride + 11] = 1; }, true},
  };
  for (const Case& c : cases) {
    std::vector<std::uint8_t> pixels(kStride * kHeight, 0xEE);
    c.change(pixels);
    EXPECT_EQ(linux_host::showsContent(pixels.data(), kWidth, kHeight, kStride, kChannels),
              c.content)
        << c.name;
  }
  EXPECT_FALSE(linux_host::showsContent(nullptr, 1, 1, 4, 4));
  EXPECT_FALSE(linux_host::showsContent(std::vector<std::uint8_t>(4).data(), 0, 1, 4, 4));
}

}  // namespace
}  // namespace korvane
