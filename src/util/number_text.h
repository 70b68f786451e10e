#pragma once

#include <cmath>
#include <string>

#include "util/double_text.h"

namespace korvane {

// A floating-point number as the platform's default description prints it: the shortest digits
// that read back the same, always with a fraction ("30.0", "1.5", "31.204"), in exponent form
// only for magnitudes below 1e-4 or from 2^53 on ("1e-05", "1e+16").
inline std::string swiftNumber(double value) {
  if (!std::isfinite(value)) return std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
  const double magnitude = std::fabs(value);
  const bool plain = value == 0 || (magnitude >= 1e-4 && magnitude < 9007199254740992.0);
  std::string text = plain ? double_text::fixed(value) : double_text::scientific(value);
  if (text.find_first_of(".eEn") == std::string::npos) text += ".0";
  return text;
}

}  // namespace korvane
