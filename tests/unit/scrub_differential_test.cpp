// The scrubber must give, for every input, what the two documented regular expressions give.
// PCRE2 runs them as written; any difference is a scrubber fault.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "pcre2_oracle.h"
#include "util/log_scrubber.h"

namespace korvane {
namespace {

std::string escaped(std::string_view text) {
  std::string out;
  for (unsigned char c : text) {
    if (c >= 0x20 && c < 0x7F && c != '\\') {
      out += static_cast<char>(c);
    } else {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\x%02X", c);
      out += buffer;
    }
  }
  return out;
}

class ScrubDifferential : public ::testing::Test {
 protected:
  void expectSame(std::string_view input) {
    const std::optional<std::string> expected = oracle_.scrub(input);
    ASSERT_TRUE(expected.has_value()) << "PCRE2 failed on " << escaped(input);
    const std::string actual = scrubber::scrub(input);
    ASSERT_EQ(escaped(actual), escaped(*expected)) << "input: " << escaped(input);
  }

  testing::Pcre2Scrubber oracle_;
};

// Lines chosen for the places where a hand-written matcher is most likely to differ from the
// expressions: optional quotes, separators, stop characters, overlapping keys, Unicode case
// folding and white space, malformed UTF-8, and greedy backtracking in the e-mail domain.
TEST_F(ScrubDifferential, TrickyLines) {
  const std::vector<std::string> corpus = {
      "",
      "appKey=abc123&x=1",
      R"({"password": "hunter2", "ok": true})",
      "Authorization: Bearer xyz",
      "APPKEY = 1",
      "contact me at jane.doe+tag@mail.example.co.uk now",
      "token:",
      "token: ",
      "token=\"\"",
      "token='",
      R"('token'='v')",
      R"("token"  :  'v' ,)",
      "secretoken=1",
      "xtoken=1",
      "tokentoken=2",
      "accessToken=a;refresh_token=b",
      "pwd=é日本語",
      "passwd\t=\tx\ny",
      "user_id=john@example.com",
      "userId:\xC2\xA0"
      "value",
      "userId:\xE3\x80\x80v",
      "app\xE2\x84\xAA"
      "ey=kelvin",
      "\xC5\xBF"
      "ecret=longs",
      "pa\xC5\xBF\xC5\xBFword=x",
      "appKey=ab\xFF"
      "cd",
      "appKey=\xC3(",
      "appKey=x\xED\xA0\x80y",
      "appKey=\xF4\x90\x80\x80",
      "a@b@c.com",
      "a@b.co@c.de",
      "x@y.c",
      "x@y.c1",
      "x@y.cd.e",
      "x@-.aa",
      "@.aa",
      "a@.aa",
      "n@host..com",
      "a@b.c.dd.e.f",
      "name@domain.COM",
      "e@x.y\xC3\xA9z",
      "\"\"\"\"token",
      "''appKey=1",
      "bearer:tok}en",
      "idfa = 00000000-0000-0000-0000-000000000000",
      "advertising_id=]",
      "advertisingId=&",
      "refreshToken=,",
      "authorization=Basic%20abc",
      "app_secret\v=\fs3",
      "appSecret\xC2\x85:x",
      "token\xE2\x80\xA8=v",
      "token=v\xE1\xA0\x8Ew",
      "token=v\xC2\x85w",
      std::string("token=a\0b", 9),
      "TOKEN=1 token=2 ToKeN=3",
      "mail: a@b.io, b@c.io; c@d.io",
      "x=\"appKey=1\"",
      "appKey=1appKey=2",
      "appKeyappKey=3",
      "'appKey'\"=v",
      "app_key'=v'",
  };
  for (const std::string& line : corpus) expectSame(line);
}

// Random lines assembled from fragments that exercise every part of both expressions.
TEST_F(ScrubDifferential, GeneratedLines) {
  const std::vector<std::string> keys(std::begin(scrubber::kSensitiveKeys),
                                      std::end(scrubber::kSensitiveKeys));
  const std::vector<std::string> pieces = {"\"",
                                           "'",
                                           ":",
                                           "=",
                                           " ",
                                           "\t",
                                           "\n",
                                           "\xC2\xA0",
                                           "\xE3\x80\x80",
                                           "\xE2\x80\xA8",
                                           "\xC2\x85",
                                           ",",
                                           "}",
                                           "]",
                                           "&",
                                           "{",
                                           "[",
                                           "@",
                                           ".",
                                           "-",
                                           "_",
                                           "%",
                                           "+",
                                           "*",
                                           "é",
                                           "日本",
                                           "\xFF",
                                           "\xC3",
                                           "\xE2\x84",
                                           "\xED\xA0\x80",
                                           "\xC0\xAF",
                                           "\x80",
                                           "\xE2\x84\xAA",
                                           "\xC5\xBF",
                                           "K",
                                           "s",
                                           "com",
                                           "io",
                                           "a",
                                           "Z",
                                           "9",
                                           "x.y",
                                           "user",
                                           "mail",
                                           "example.co.uk",
                                           "Bearer ",
                                           "value",
                                           "abc123",
                                           std::string(1, '\0')};
  std::mt19937_64 random(20261121);
  const auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };

  auto mutateKey = [&](std::string key) {
    for (char& c : key)
      if (pick(3) == 0) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string out;
    for (char c : key) {
      const char lower = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      if (lower == 'k' && pick(6) == 0)
        out += "\xE2\x84\xAA";
      else if (lower == 's' && pick(6) == 0)
        out += "\xC5\xBF";
      else
        out += c;
    }
    if (pick(10) == 0) out.resize(pick(out.size() + 1));
    return out;
  };

  constexpr int kLines = 100000;
  for (int n = 0; n < kLines; ++n) {
    std::string line;
    const std::size_t parts = 1 + pick(14);
    for (std::size_t p = 0; p < parts; ++p) {
      switch (pick(4)) {
        case 0:
          line += mutateKey(keys[pick(keys.size())]);
          break;
        case 1: {
          static const char* const kEmails[] = {
              "a.b+c@ex-ample.co.uk", "x@y", "x@y.c", "j@d.COM", "q@w.e.rt", "-@-.-", "%@1.ab"};
          line += kEmails[pick(std::size(kEmails))];
          break;
        }
        default:
          line += pieces[pick(pieces.size())];
          break;
      }
    }
    expectSame(line);
    if (HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace korvane
