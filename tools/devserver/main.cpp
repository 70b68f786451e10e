// korvane-devserver: the SDK's backend on this machine, for development.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "dev_server.h"

namespace {
volatile std::sig_atomic_t stopRequested = 0;
void onSignal(int) {
  stopRequested = 1;
}

int usage() {
  std::fprintf(stderr,
               "usage: korvane-devserver [--port N] [--data DIR] [--disable sdk|telemetry|"
               "offerwall|placements]...\n");
  return 2;
}
}  // namespace

int main(int argc, char** argv) {
  korvane::devserver::Options options;
  options.port = 8080;
  // The demo app's off switch: "sdk" sends "sdkEnabled": false, any other name goes into
  // "disabledFeatures".
  korvane::devserver::App demo = korvane::devserver::DevServer::demoApp();
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--port" && i + 1 < argc) {
      options.port = std::atoi(argv[++i]);
    } else if (arg == "--data" && i + 1 < argc) {
      options.dataDir = argv[++i];
    } else if (arg == "--disable" && i + 1 < argc) {
      const std::string feature = argv[++i];
      if (feature == "sdk") {
        demo.sdkEnabled = false;
      } else {
        demo.disabledFeatures.push_back(feature);
      }
    } else {
      return usage();
    }
  }
  korvane::devserver::DevServer server(options);
  if (server.start() == 0) {
    std::fprintf(stderr, "korvane-devserver: cannot listen on %s:%d\n", options.host.c_str(),
                 options.port);
    return 1;
  }
  std::signal(SIGINT, onSignal);
  std::signal(SIGTERM, onSignal);
  if (demo.sdkEnabled || !demo.disabledFeatures.empty()) server.addApp(demo);
  std::printf("korvane-devserver listening on %s (demo app key \"%s\", secret \"%s\")\n",
              server.baseUrl().c_str(), demo.appKey.c_str(), demo.appSecret.c_str());
  std::fflush(stdout);
  while (!stopRequested) pause();
  server.stop();
  return 0;
}
