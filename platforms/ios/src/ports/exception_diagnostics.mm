#import "ports/exception_diagnostics.h"

#import "support/objc_text.h"

namespace korvane::ios {
namespace {

// Process-wide by nature: there is one uncaught-exception handler per process.
std::function<void(const UncaughtException&)>& sdkHandler() {
  static std::function<void(const UncaughtException&)> handler;
  return handler;
}
NSUncaughtExceptionHandler* previousHandler = nullptr;

std::vector<std::string> lines(NSArray<NSString*>* symbols) {
  std::vector<std::string> out;
  out.reserve(symbols.count);
  for (id symbol in symbols)
    if ([symbol isKindOfClass:NSString.class]) out.push_back(toStdString(symbol));
  return out;
}

void onUncaughtException(NSException* exception) {
  // Any thread may raise it, one without a pool among them.
  @autoreleasepool {
    if (sdkHandler()) sdkHandler()(describe(exception));
  }
  if (previousHandler) previousHandler(exception);
}

}  // namespace

UncaughtException describe(NSException* exception) {
  UncaughtException description;
  description.name = toStdString(exception.name);
  description.reason = toOptionalString(exception.reason);
  description.callStack = lines(exception.callStackSymbols);
  return description;
}

std::vector<std::string> ExceptionDiagnostics::callStack() const {
  return lines(NSThread.callStackSymbols);
}

void ExceptionDiagnostics::installUncaughtExceptionHandler(
    std::function<void(const UncaughtException&)> handler) {
  static dispatch_once_t once;
  auto pending =
      std::make_shared<std::function<void(const UncaughtException&)>>(std::move(handler));
  dispatch_once(&once, ^{
    sdkHandler() = std::move(*pending);
    previousHandler = NSGetUncaughtExceptionHandler();
    NSSetUncaughtExceptionHandler(&onUncaughtException);
  });
}

}  // namespace korvane::ios
