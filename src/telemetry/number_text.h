#pragma once

#include <cstdio>
#include <cstring>
#include <string>

namespace korvane {

// A floating-point number as the platform's default description prints it: the shortest text
// that reads back the same, always with a fraction ("30.0", "1.5", "31.204").
inline std::string swiftNumber(double value) {
  char buffer[40];
  for (int precision = 1; precision <= 17; ++precision) {
    std::snprintf(buffer, sizeof buffer, "%.*g", precision, value);
    if (std::strtod(buffer, nullptr) == value) break;
  }
  std::string text = buffer;
  if (text.find_first_of(".eEn") == std::string::npos) text += ".0";
  return text;
}

}  // namespace korvane
