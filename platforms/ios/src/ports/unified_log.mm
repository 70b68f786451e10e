#import "ports/unified_log.h"

#import <Foundation/Foundation.h>
#import <os/log.h>

#include <string>

#include "korvane/util/logger.h"

// The SDK's log lines go to the unified log (Console, `log stream`, Xcode's console) under the
// subsystem "com.korvane.sdk" instead of standard output, which an installed app does not keep.
namespace {

// The level letter of "[HH:mm:ss.SSS] [L/Tag] message".
os_log_type_t typeOf(std::string_view line) {
  constexpr std::size_t kLetter = 16;
  if (line.size() <= kLetter) return OS_LOG_TYPE_DEFAULT;
  switch (line[kLetter]) {
    case 'E':
      return OS_LOG_TYPE_ERROR;
    case 'I':
      return OS_LOG_TYPE_INFO;
    case 'D':
    case 'V':
      return OS_LOG_TYPE_DEBUG;
    default:
      return OS_LOG_TYPE_DEFAULT;
  }
}

}  // namespace

namespace korvane::ios {

void sendLogLinesToTheUnifiedLog() {
  os_log_t log = os_log_create("com.korvane.sdk", "sdk");
  KorvaneLogger::setLineWriter([log](std::string_view line) {
    @autoreleasepool {
      const std::string text(line);
      // Lines are already scrubbed of credentials and e-mail addresses, so they may be public.
      os_log_with_type(log, typeOf(line), "%{public}s", text.c_str());
    }
  });
}

}  // namespace korvane::ios
