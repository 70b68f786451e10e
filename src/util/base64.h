#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvane::base64 {

// Standard alphabet with '=' padding.
std::string encode(std::string_view bytes);
// Strict decoding, as the platform's data decoding does it: the standard alphabet, padded to a
// multiple of four, no white space. Anything else gives nothing.
std::optional<std::string> decode(std::string_view text);

}  // namespace korvane::base64
