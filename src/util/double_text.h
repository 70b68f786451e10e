#pragma once

#include <string>

namespace korvane::double_text {

// Shortest decimal texts that read back as the same double, laid out as std::to_chars lays them
// out: "fixed" ("30", "0.0001", "12345678901234568"), "scientific" ("1e+16", "1.5e-05") and
// "general" (the shorter of the two, fixed on a tie). std::to_chars for floating point is missing
// from the system libc++ of older iPhones, so the SDK carries its own. Finite values only.
std::string fixed(double value);
std::string scientific(double value);
std::string general(double value);

}  // namespace korvane::double_text
