#include "telemetry/error_telemetry.h"

#include "korvane/version.h"
#include "util/utf8.h"

namespace korvane {
namespace {

constexpr std::size_t kStackTraceLimit = 4000;
thread_local bool reporting = false;  // the per-thread reentrancy guard

// Clears the guard however the report ends.
struct ReentrancyGuard {
  ReentrancyGuard() { reporting = true; }
  ~ReentrancyGuard() { reporting = false; }
};

}  // namespace

std::string joinStackTrace(const std::vector<std::string>& symbols) {
  std::string joined;
  for (std::size_t i = 0; i < symbols.size(); ++i) {
    if (i) joined += '\n';
    joined += symbols[i];
  }
  std::size_t characters = 0;
  for (std::size_t at = 0; at < joined.size(); at += utf8::decodeAt(joined, at).length) {
    if (characters++ == kStackTraceLimit) return joined.substr(0, at) + "…[truncated]";
  }
  return joined;
}

void ErrorTelemetry::install(std::weak_ptr<EventBatchService> service, std::string sdkVersion,
                             std::shared_ptr<ProcessDiagnostics> diagnostics,
                             std::shared_ptr<Clock> clock, std::shared_ptr<RandomSource> random) {
  bool installHandler = false;
  {
    std::lock_guard lock(lock_);
    installed_ = Installed{std::move(service), std::move(sdkVersion), diagnostics, std::move(clock),
                           std::move(random)};
    installHandler = !handlerInstalled_ && diagnostics;
    if (installHandler) handlerInstalled_ = true;
  }
  if (installHandler)
    diagnostics->installUncaughtExceptionHandler(
        [weak = weak_from_this()](const UncaughtException& exception) {
          if (auto self = weak.lock()) self->recordCrash(exception);
        });
}

ErrorTelemetry::Installed ErrorTelemetry::snapshot() {
  std::lock_guard lock(lock_);
  return installed_;
}

void ErrorTelemetry::reportError(std::string_view message, const Error* error,
                                 std::string_view layer) {
  if (!enabled() || reporting) return;
  ReentrancyGuard guard;
  Installed installed = snapshot();
  std::shared_ptr<EventBatchService> service = installed.service.lock();
  if (!service || !installed.clock || !installed.random) return;
  JsonValue payload = JsonValue::object();
  payload["errorType"] = error ? error->typeName : "Error";
  payload["message"] = KorvaneLogger::scrub(message);
  payload["stacktrace"] = joinStackTrace(installed.diagnostics ? installed.diagnostics->callStack()
                                                               : std::vector<std::string>{});
  payload["layer"] = std::string(layer);
  payload["sdkVersion"] = installed.sdkVersion;
  payload["platform"] = kPlatformName;
  service->trackEvent(Event::make(installed.random->makeUuid(), EventType::sdkError,
                                  installed.clock->nowMillisWithFraction(), "sdk_diagnostic",
                                  std::move(payload)));
}

void ErrorTelemetry::recordCrash(const UncaughtException& exception) {
  if (!enabled()) return;
  Installed installed = snapshot();
  std::shared_ptr<EventBatchService> service = installed.service.lock();
  if (!service || !installed.clock || !installed.random) return;
  JsonValue payload = JsonValue::object();
  payload["errorType"] = exception.name;
  payload["message"] =
      KorvaneLogger::scrub(exception.name + ": " + exception.reason.value_or("unknown"));
  payload["stacktrace"] = joinStackTrace(exception.callStack);
  payload["layer"] = "core";
  payload["sdkVersion"] = installed.sdkVersion;
  payload["platform"] = kPlatformName;
  // The process is about to end: straight into the event file, to be sent at the next launch.
  Status saved = service->persistence().saveEvent(
      Event::make(installed.random->makeUuid(), EventType::sdkCrash,
                  installed.clock->nowMillisWithFraction(), "sdk_diagnostic", std::move(payload)));
  if (!saved)
    KorvaneLogger::e("EventBatchService",
                     "Failed to persist crash event: " + saved.error().description);
}

KorvaneLogger::TelemetrySink ErrorTelemetry::loggerSink() {
  return [weak = weak_from_this()](LogLevel level, std::string_view, std::string_view message,
                                   const Error* error) {
    if (level != LogLevel::error || !error || error->isNetworkError()) return;
    if (auto self = weak.lock()) self->reportError(message, error, "core");
  };
}

}  // namespace korvane
