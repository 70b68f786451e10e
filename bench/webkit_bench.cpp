// WebKitGTK: from presenting the offerwall to its page having loaded (the bridge evaluated into
// it), for a page from the local backend. Needs a display (scripts run it under Xvfb).
#include <benchmark/benchmark.h>

#include <gtk/gtk.h>
#include "empty_call_baseline.h"

#include <atomic>
#include <filesystem>
#include <thread>

#include "dev_server.h"
#include "fake_platform.h"
#include "korvane/core/korvane_sdk.h"
#include "korvane/linux/glib_main_thread.h"
#include "korvane/linux/gtk_screens.h"
#include "korvane/linux/linux_platform.h"
#include "korvane/offerwall/offerwall_view_controller.h"
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
  SdkEnvironment environment;
  environment.platform = linux_host::makePlatformServices(data);
  environment.platform.mainThread = std::make_shared<linux_host::GlibMainThread>();
  environment.platform.lifecycle = nullptr;
  environment.network = std::make_shared<NetworkManager>("BENCH");
  environment.tasks = std::make_shared<ThreadPoolExecutor>(2);
  environment.serial = std::make_shared<ThreadPoolExecutor>(1);
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
  SdkEnvironment idle;
  idle.platform = testing::FakePlatform().services();
  KorvaneSdkTestAccess::reset(KorvaneSdk::shared(), std::move(idle));
  std::filesystem::remove_all(data);
}
BENCHMARK(BM_WebKitOpenToLoadFinished)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

}  // namespace

BENCHMARK_MAIN();
