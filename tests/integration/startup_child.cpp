// A host that starts the SDK once, against its own local backend, and reports how the start went.
// Usage: korvane_startup_child DATA_DIR APP_VERSION [--crash-at STEP] [--expect-events N]
// With --crash-at the process aborts when the start reaches STEP. Otherwise it prints, one per
// line: "initialize: ok" or "initialize: error CODE DESCRIPTION", "initialized: true|false",
// "requests: N" (what its backend received) and "event: NAME" for each event delivered, after
// waiting for N of them. The SDK's log goes to standard error.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>

#include "dev_server.h"
#include "korvane/linux/linux_device.h"
#include "korvane/linux/linux_platform.h"
#include "korvane/sdk/korvane_sdk.h"
#include "sdk/sdk_environment.h"

int main(int argc, char** argv) {
  using namespace korvane;
  using namespace std::chrono_literals;
  if (argc < 3) return 2;
  const std::filesystem::path data = argv[1];
  std::string crashAt;
  std::size_t expectEvents = 0;
  for (int i = 3; i + 1 < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--crash-at") crashAt = argv[i + 1];
    if (option == "--expect-events") expectEvents = std::stoul(argv[i + 1]);
  }

  devserver::DevServer server;
  if (server.start() == 0) return 4;
  KorvaneLogger::setLogLevel(LogLevel::verbose);

  SdkEnvironment environment;
  environment.platform = linux_host::makePlatformServices(data);
  environment.platform.device = std::make_shared<linux_host::LinuxDeviceProbe>(argv[2]);
  environment.network = std::make_shared<NetworkManager>("STARTUP-CHILD");
  environment.tasks = std::make_shared<ThreadPoolExecutor>(2);
  auto serial = std::make_shared<ThreadPoolExecutor>(1);
  environment.serial = serial;
  environment.startupStep = [crashAt](std::string_view step) {
    if (step == crashAt) std::abort();
  };
  KorvaneSdk& sdk = KorvaneSdk::shared();
  KorvaneSdkTestAccess::reset(sdk, std::move(environment));

  const devserver::App app = devserver::DevServer::demoApp();
  const Status started = sdk.initialize(KorvaneSdkConfig::Builder(app.appKey, app.appSecret)
                                            .setApiBaseUrl(server.baseUrl())
                                            .setTimeoutMillis(2000)
                                            .build());
  if (started) {
    std::printf("initialize: ok\n");
    // The start's share of the serial queue, then the backend's answer.
    std::promise<void> drained;
    serial->submit([&drained] { drained.set_value(); });
    drained.get_future().wait();
    const auto until = std::chrono::steady_clock::now() + 10s;
    while (!sdk.isInitialized() && std::chrono::steady_clock::now() < until)
      std::this_thread::sleep_for(5ms);
  } else {
    std::printf("initialize: error %ld %s\n", started.error().code,
                started.error().description.c_str());
  }
  std::printf("initialized: %s\n", sdk.isInitialized() ? "true" : "false");
  if (expectEvents > 0) server.waitForEvents(expectEvents, 10s);
  std::printf("requests: %zu\n", server.requests().size());
  for (const TrackEventRequest& event : server.deliveredEvents())
    std::printf("event: %s\n", event.name.c_str());
  std::fflush(stdout);
  // Background work of the SDK may still run: leave without destroying anything.
  std::_Exit(0);
}
