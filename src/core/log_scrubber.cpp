#include "core/log_scrubber.h"

#include <array>
#include <cstdint>
#include <optional>

#include "core/utf8.h"

namespace korvane::scrubber {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::int32_t kKelvinSign = 0x212A;  // folds to 'k'
constexpr std::int32_t kLongS = 0x017F;       // folds to 's'
constexpr unsigned char kLongSLeadByte = 0xC5;

constexpr unsigned char lowerAscii(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}
constexpr bool isQuote(unsigned char c) {
  return c == '"' || c == '\'';
}

// Keys grouped by their lower-cased first letter, so a position is compared only with the keys
// that can start there.
struct KeyIndex {
  std::array<std::array<std::uint8_t, 12>, 26> keys{};
  std::array<std::uint8_t, 26> count{};
};

constexpr KeyIndex makeKeyIndex() {
  KeyIndex index;
  for (std::uint8_t k = 0; k < std::size(kSensitiveKeys); ++k) {
    const int letter = lowerAscii(static_cast<unsigned char>(kSensitiveKeys[k][0])) - 'a';
    index.keys[letter][index.count[letter]++] = k;
  }
  return index;
}
constexpr KeyIndex kKeyIndex = makeKeyIndex();

// Bytes at which a match can begin: a quote, a key's first letter in either case, or the lead
// byte of LATIN SMALL LETTER LONG S (which case-folds to the 's' of "secret").
constexpr std::array<bool, 256> makeStartTable() {
  std::array<bool, 256> table{};
  for (unsigned c = 0; c < 256; ++c) {
    const unsigned char lower = lowerAscii(static_cast<unsigned char>(c));
    table[c] = isQuote(static_cast<unsigned char>(c)) || c == kLongSLeadByte ||
               (lower >= 'a' && lower <= 'z' && kKeyIndex.count[lower - 'a'] > 0);
  }
  return table;
}
constexpr std::array<bool, 256> kCanStart = makeStartTable();

// ASCII bytes that end a value: quotes, white space, ',', '}', ']' and '&'.
constexpr std::array<bool, 128> makeValueStopTable() {
  std::array<bool, 128> table{};
  for (char c : std::string_view("\"' \t\n\v\f\r,}]&")) table[static_cast<unsigned char>(c)] = true;
  return table;
}
constexpr std::array<bool, 128> kValueStop = makeValueStopTable();

bool isAsciiSpace(unsigned char c) {
  return c == ' ' || (c >= 0x09 && c <= 0x0D);
}

// One key character against the text at `j`; returns the bytes it took or 0.
std::size_t matchKeyChar(std::string_view s, std::size_t j, char keyChar) {
  const auto b = static_cast<unsigned char>(s[j]);
  const unsigned char want = lowerAscii(static_cast<unsigned char>(keyChar));
  if (b < 0x80) return lowerAscii(b) == want ? 1 : 0;
  if (want != 'k' && want != 's') return 0;
  const utf8::Decoded d = utf8::decodeAt(s, j);
  const bool folds =
      (want == 'k' && d.codePoint == kKelvinSign) || (want == 's' && d.codePoint == kLongS);
  return folds ? d.length : 0;
}

// End of the key that starts at `i`, or kNone. No key is a prefix of another, so at most one fits.
std::size_t matchKeyAt(std::string_view s, std::size_t i) {
  auto first = static_cast<unsigned char>(s[i]);
  if (first == kLongSLeadByte) first = 's';
  first = lowerAscii(first);
  if (first < 'a' || first > 'z') return kNone;
  const int letter = first - 'a';
  for (std::uint8_t n = 0; n < kKeyIndex.count[letter]; ++n) {
    const std::string_view key = kSensitiveKeys[kKeyIndex.keys[letter][n]];
    std::size_t j = i;
    bool matched = true;
    for (char keyChar : key) {
      const std::size_t taken = j < s.size() ? matchKeyChar(s, j, keyChar) : 0;
      if (taken == 0) {
        matched = false;
        break;
      }
      j += taken;
    }
    if (matched) return j;
  }
  return kNone;
}

std::size_t skipSpace(std::string_view s, std::size_t j) {
  while (j < s.size()) {
    const auto b = static_cast<unsigned char>(s[j]);
    if (b < 0x80) {
      if (!isAsciiSpace(b)) break;
      ++j;
      continue;
    }
    const utf8::Decoded d = utf8::decodeAt(s, j);
    if (!utf8::isSpace(d.codePoint)) break;
    j += d.length;
  }
  return j;
}

std::size_t scanValue(std::string_view s, std::size_t j) {
  while (j < s.size()) {
    const auto b = static_cast<unsigned char>(s[j]);
    if (b < 0x80) {
      if (kValueStop[b]) break;
      ++j;
      continue;
    }
    const utf8::Decoded d = utf8::decodeAt(s, j);
    if (d.codePoint == utf8::kInvalid || utf8::isSpace(d.codePoint)) break;
    j += d.length;
  }
  return j;
}

struct ValueMatch {
  std::size_t valueBegin;
  std::size_t valueEnd;
  std::size_t matchEnd;
};

// Every optional piece of the expression can be decided by looking at one character (a quote
// can never start a key, a separator or a value), so the first fit is the only fit.
std::optional<ValueMatch> matchSensitiveAt(std::string_view s, std::size_t p) {
  std::size_t j = p;
  if (isQuote(static_cast<unsigned char>(s[j]))) ++j;
  if (j >= s.size()) return std::nullopt;
  j = matchKeyAt(s, j);
  if (j == kNone) return std::nullopt;
  if (j < s.size() && isQuote(static_cast<unsigned char>(s[j]))) ++j;
  j = skipSpace(s, j);
  if (j >= s.size() || (s[j] != ':' && s[j] != '=')) return std::nullopt;
  j = skipSpace(s, j + 1);
  if (j < s.size() && isQuote(static_cast<unsigned char>(s[j]))) ++j;
  const std::size_t valueEnd = scanValue(s, j);
  if (valueEnd == j) return std::nullopt;
  std::size_t end = valueEnd;
  if (end < s.size() && isQuote(static_cast<unsigned char>(s[end]))) ++end;
  return ValueMatch{j, valueEnd, end};
}

constexpr std::array<bool, 256> makeClass(std::string_view extra) {
  std::array<bool, 256> table{};
  for (unsigned c = 0; c < 256; ++c)
    table[c] = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  for (char c : extra) table[static_cast<unsigned char>(c)] = true;
  return table;
}
constexpr std::array<bool, 256> kLocalPart = makeClass("._%+-");
constexpr std::array<bool, 256> kDomainPart = makeClass(".-");

bool isAsciiLetter(unsigned char c) {
  return lowerAscii(c) >= 'a' && lowerAscii(c) <= 'z';
}

// End of "domain.tld" starting at `i`, or kNone. The greedy domain run gives back characters
// until a '.' followed by at least two letters is found, so the last such dot wins.
std::size_t matchDomainAt(std::string_view s, std::size_t i) {
  std::size_t runEnd = i;
  while (runEnd < s.size() && kDomainPart[static_cast<unsigned char>(s[runEnd])]) ++runEnd;
  for (std::size_t dot = runEnd; dot-- > i + 1;) {
    if (s[dot] != '.') continue;
    std::size_t end = dot + 1;
    while (end < runEnd && isAsciiLetter(static_cast<unsigned char>(s[end]))) ++end;
    if (end - (dot + 1) >= 2) return end;
  }
  return kNone;
}

}  // namespace

std::string maskSensitiveValues(std::string_view s) {
  std::string out;
  std::size_t copied = 0;
  std::size_t p = 0;
  while (p < s.size()) {
    if (!kCanStart[static_cast<unsigned char>(s[p])]) {
      ++p;
      continue;
    }
    const std::optional<ValueMatch> m = matchSensitiveAt(s, p);
    if (!m) {
      ++p;
      continue;
    }
    if (out.empty()) out.reserve(s.size() + 8);
    out.append(s, copied, m->valueBegin - copied).append("***");
    copied = m->valueEnd;
    p = m->matchEnd;
  }
  if (copied == 0) return std::string(s);
  out.append(s, copied);
  return out;
}

std::string maskEmailAddresses(std::string_view s) {
  std::string out;
  std::size_t copied = 0;
  std::size_t runBegin = kNone;  // start of the current run of local-part characters
  std::size_t k = 0;
  while (k < s.size()) {
    const auto c = static_cast<unsigned char>(s[k]);
    if (kLocalPart[c]) {
      if (runBegin == kNone) runBegin = k;
      ++k;
      continue;
    }
    if (c == '@' && runBegin != kNone) {
      const std::size_t end = matchDomainAt(s, k + 1);
      if (end != kNone) {
        if (out.empty()) out.reserve(s.size());
        out.append(s, copied, runBegin - copied).append("***");
        copied = end;
        runBegin = kNone;
        k = end;
        continue;
      }
    }
    runBegin = kNone;
    ++k;
  }
  if (copied == 0) return std::string(s);
  out.append(s, copied);
  return out;
}

std::string scrub(std::string_view text) {
  return maskEmailAddresses(maskSensitiveValues(text));
}

}  // namespace korvane::scrubber
