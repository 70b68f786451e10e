#pragma once

#include <string>
#include <string_view>

namespace korvane {

// Host and page text arrives as UTF-8 bytes that may be malformed. Platforms whose strings cannot
// hold malformed text (NSString) take it through here first, so a bad byte costs one character
// rather than the whole text.
bool isValidUtf8(std::string_view text);
// The text with every byte that does not begin a well-formed character replaced by U+FFFD.
std::string toValidUtf8(std::string_view text);

}  // namespace korvane
