#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

struct UncaughtException {
  std::string name;                   // the exception's type name
  std::optional<std::string> reason;  // its message, when it has one
  std::vector<std::string> callStack;
};

// The process-level hooks error telemetry needs from the platform.
class ProcessDiagnostics {
 public:
  virtual ~ProcessDiagnostics() = default;
  // The current thread's call stack, one symbol line per frame.
  virtual std::vector<std::string> callStack() const = 0;
  // Calls `handler` when the process is about to end with an uncaught exception, then hands the
  // exception on to whatever handler was installed before. Installs at most once per process.
  virtual void installUncaughtExceptionHandler(
      std::function<void(const UncaughtException&)> handler) = 0;
};

}  // namespace korvane
