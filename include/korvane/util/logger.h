#pragma once

#include <atomic>
#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/values/error.h"

namespace korvane {

// Severities ordered by raw value; `none` silences the console.
enum class LogLevel : int { none = 0, error = 1, warning = 2, info = 3, debug = 4, verbose = 5 };

// Level from its raw value; nothing for values outside 0...5.
std::optional<LogLevel> logLevelFromRawValue(long rawValue);

// The SDK's one logging facility (process-wide). Every message is scrubbed of credentials and
// e-mail addresses before it leaves; lines look like "[HH:mm:ss.SSS] [L/Tag] message". Errors and
// warnings also reach the telemetry sink, whatever the console level. A line that neither the
// console nor the sink wants costs a level check: the lazy overloads do not even build the message.
class KorvaneLogger {
 public:
  // Receives (level, tag, scrubbed message, error or null) for error and warning lines.
  using TelemetrySink =
      std::function<void(LogLevel, std::string_view, std::string_view, const Error*)>;
  // Receives each finished console line without its newline.
  using LineWriter = std::function<void(std::string_view)>;

  static void e(std::string_view tag, std::string_view message) {
    logError(LogLevel::error, tag, message, nullptr);
  }
  // With the error attached, the line also becomes an sdk_error event (network errors aside).
  // Attach it only to failures worth a diagnostic report, never to ones that recur with every
  // event sent or stored, or an outage would feed telemetry with reports of itself.
  static void e(std::string_view tag, std::string_view message, const Error& error) {
    logError(LogLevel::error, tag, message, &error);
  }
  static void w(std::string_view tag, std::string_view message) {
    logError(LogLevel::warning, tag, message, nullptr);
  }
  static void w(std::string_view tag, std::string_view message, const Error& error) {
    logError(LogLevel::warning, tag, message, &error);
  }
  static void i(std::string_view tag, std::string_view message) {
    logPlain(LogLevel::info, tag, message);
  }
  static void d(std::string_view tag, std::string_view message) {
    logPlain(LogLevel::debug, tag, message);
  }
  static void v(std::string_view tag, std::string_view message) {
    logPlain(LogLevel::verbose, tag, message);
  }

  // Lazy forms: `makeMessage` runs only when the line will be printed or offered to the sink.
  template <std::invocable F>
  static void e(std::string_view tag, F&& makeMessage) {
    if (wantsError(LogLevel::error)) e(tag, std::string_view(makeMessage()));
  }
  template <std::invocable F>
  static void w(std::string_view tag, F&& makeMessage) {
    if (wantsError(LogLevel::warning)) w(tag, std::string_view(makeMessage()));
  }
  template <std::invocable F>
  static void i(std::string_view tag, F&& makeMessage) {
    if (prints(LogLevel::info)) i(tag, std::string_view(makeMessage()));
  }
  template <std::invocable F>
  static void d(std::string_view tag, F&& makeMessage) {
    if (prints(LogLevel::debug)) d(tag, std::string_view(makeMessage()));
  }
  template <std::invocable F>
  static void v(std::string_view tag, F&& makeMessage) {
    if (prints(LogLevel::verbose)) v(tag, std::string_view(makeMessage()));
  }

  static LogLevel logLevel() {
    return static_cast<LogLevel>(level_.load(std::memory_order_relaxed));
  }
  static void setLogLevel(LogLevel level) {
    level_.store(static_cast<int>(level), std::memory_order_relaxed);
  }

  // `owner`, when given, is kept with the sink and handed back by telemetrySinkOwner(): a platform
  // layer that wraps a host's object into the sink uses it to give that object back.
  static void setTelemetrySink(TelemetrySink sink, std::shared_ptr<const void> owner = nullptr);
  // The sink now installed (empty when none), so that a host can chain its own in front of it.
  static TelemetrySink telemetrySink();
  // The owner given with the sink now installed; null when none was.
  static std::shared_ptr<const void> telemetrySinkOwner();
  static bool hasTelemetrySink() { return hasSink_.load(std::memory_order_acquire); }

  // Where console lines go; standard error unless a host routes them elsewhere. Null restores it.
  static void setLineWriter(LineWriter writer);

  // A plain diagnostic line without prefix, as some failures print besides their log line.
  // Scrubbed like every line; printed whatever the level.
  static void print(std::string_view text);

  // Masks the values of credential-like keys ("appKey=***") and whole e-mail addresses ("***").
  static std::string scrub(std::string_view text);

  // True when a line of this level would be printed.
  static bool prints(LogLevel level) {
    return static_cast<int>(level) <= level_.load(std::memory_order_relaxed);
  }

 private:
  static bool wantsError(LogLevel level) { return prints(level) || hasTelemetrySink(); }
  static void logPlain(LogLevel level, std::string_view tag, std::string_view message) {
    if (prints(level)) writePlain(level, tag, message);
  }
  static void logError(LogLevel level, std::string_view tag, std::string_view message,
                       const Error* error) {
    if (wantsError(level)) writeError(level, tag, message, error);
  }
  static void writePlain(LogLevel level, std::string_view tag, std::string_view message);
  static void writeError(LogLevel level, std::string_view tag, std::string_view message,
                         const Error* error);

  static inline std::atomic<int> level_{static_cast<int>(LogLevel::warning)};
  static inline std::atomic<bool> hasSink_{false};
};

}  // namespace korvane
