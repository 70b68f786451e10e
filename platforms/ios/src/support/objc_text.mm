#import "support/objc_text.h"

#include "korvane/util/text.h"

namespace korvane::ios {

NSString* toNSString(std::string_view text) {
  if (NSString* exact = [[NSString alloc] initWithBytes:text.data()
                                                 length:text.size()
                                               encoding:NSUTF8StringEncoding]) {
    return exact;
  }
  const std::string repaired = toValidUtf8(text);
  NSString* decoded = [[NSString alloc] initWithBytes:repaired.data()
                                               length:repaired.size()
                                             encoding:NSUTF8StringEncoding];
  return decoded ? decoded : @"";
}

NSString* _Nullable toNullableNSString(const std::optional<std::string>& text) {
  return text ? toNSString(std::string_view(*text)) : nil;
}

std::string toStdString(NSString* _Nullable text) {
  if (text.length == 0) return {};
  // Through NSData rather than UTF8String: keeps embedded NULs, and a lone surrogate costs one
  // character instead of the whole text.
  NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  return std::string(static_cast<const char*>(bytes.bytes), bytes.length);
}

std::optional<std::string> toOptionalString(NSString* _Nullable text) {
  if (!text) return std::nullopt;
  return toStdString(text);
}

}  // namespace korvane::ios
