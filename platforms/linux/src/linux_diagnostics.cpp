#include "korvane/linux/linux_diagnostics.h"

#include <cxxabi.h>
#include <execinfo.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <typeinfo>

namespace korvane::linux_host {
namespace {

// Process-wide by nature: there is one terminate handler per process.
std::function<void(const UncaughtException&)>& sdkHandler() {
  static std::function<void(const UncaughtException&)> handler;
  return handler;
}
std::terminate_handler previousHandler = nullptr;

std::string demangle(const char* name) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> readable(
      abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
  return status == 0 && readable ? readable.get() : name;
}

std::vector<std::string> currentStack() {
  void* frames[128];
  const int count = backtrace(frames, 128);
  std::unique_ptr<char*, void (*)(void*)> symbols(backtrace_symbols(frames, count), std::free);
  std::vector<std::string> lines;
  for (int i = 0; symbols && i < count; ++i) lines.emplace_back(symbols.get()[i]);
  return lines;
}

[[noreturn]] void onTerminate() {
  UncaughtException description{"unknown exception", std::nullopt, currentStack()};
  if (std::exception_ptr inFlight = std::current_exception()) {
    try {
      std::rethrow_exception(inFlight);
    } catch (const std::exception& e) {
      description.name = demangle(typeid(e).name());
      description.reason = e.what();
    } catch (...) {
      if (const std::type_info* type = abi::__cxa_current_exception_type())
        description.name = demangle(type->name());
    }
    // Whatever happens in the SDK's report (memory runs out in a failing process), the host's
    // own handler still runs.
    try {
      if (sdkHandler()) sdkHandler()(description);
    } catch (...) {
    }
  }
  if (previousHandler) previousHandler();
  std::abort();
}

}  // namespace

std::vector<std::string> LinuxProcessDiagnostics::callStack() const {
  return currentStack();
}

void LinuxProcessDiagnostics::installUncaughtExceptionHandler(
    std::function<void(const UncaughtException&)> handler) {
  static std::once_flag once;
  std::call_once(once, [&] {
    sdkHandler() = std::move(handler);
    previousHandler = std::set_terminate(onTerminate);
  });
}

}  // namespace korvane::linux_host
