#import "support/first_use.h"

#import <Foundation/Foundation.h>

#import "objc/objc_errors.h"
#import "ports/unified_log.h"

namespace korvane::ios {

void prepareForFirstUse() {
  static dispatch_once_t once;
  dispatch_once(&once, ^{
    sendLogLinesToTheUnifiedLog();
    describeAdErrorsInTheirDomain();
  });
}

}  // namespace korvane::ios
