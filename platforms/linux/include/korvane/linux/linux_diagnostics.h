#pragma once

#include "korvane/platform/process_diagnostics.h"

namespace korvane::linux_host {

// Call stacks from glibc's backtrace, and the uncaught-exception hook as a std::terminate
// handler: it describes the in-flight C++ exception, calls the SDK's handler, then the handler
// that was installed before (std::abort when there was none).
class LinuxProcessDiagnostics final : public ProcessDiagnostics {
 public:
  std::vector<std::string> callStack() const override;
  void installUncaughtExceptionHandler(
      std::function<void(const UncaughtException&)> handler) override;
};

}  // namespace korvane::linux_host
