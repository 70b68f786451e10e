// WebKitGTK: from presenting the offerwall to its page having loaded (the bridge evaluated into
// it), for a page from the local backend. Needs a display (scripts run it under Xvfb).
#include <benchmark/benchmark.h>

#include <gtk/gtk.h>
#include "empty_call_baseline.h"
#include "facade_environments.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>
#include <vector>

#include "dev_server.h"
#include "fake_platform.h"
#include "korvane/linux/glib_main_thread.h"
#include "korvane/linux/gtk_screens.h"
#include "korvane/linux/linux_platform.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/sdk/korvane_sdk.h"
#include "sdk/sdk_environment.h"

namespace {

using namespace korvane;

BENCHMARK(BM_EmptyCall);

void pumpUntil(const std::atomic<bool>& done) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!done && std::chrono::steady_clock::now() < until) {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
}

void BM_WebKitOpenToLoadFinished(benchmark::State& state) {
  devserver::DevServer server;
  server.start();
  server.setPage("/pages/offers.html",
                 "<!doctype html><html><head><meta charset=\"utf-8\"></head><body>"
                 "<h1>Offers</h1><ul><li>Install and open: 500 P</li><li>Survey: 120 P</li></ul>"
                 "</body></html>");
  const auto data = std::filesystem::temp_directory_path() / "korvane-webkit-bench";
  SdkEnvironment environment =
      testing::linuxEnvironment(data, std::make_shared<linux_host::GlibMainThread>(), "BENCH");
  environment.platform.lifecycle = nullptr;
  KorvaneSdkTestAccess::reset(KorvaneSdk::shared(), std::move(environment));

  std::atomic<bool> loaded{false};
  KorvaneLogger::setLogLevel(LogLevel::debug);
  KorvaneLogger::setLineWriter([&](std::string_view line) {
    if (line.find("JavaScript bridge injected successfully") != std::string_view::npos)
      loaded = true;
  });
  for (auto _ : state) {
    loaded = false;
    auto controller = KorvaneOfferwallViewController::create();
    controller->baseUrl = server.baseUrl() + "/pages/offers.html";
    controller->appKey = "demo-app-key";
    controller->present();
    pumpUntil(loaded);
    state.PauseTiming();
    controller->closeOfferwall();
    const auto settle = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    while (std::chrono::steady_clock::now() < settle) {
      while (g_main_context_iteration(nullptr, FALSE)) {
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    state.ResumeTiming();
  }
  KorvaneLogger::setLineWriter(nullptr);
  testing::idleFacade(KorvaneSdk::shared());
  std::filesystem::remove_all(data);
}
BENCHMARK(BM_WebKitOpenToLoadFinished)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

// The offerwall through the facade, opened cold (a new web view and web process, the page loaded
// after the opening) and warm (the page preloaded off screen), against the local backend's sample
// offerwall with `latency` added to its page's answer. Each opening is timed from openOfferwall
// until the page has loaded, is on screen and its document says it is visible; the counters are
// the median and the 90th percentile of the openings, in milliseconds.
class OfferwallBench {
 public:
  explicit OfferwallBench(std::chrono::milliseconds latency) {
    server_.start();
    if (latency.count() > 0) server_.setDelay("/offerwall/", latency);
    SdkEnvironment environment =
        testing::linuxEnvironment(data_, std::make_shared<linux_host::GlibMainThread>(), "BENCH");
    environment.platform.lifecycle = nullptr;
    KorvaneSdkTestAccess::reset(KorvaneSdk::shared(), std::move(environment));
    KorvaneLogger::setLogLevel(LogLevel::debug);
    KorvaneLogger::setLineWriter([this](std::string_view line) {
      if (line.find("JavaScript bridge injected successfully") != std::string_view::npos)
        loaded_ = true;
    });
    KorvaneSdk& sdk = KorvaneSdk::shared();
    sdk.initialize(KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret")
                       .setApiBaseUrl(server_.baseUrl())
                       .build());
    pumpUntilTrue([&] { return sdk.isInitialized(); });
    sdk.login(KorvaneSdkUser("bench-user"));
    pumpUntilTrue([&] { return sdk.isLoggedIn(); });
  }
  ~OfferwallBench() {
    KorvaneLogger::setLineWriter(nullptr);
    testing::idleFacade(KorvaneSdk::shared());
    std::filesystem::remove_all(data_);
  }

  // Preloads and waits, untimed, until the kept page has loaded.
  void preload() {
    loaded_ = false;
    KorvaneSdk::shared().preloadOfferwall("home");
    pumpUntil(loaded_);
  }
  // One opening, timed; then closes it and lets the screens settle.
  double openMillis() {
    auto opened = std::make_shared<Opened>();
    const auto start = std::chrono::steady_clock::now();
    KorvaneSdk::shared().openOfferwall(nullptr, "home", opened, nullptr);
    pumpUntil(loaded_);
    pumpUntilTrue([&] { return opened->opened && documentVisible(); });
    const double millis =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    closeAll();
    loaded_ = false;
    return millis;
  }
  devserver::DevServer& server() { return server_; }

 private:
  class Opened final : public OfferwallCallback {
   public:
    void onOpened() override { opened = true; }
    void onClosed() override {}
    void onError(const std::string&) override {}
    void onRewardEarned(int) override {}
    bool opened = false;
  };

  static Screen* topScreen() {
    auto* gtk = dynamic_cast<linux_host::GtkScreenPresenter*>(linux_host::screenPresenter().get());
    std::vector<Screen*> live = gtk ? gtk->liveScreens() : std::vector<Screen*>{};
    return live.empty() ? nullptr : live.back();
  }
  bool documentVisible() {
    Screen* screen = topScreen();
    if (!screen) return false;
    std::atomic<bool> answered{false};
    bool visible = false;
    screen->webView().evaluateJavaScript("document.visibilityState",
                                         [&](Result<std::string> state) {
                                           visible = state && state.value() == "\"visible\"";
                                           answered = true;
                                         });
    pumpUntil(answered);
    return visible;
  }
  // The page closes itself, as its own close link does, and the controller lets go of it.
  static void closeAll() {
    if (Screen* screen = topScreen())
      screen->webView().evaluateJavaScript("location.href = 'korvane://close'", nullptr);
    pumpUntilTrue([] { return topScreen() == nullptr; });
    const auto settle = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    while (std::chrono::steady_clock::now() < settle) {
      while (g_main_context_iteration(nullptr, FALSE)) {
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
  static void pumpUntilTrue(const std::function<bool()>& done) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done() && std::chrono::steady_clock::now() < until) {
      while (g_main_context_iteration(nullptr, FALSE)) {
      }
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  }

  devserver::DevServer server_;
  std::filesystem::path data_ = std::filesystem::temp_directory_path() / "korvane-open-bench";
  std::atomic<bool> loaded_{false};
};

double percentile(std::vector<double> values, double fraction) {
  std::sort(values.begin(), values.end());
  const double rank = fraction * static_cast<double>(values.size() - 1);
  const auto below = static_cast<std::size_t>(rank);
  const std::size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (values[above] - values[below]) * (rank - static_cast<double>(below));
}

// state.range(0): 1 for a warm opening; state.range(1): the added latency in milliseconds.
void BM_OfferwallOpening(benchmark::State& state) {
  const bool warm = state.range(0) == 1;
  OfferwallBench bench(std::chrono::milliseconds(state.range(1)));
  std::vector<double> openings;
  for (auto _ : state) {
    if (warm) bench.preload();
    const double millis = bench.openMillis();
    openings.push_back(millis);
    state.SetIterationTime(millis / 1000.0);
  }
  state.counters["p50_ms"] = percentile(openings, 0.5);
  state.counters["p90_ms"] = percentile(openings, 0.9);
}
BENCHMARK(BM_OfferwallOpening)
    ->ArgNames({"warm", "latency_ms"})
    ->ArgsProduct({{0, 1}, {0, 150}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(20);

// The web processes of this process (WebKitWebProcess children), by pid.
std::vector<int> webProcesses() {
  std::vector<int> found;
  const std::string self = std::to_string(::getpid());
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream stat(entry.path() / "stat");
    std::string line;
    std::getline(stat, line);
    const std::size_t close = line.rfind(')');
    if (close == std::string::npos || line.find("(WebKitWebProces") == std::string::npos) continue;
    std::istringstream rest(line.substr(close + 2));
    std::string processState;
    std::string parent;
    rest >> processState >> parent;
    if (parent == self) found.push_back(std::stoi(name));
  }
  return found;
}

std::size_t pssKiB(int pid) {
  std::ifstream rollup("/proc/" + std::to_string(pid) + "/smaps_rollup");
  std::string line;
  while (std::getline(rollup, line))
    if (line.rfind("Pss:", 0) == 0) return std::stoul(line.substr(4));
  return 0;
}

// What a kept page holds: the PSS of the web process it started, and what the host's heap grew
// by (the SDK's page, controller and bridge, and WebKitGTK's side of the web view).
void BM_WarmPageMemory(benchmark::State& state) {
  OfferwallBench bench(std::chrono::milliseconds(0));
  // A first opening starts the network process and the caches every page shares.
  bench.openMillis();
  for (auto _ : state) {
    const std::vector<int> before = webProcesses();
    const std::size_t heapBefore = mallinfo2().uordblks;
    bench.preload();
    const std::size_t heapAfter = mallinfo2().uordblks;
    std::size_t pss = 0;
    for (int pid : webProcesses())
      if (std::find(before.begin(), before.end(), pid) == before.end()) pss += pssKiB(pid);
    state.counters["web_process_pss_kib"] = static_cast<double>(pss);
    state.counters["host_heap_kib"] =
        static_cast<double>(heapAfter > heapBefore ? heapAfter - heapBefore : 0) / 1024.0;
    linux_host::memoryPressure()->notifyLowMemory();  // lets the kept page go
  }
}
BENCHMARK(BM_WarmPageMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
