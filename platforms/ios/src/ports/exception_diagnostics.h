#pragma once

#import <Foundation/Foundation.h>

#include "korvane/platform/process_diagnostics.h"

namespace korvane::ios {

// Call stacks from NSThread and the process's uncaught Objective-C exception handler. The SDK's
// handler is installed once per process with NSSetUncaughtExceptionHandler and then hands every
// exception on to the handler that was installed before it.
class ExceptionDiagnostics final : public ProcessDiagnostics {
 public:
  std::vector<std::string> callStack() const override;
  void installUncaughtExceptionHandler(
      std::function<void(const UncaughtException&)> handler) override;
};

// An NSException in the port's terms (a nil reason stays absent).
UncaughtException describe(NSException* exception);

}  // namespace korvane::ios
