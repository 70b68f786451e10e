#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

NS_ASSUME_NONNULL_BEGIN

namespace korvane::ios {

// Text across the seam. C++ text is UTF-8 that may be malformed, which NSString cannot hold: bad
// bytes become U+FFFD instead of turning the whole string into nil.
NSString* toNSString(std::string_view text);
NSString* _Nullable toNullableNSString(const std::optional<std::string>& text);
// Plain text overloads, so that the two above do not compete for them.
inline NSString* toNSString(const std::string& text) {
  return toNSString(std::string_view(text));
}
inline NSString* toNSString(const char* text) {
  return toNSString(std::string_view(text ? text : ""));
}
// nil becomes empty text.
std::string toStdString(NSString* _Nullable text);
std::optional<std::string> toOptionalString(NSString* _Nullable text);

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
