// A host that dies of an uncaught exception with the SDK's telemetry installed.
// Usage: korvane_crash_child DOCUMENTS_DIR [--telemetry-off MARKER_FILE | --unreadable-later]
// With --unreadable-later the documents directory becomes a loop of symbolic links once the
// SDK runs, and the app returns to the foreground (reading the event file) before it dies.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <future>
#include <stdexcept>
#include <string>

#include "korvane/linux/glib_main_thread.h"
#include "korvane/linux/linux_diagnostics.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"
#include "telemetry/error_telemetry.h"

namespace {
std::string markerFile;
// The handler the host had before the SDK: it must still run.
[[noreturn]] void hostHandler() {
  std::ofstream(markerFile) << "host handler ran";
  std::abort();
}
}  // namespace

int main(int argc, char** argv) {
  using namespace korvane;
  if (argc < 2) return 2;
  auto telemetry = std::make_shared<ErrorTelemetry>();
  if (argc == 4 && std::string(argv[2]) == "--telemetry-off") {
    markerFile = argv[3];
    std::set_terminate(hostHandler);
    telemetry->setEnabled(false);
  }
  auto clock = std::make_shared<linux_host::SystemClock>();
  auto random = std::make_shared<linux_host::SystemRandom>();
  BatchServiceDependencies deps;
  deps.queue = std::make_shared<EventQueueManager>();
  deps.persistence = std::make_shared<EventPersistenceManager>(
      std::make_shared<linux_host::FixedDocumentsDirectory>(argv[1]), clock);
  deps.api = [] { return Result<std::shared_ptr<ApiService>>(Error{"test", 0, "offline"}); };
  deps.context = [] { return SendContext{}; };
  deps.mainThread = std::make_shared<linux_host::GlibMainThread>();
  deps.clock = clock;
  deps.random = random;
  deps.executor = std::make_shared<ThreadPoolExecutor>(1);
  auto serial = std::make_shared<ThreadPoolExecutor>(1);
  deps.serial = serial;
  auto service = EventBatchService::create(std::move(deps));
  // The host dies after the SDK's start: its read of the event file is done by then.
  std::promise<void> started;
  serial->submit([&started] { started.set_value(); });
  started.get_future().wait();
  telemetry->install(service, "1.0.52-rc.2",
                     std::make_shared<linux_host::LinuxProcessDiagnostics>(), clock, random);
  if (argc == 3 && std::string(argv[2]) == "--unreadable-later") {
    const std::filesystem::path documents = argv[1];
    const std::filesystem::path other = documents.string() + "-loop";
    std::filesystem::remove_all(documents);
    std::filesystem::create_symlink(other, documents);
    std::filesystem::create_symlink(documents, other);
    service->handleAppForeground();
  }
  throw std::runtime_error("payment failed for password=hunter2");
}
