#pragma once

#include <charconv>
#include <cmath>
#include <string>

namespace korvane {

// A floating-point number as the platform's default description prints it: the shortest digits
// that read back the same, always with a fraction ("30.0", "1.5", "31.204"), in exponent form
// only for magnitudes below 1e-4 or from 2^53 on ("1e-05", "1e+16").
inline std::string swiftNumber(double value) {
  char buffer[64];
  const double magnitude = std::fabs(value);
  const bool plain = value == 0 || (magnitude >= 1e-4 && magnitude < 9007199254740992.0);
  const auto [end, error] =
      std::to_chars(buffer, buffer + sizeof buffer, value,
                    plain ? std::chars_format::fixed : std::chars_format::scientific);
  std::string text(buffer, error == std::errc() ? end : buffer);
  if (text.find_first_of(".eEn") == std::string::npos) text += ".0";
  return text;
}

}  // namespace korvane
