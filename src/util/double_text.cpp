#include "util/double_text.h"

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace korvane::double_text {
namespace {

// A positive finite value as `digits` (no leading or trailing zeros) times 10^(exponent + 1 -
// digits.size()): the first digit stands for 10^exponent.
struct Decimal {
  std::string digits;
  int exponent = 0;
};

// printf's "%.*e" with `significant` digits, read back into digits and exponent. The decimal
// point is the locale's, so it is skipped rather than matched.
Decimal rounded(double value, int significant) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*e", significant - 1, value);
  Decimal decimal;
  const char* c = text;
  for (; *c && *c != 'e'; ++c)
    if (*c >= '0' && *c <= '9') decimal.digits += *c;
  decimal.exponent = *c == 'e' ? std::atoi(c + 1) : 0;
  return decimal;
}

// Whether the decimal reads back as `value`. Parsed with an integer mantissa ("12345e-4"), so no
// decimal point and hence no locale is involved.
bool readsBackAs(const Decimal& decimal, double value) {
  const std::string text =
      decimal.digits + "e" +
      std::to_string(decimal.exponent + 1 - static_cast<int>(decimal.digits.size()));
  return std::strtod(text.c_str(), nullptr) == value;
}

void trimTrailingZeros(Decimal& decimal) {
  while (decimal.digits.size() > 1 && decimal.digits.back() == '0') decimal.digits.pop_back();
}

// Correctly rounded printf digits: any decimal of at most DBL_DIG digits survives a trip through
// a normal double, so when 15 digits read back, the shortest text is them without trailing
// zeros; otherwise 16 digits, else 17, which always read back. Subnormal values hold fewer
// digits and are searched from one digit up.
Decimal shortest(double value) {
  const int first = value < DBL_MIN ? 1 : DBL_DIG;
  for (int significant = first; significant < 17; ++significant) {
    Decimal candidate = rounded(value, significant);
    if (readsBackAs(candidate, value)) {
      trimTrailingZeros(candidate);
      return candidate;
    }
  }
  Decimal exact = rounded(value, 17);
  trimTrailingZeros(exact);
  return exact;
}

std::string fixedOf(const Decimal& d) {
  const int count = static_cast<int>(d.digits.size());
  if (d.exponent < 0)
    return "0." + std::string(static_cast<std::size_t>(-d.exponent - 1), '0') + d.digits;
  if (d.exponent + 1 >= count)
    return d.digits + std::string(static_cast<std::size_t>(d.exponent + 1 - count), '0');
  return d.digits.substr(0, static_cast<std::size_t>(d.exponent + 1)) + "." +
         d.digits.substr(static_cast<std::size_t>(d.exponent + 1));
}

std::string scientificOf(const Decimal& d) {
  std::string text = d.digits.substr(0, 1);
  if (d.digits.size() > 1) text += "." + d.digits.substr(1);
  const int magnitude = std::abs(d.exponent);
  text += d.exponent < 0 ? "e-" : "e+";
  if (magnitude < 10) text += '0';
  return text + std::to_string(magnitude);
}

// From 2^53 on every double is an integer, and the fixed form spells out its exact value, as
// printf("%.0f") does (no decimal point, so the locale plays no part).
std::string fixedOfLarge(double magnitude) {
  char text[400];
  std::snprintf(text, sizeof text, "%.0f", magnitude);
  return text;
}

constexpr double kTwoTo53 = 9007199254740992.0;

template <typename Layout>
std::string format(double value, Layout layout) {
  const double magnitude = std::fabs(value);
  const std::string text =
      magnitude == 0 ? layout(Decimal{"0", 0}, magnitude) : layout(shortest(magnitude), magnitude);
  return std::signbit(value) ? "-" + text : text;
}

std::string fixedLayout(const Decimal& d, double magnitude) {
  return magnitude >= kTwoTo53 ? fixedOfLarge(magnitude) : fixedOf(d);
}

}  // namespace

std::string fixed(double value) {
  return format(value, fixedLayout);
}

std::string scientific(double value) {
  return format(value, [](const Decimal& d, double) { return scientificOf(d); });
}

std::string general(double value) {
  return format(value, [](const Decimal& d, double magnitude) {
    std::string asFixed = fixedLayout(d, magnitude);
    std::string asScientific = scientificOf(d);
    return asScientific.size() < asFixed.size() ? asScientific : asFixed;
  });
}

}  // namespace korvane::double_text
