// The offerwall's own cost: from presenting the controller to the first request handed to the
// web view, and one bridge message parsed and dispatched (fake web view and screens, so only
// the SDK's work is measured).
#include <benchmark/benchmark.h>

#include "empty_call_baseline.h"

#include "fake_platform.h"
#include "fake_screens.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/sdk/korvane_sdk.h"
#include "manual_executor.h"
#include "scripted_api.h"
#include "sdk/sdk_environment.h"

namespace {

using namespace korvane;

BENCHMARK(BM_EmptyCall);

class NullEvents final : public OfferwallEventCallback {
 public:
  void onCustomEvent(const std::string& type, const JsonValue& payload) override {
    benchmark::DoNotOptimize(type.size() + payload.size());
  }
  std::optional<JsonValue> onDataRequest(const std::string&, const std::string&,
                                         const JsonValue&) override {
    return std::nullopt;
  }
};

struct Fixture {
  testing::FakePlatform fake;
  std::shared_ptr<testing::FakePresenter> presenter = std::make_shared<testing::FakePresenter>();
  std::shared_ptr<testing::ManualExecutor> tasks = std::make_shared<testing::ManualExecutor>();
  Fixture() {
    KorvaneLogger::setLogLevel(LogLevel::warning);
    SdkEnvironment environment;
    environment.platform = fake.services();
    environment.platform.screens = presenter;
    environment.network = std::make_shared<NetworkManager>("BENCH");
    environment.network->initialize(std::make_shared<testing::ScriptedApi>());
    environment.tasks = tasks;
    environment.serial = tasks;
    KorvaneSdkTestAccess::reset(KorvaneSdk::shared(), std::move(environment));
  }
  ~Fixture() {
    SdkEnvironment idle;
    idle.platform = testing::FakePlatform().services();
    KorvaneSdkTestAccess::reset(KorvaneSdk::shared(), std::move(idle));
  }
};

void BM_OpenToFirstRequest(benchmark::State& state) {
  Fixture f;
  for (auto _ : state) {
    auto controller = KorvaneOfferwallViewController::create();
    controller->baseUrl = "https://hub.example/offerwall/?tab=offers";
    controller->userId = "user-42";
    controller->appKey = "app-key";
    controller->placementId = "home";
    controller->present();
    f.fake.mainThread->runUntilIdle();
    benchmark::DoNotOptimize(f.presenter->live.back()->view.loads.size());
    state.PauseTiming();
    controller->closeOfferwall();
    f.fake.mainThread->runUntilIdle();
    f.tasks->runAll();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_OpenToFirstRequest);

void BM_DispatchBridgeMessage(benchmark::State& state) {
  Fixture f;
  KorvaneOfferwallViewController::setEventCallback(std::make_shared<NullEvents>());
  auto controller = KorvaneOfferwallViewController::create();
  controller->baseUrl = "https://hub.example/offerwall/";
  controller->present();
  f.fake.mainThread->runUntilIdle();
  testing::FakeWebView& view = f.presenter->live.back()->view;
  const std::string body =
      R"({"type":"customEvent","data":{"eventType":"reward_shown","payload":{"amount":5,"placementId":"home"}}})";
  for (auto _ : state) {
    view.post(body);
    f.fake.mainThread->runUntilIdle();
  }
  controller->closeOfferwall();
  f.fake.mainThread->runUntilIdle();
  KorvaneOfferwallViewController::setEventCallback(nullptr);
}
BENCHMARK(BM_DispatchBridgeMessage);

}  // namespace

BENCHMARK_MAIN();
