#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvane::testing {

// The bytes a whole gzip stream holds; nothing when the data is not exactly one complete,
// intact gzip stream (trailing bytes included). Used by the tests and the local backend to read
// what the SDK compressed.
std::optional<std::string> gunzip(std::string_view data);

}  // namespace korvane::testing
