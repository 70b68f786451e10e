#import "objc/objc_errors.h"

#import <KorvaneSDK/KorvaneErrors.h>

#import "support/objc_text.h"

NSErrorDomain const KorvaneAdErrorDomain = @"KorvaneAdError";
NSErrorDomain const KorvaneSdkErrorDomain = @"KorvaneSDK";

NSString* KorvaneLoginErrorDescription(KorvaneLoginError error) {
  const std::optional<korvane::KorvaneLoginError> known = korvane::loginErrorFromRawValue(error);
  return known ? korvane::ios::toNSString(korvane::description(*known)) : @"Unknown error occurred";
}

namespace {

std::optional<korvane::KorvaneAdError> adErrorOf(NSInteger code) {
  if (code < KorvaneAdErrorNotInitialized || code > KorvaneAdErrorUnknown) return std::nullopt;
  return static_cast<korvane::KorvaneAdError>(code);
}

}  // namespace

NSString* KorvaneAdErrorDescription(KorvaneAdError error) {
  return korvane::ios::toNSString(
      korvane::localizedDescription(adErrorOf(error).value_or(korvane::KorvaneAdError::unknown)));
}

namespace korvane::ios {

void describeAdErrorsInTheirDomain() {
  [NSError setUserInfoValueProviderForDomain:KorvaneAdErrorDomain
                                    provider:^id _Nullable(NSError* error, NSErrorUserInfoKey key) {
                                      if (![key isEqualToString:NSLocalizedDescriptionKey])
                                        return nil;
                                      const auto known = adErrorOf(error.code);
                                      return known ? toNSString(localizedDescription(*known)) : nil;
                                    }];
}

NSError* toNSError(KorvaneAdError error) {
  return [NSError
      errorWithDomain:KorvaneAdErrorDomain
                 code:static_cast<NSInteger>(error)
             userInfo:@{NSLocalizedDescriptionKey : toNSString(localizedDescription(error))}];
}

NSError* toNSError(const Error& error) {
  return [NSError errorWithDomain:toNSString(error.domain)
                             code:static_cast<NSInteger>(error.code)
                         userInfo:@{NSLocalizedDescriptionKey : toNSString(error.description)}];
}

Error toError(NSError* error) {
  return Error{toStdString(error.domain), static_cast<long>(error.code),
               toStdString(error.localizedDescription),
               toStdString(NSStringFromClass(error.class))};
}

}  // namespace korvane::ios
