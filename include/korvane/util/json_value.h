#pragma once

#include <cstddef>
#include <string_view>

#include <nlohmann/json.hpp>

#include "korvane/values/error.h"

namespace korvane {

// Any JSON value; objects keep their keys in insertion order. Event payloads and the server's
// free-form configuration are held as this.
using JsonValue = nlohmann::ordered_json;

// How many arrays and objects JSON read from outside the process may hold inside one another.
// Copying, comparing and writing a value recurse once per level, so a deeper value could use up
// the stack of whichever thread touches it.
inline constexpr std::size_t kMaxJsonDepth = 64;

// Error codes of parseDepthLimitedJson.
inline constexpr long kJsonErrorMalformed = 1;
inline constexpr long kJsonErrorTooDeep = 2;

// Reads JSON text from outside the process (a page, the backend, a file) in one pass, refusing
// text nested deeper than kMaxJsonDepth as soon as the parser reaches that level. A leading UTF-8
// byte-order mark is skipped. Malformed or too deep text is an error whose description says
// which ("the given data was not valid JSON", "the given data nests deeper than 64 levels").
Result<JsonValue> parseDepthLimitedJson(std::string_view text);

// Whether parseDepthLimitedJson would accept the text, without building the value.
bool isDepthLimitedJson(std::string_view text);

// Whether a value built in the process nests no deeper than kMaxJsonDepth, so that it reads back
// once written. Measured without recursion, whatever its depth.
bool isWithinJsonDepth(const JsonValue& value);

}  // namespace korvane
