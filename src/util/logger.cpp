#include "korvane/util/logger.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>

#include "util/log_scrubber.h"
#include "util/no_destructor.h"

namespace korvane {
namespace {

// The sink and the writer are swapped rarely and read per line: readers copy the pointer under
// the lock and call outside it, so a slow sink never blocks another thread's logging.
template <typename F>
class SharedSlot {
 public:
  void set(F f) {
    auto next = f ? std::make_shared<const F>(std::move(f)) : nullptr;
    std::lock_guard lock(mutex_);
    value_ = std::move(next);
  }
  std::shared_ptr<const F> get() const {
    std::lock_guard lock(mutex_);
    return value_;
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const F> value_;
};

// The sink with the owner it was given, swapped together.
struct OwnedSink {
  KorvaneLogger::TelemetrySink sink;
  std::shared_ptr<const void> owner;
  explicit operator bool() const { return static_cast<bool>(sink); }
};

SharedSlot<OwnedSink>& sinkSlot() {
  static NoDestructor<SharedSlot<OwnedSink>> slot;
  return slot.get();
}

SharedSlot<KorvaneLogger::LineWriter>& writerSlot() {
  static NoDestructor<SharedSlot<KorvaneLogger::LineWriter>> slot;
  return slot.get();
}

char levelLetter(LogLevel level) {
  switch (level) {
    case LogLevel::error:
      return 'E';
    case LogLevel::warning:
      return 'W';
    case LogLevel::info:
      return 'I';
    case LogLevel::debug:
      return 'D';
    case LogLevel::verbose:
      return 'V';
    case LogLevel::none:
      break;
  }
  return '?';
}

// "HH:mm:ss.SSS" in local time.
void appendTimestamp(std::string& out) {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min,
                local.tm_sec, static_cast<int>(millis));
  out += buffer;
}

void writeLine(std::string line) {
  if (auto writer = writerSlot().get()) {
    (*writer)(line);
    return;
  }
  // Standard error: standard output is the host's own channel, often carrying data.
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void emitLine(LogLevel level, std::string_view tag, std::string_view scrubbedMessage,
              const Error* error) {
  std::string line;
  line.reserve(24 + tag.size() + scrubbedMessage.size());
  line += '[';
  appendTimestamp(line);
  line += "] [";
  line += levelLetter(level);
  line += '/';
  line += tag;
  line += "] ";
  line += scrubbedMessage;
  if (error) {
    line += " - ";
    line += scrubber::scrub(error->description);
  }
  writeLine(std::move(line));
}

}  // namespace

std::optional<LogLevel> logLevelFromRawValue(long rawValue) {
  if (rawValue < 0 || rawValue > 5) return std::nullopt;
  return static_cast<LogLevel>(rawValue);
}

void KorvaneLogger::setTelemetrySink(TelemetrySink sink, std::shared_ptr<const void> owner) {
  const bool present = static_cast<bool>(sink);
  sinkSlot().set(OwnedSink{std::move(sink), present ? std::move(owner) : nullptr});
  hasSink_.store(present, std::memory_order_release);
}

KorvaneLogger::TelemetrySink KorvaneLogger::telemetrySink() {
  std::shared_ptr<const OwnedSink> installed = sinkSlot().get();
  return installed ? installed->sink : TelemetrySink();
}

std::shared_ptr<const void> KorvaneLogger::telemetrySinkOwner() {
  std::shared_ptr<const OwnedSink> installed = sinkSlot().get();
  return installed ? installed->owner : nullptr;
}

void KorvaneLogger::setLineWriter(LineWriter writer) {
  writerSlot().set(std::move(writer));
}

void KorvaneLogger::print(std::string_view text) {
  writeLine(scrubber::scrub(text));
}

std::string KorvaneLogger::scrub(std::string_view text) {
  return scrubber::scrub(text);
}

void KorvaneLogger::writePlain(LogLevel level, std::string_view tag, std::string_view message) {
  emitLine(level, tag, scrubber::scrub(message), nullptr);
}

void KorvaneLogger::writeError(LogLevel level, std::string_view tag, std::string_view message,
                               const Error* error) {
  const std::string scrubbed = scrubber::scrub(message);
  if (auto installed = sinkSlot().get()) installed->sink(level, tag, scrubbed, error);
  if (prints(level)) emitLine(level, tag, scrubbed, error);
}

}  // namespace korvane
