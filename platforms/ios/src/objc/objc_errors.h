#pragma once

#import <Foundation/Foundation.h>

#include "korvane/values/error.h"
#include "korvane/values/public_errors.h"

NS_ASSUME_NONNULL_BEGIN

namespace korvane::ios {

// From now on errors of KorvaneAdErrorDomain carry their case's text wherever they were made, an
// app's own [NSError errorWithDomain:code:userInfo:] included.
void describeAdErrorsInTheirDomain();

// A placement failure as the NSError of KorvaneAdErrorDomain the app receives.
NSError* toNSError(KorvaneAdError error);
// A core error as an NSError (its domain, code and description).
NSError* toNSError(const Error& error);
// An app's NSError as a core error; the type name is the error's class.
Error toError(NSError* error);

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
