// Number and text conversions the platforms rely on: shortest double texts identical to
// std::to_chars (which older iPhones lack), and UTF-8 repair for strings that cannot hold
// malformed text.
#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <charconv>
#include <clocale>
#include <cmath>
#include <random>

#include "korvane/util/control_labels.h"
#include "korvane/util/text.h"
#include "util/double_text.h"
#include "util/url_text.h"

namespace korvane {
namespace {

std::string reference(double value, std::optional<std::chars_format> format) {
  char buffer[512];
  const auto [end, error] = format ? std::to_chars(buffer, buffer + sizeof buffer, value, *format)
                                   : std::to_chars(buffer, buffer + sizeof buffer, value);
  EXPECT_EQ(error, std::errc());
  return std::string(buffer, end);
}

void expectSameAsToChars(double value) {
  EXPECT_EQ(double_text::fixed(value), reference(value, std::chars_format::fixed)) << value;
  EXPECT_EQ(double_text::scientific(value), reference(value, std::chars_format::scientific))
      << value;
  EXPECT_EQ(double_text::general(value), reference(value, std::nullopt)) << value;
}

TEST(DoubleText, MatchesToCharsOnEdgeValues) {
  const double cases[] = {0.0,
                          -0.0,
                          1.0,
                          30.0,
                          0.1,
                          1.5,
                          31.204,
                          1e-5,
                          1e-4,
                          0.00012,
                          1e15,
                          1e16,
                          1e17,
                          9007199254740992.0,
                          123456789012345678.0,
                          1732312345678.123,
                          DBL_MAX,
                          DBL_MIN,
                          std::nextafter(DBL_MIN, 0.0),
                          std::numeric_limits<double>::denorm_min(),
                          5e-324,
                          2.2250738585072009e-308,
                          0.30000000000000004,
                          -2.5e-7};
  for (double value : cases) {
    expectSameAsToChars(value);
    expectSameAsToChars(-value);
  }
}

TEST(DoubleText, MatchesToCharsOnRandomBitPatterns) {
  std::mt19937_64 random(20261122);
  for (int i = 0; i < 100000; ++i) {
    const double value = std::bit_cast<double>(random());
    if (!std::isfinite(value)) continue;
    expectSameAsToChars(value);
    if (HasFailure()) return;
  }
}

TEST(DoubleText, TimestampsAndSmallNumbersMatchToChars) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> millis(1.6e12, 1.9e12);
  std::uniform_int_distribution<int> cents(-100000, 100000);
  for (int i = 0; i < 50000; ++i) {
    expectSameAsToChars(millis(random));
    expectSameAsToChars(cents(random) / 100.0);
    if (HasFailure()) return;
  }
}

TEST(DoubleText, IgnoresTheLocalesDecimalComma) {
  const char* chosen = nullptr;
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "ru_RU.UTF-8", "de_DE", "fr_FR"})
    if (std::setlocale(LC_NUMERIC, name)) {
      chosen = name;
      break;
    }
  if (!chosen) GTEST_SKIP() << "no locale with a decimal comma is installed";
  const std::string fixed = double_text::fixed(1234.5);
  const std::string scientific = double_text::scientific(1.5e-7);
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(fixed, "1234.5");
  EXPECT_EQ(scientific, "1.5e-07");
}

TEST(Utf8Text, RepairsEveryMalformedByteAndKeepsTheRest) {
  const std::string replacement = "\xEF\xBF\xBD";
  const std::pair<std::string, std::string> cases[] = {
      {"plain ascii", "plain ascii"},
      {"한국어 🎯", "한국어 🎯"},
      {"a\xFF"
       "b",
       "a" + replacement + "b"},
      {"cut \xE2\x82", "cut " + replacement + replacement},
      {"\xC0\xAF overlong", replacement + replacement + " overlong"},
      {"\xED\xA0\x80 surrogate", replacement + replacement + replacement + " surrogate"},
      {"\xF4\x90\x80\x80", replacement + replacement + replacement + replacement},
      {std::string("nul\0inside", 10), std::string("nul\0inside", 10)},
  };
  for (const auto& [input, expected] : cases) {
    EXPECT_EQ(isValidUtf8(input), input == expected) << input;
    EXPECT_EQ(toValidUtf8(input), expected) << input;
    EXPECT_TRUE(isValidUtf8(toValidUtf8(input)));
  }
}

// VoiceOver reads a control's label as written: arrows and blanks around the words go, the words
// themselves (any script, inner blanks included) stay, and a title of glyphs alone falls back to a
// word.
TEST(ControlLabels, BackLabelIsTheTitlesWordsWithoutItsGlyphs) {
  const struct {
    const char* title;
    const char* back;
  } cases[] = {
      {"< 뒤로", "뒤로"},
      {"뒤로", "뒤로"},
      {"‹ Back ›", "Back"},
      {"«  go back", "go back"},
      {"← 이전 페이지", "이전 페이지"},
      {"<", "뒤로"},
      {"", "뒤로"},
      {"a<b", "a<b"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.title);
    const ControlLabels labels = controlLabels(c.title);
    EXPECT_EQ(labels.back, c.back);
    EXPECT_EQ(labels.close, "닫기");
    EXPECT_EQ(labels.reload, "새로고침");
  }
}

// A bracketed host is an origin only when it is an IPv6 address (kept as written), as a URL
// parser reads it; anything else in brackets is no origin at all.
TEST(WebOrigin, BracketedHostsAreIpv6Addresses) {
  const std::pair<const char*, bool> hosts[] = {
      {"[::1]", true},
      {"[::]", true},
      {"[1:2:3:4:5:6:7:8]", true},
      {"[FE80::1]", true},
      {"[1::]", true},
      {"[::ffff:192.0.2.1]", true},
      {"[1:2:3:4:5:6:1.2.3.4]", true},
      {"[.]", false},
      {"[:]", false},
      {"[:::]", false},
      {"[1:2]", false},
      {"[::1.]", false},
      {"[1::2::3]", false},
      {"[1:2:3:4:5:6:7:8:9]", false},
      {"[12345::]", false},
      {"[1:]", false},
      {"[:1]", false},
      {"[::1.2.3]", false},
      {"[::1.2.3.256]", false},
      {"[::01.2.3.4]", false},
      {"[1.2.3.4]", false},
      {"[::1.2.3.4:1]", false},
      {"[1:2:3:4:5:6:7::8]", false},
  };
  for (const auto& [host, address] : hosts) {
    std::string text = "http://" + std::string(host) + ":81/";
    std::string expected = "http://";
    for (const char c : std::string(host)) expected += static_cast<char>(std::tolower(c));
    EXPECT_EQ(url::origin(text), address ? std::optional(expected + ":81") : std::nullopt) << host;
  }
}

}  // namespace
}  // namespace korvane
