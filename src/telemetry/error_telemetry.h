#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/platform/process_diagnostics.h"
#include "korvane/util/logger.h"
#include "telemetry/event_batch_service.h"

namespace korvane {

// The SDK's own failures as telemetry: errors become "sdk_error" events through the batch
// service, uncaught exceptions become "sdk_crash" events written straight into the event file for
// the next launch. One per session, made shared by it. The service is held weakly, and the
// exception handler and the logger sink hold this object weakly: once either is gone, nothing is
// reported. Reporting never throws and an error raised while reporting is not reported again.
class ErrorTelemetry : public std::enable_shared_from_this<ErrorTelemetry> {
 public:
  // Remembers the service and version; installs the uncaught-exception handler once (the
  // platform keeps the first one a process installs).
  void install(std::weak_ptr<EventBatchService> service, std::string sdkVersion,
               std::shared_ptr<ProcessDiagnostics> diagnostics, std::shared_ptr<Clock> clock,
               std::shared_ptr<RandomSource> random);
  void reportError(std::string_view message, const Error* error, std::string_view layer);
  // What happens when an uncaught exception ends the process.
  void recordCrash(const UncaughtException& exception);

  // The logger sink: forwards error lines that carry an error object which is not a network
  // error, with layer "core".
  KorvaneLogger::TelemetrySink loggerSink();

  // The host's switch (KorvaneSdk::telemetryEnabled): the facade keeps it and sets it on each
  // session's telemetry. When off, nothing is reported.
  bool enabled() const { return enabled_.load(); }
  void setEnabled(bool enabled) { enabled_.store(enabled); }

 private:
  struct Installed {
    std::weak_ptr<EventBatchService> service;
    std::string sdkVersion;
    std::shared_ptr<ProcessDiagnostics> diagnostics;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<RandomSource> random;
  };
  Installed snapshot();

  std::mutex lock_;
  Installed installed_;
  bool handlerInstalled_ = false;
  std::atomic<bool> enabled_{true};
};

// Symbol lines joined with "\n"; past 4000 characters cut there with "…[truncated]" appended.
std::string joinStackTrace(const std::vector<std::string>& symbols);

}  // namespace korvane
