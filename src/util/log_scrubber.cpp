#include "util/log_scrubber.h"

#include <array>
#include <cstdint>
#include <cstring>

#include "util/utf8.h"

namespace korvane::scrubber {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

constexpr unsigned char lowerAscii(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}
constexpr bool isQuote(unsigned char c) {
  return c == '"' || c == '\'';
}
inline unsigned char at(std::string_view s, std::size_t i) {
  return static_cast<unsigned char>(s[i]);
}

// ---- Sensitive values -------------------------------------------------------------------------
//
// Every match contains a ':' or '=' right after its key (give or take a quote and white space),
// so the pass jumps from separator to separator and looks backwards for a key. The separators of
// successive matches are in the same order as their starts, which makes the first separator with
// a fitting key the leftmost match, exactly as a left-to-right regular-expression search finds it.

// Keys grouped by their last letter, which is always ASCII.
struct KeyIndex {
  std::array<std::array<std::uint8_t, 12>, 26> keys{};
  std::array<std::uint8_t, 26> count{};
};

constexpr KeyIndex makeKeyIndex() {
  KeyIndex index;
  for (std::uint8_t k = 0; k < std::size(kSensitiveKeys); ++k) {
    const std::string_view key = kSensitiveKeys[k];
    const int letter = lowerAscii(static_cast<unsigned char>(key.back())) - 'a';
    index.keys[letter][index.count[letter]++] = k;
  }
  return index;
}
constexpr KeyIndex kKeysByLastLetter = makeKeyIndex();

// Case folding beyond ASCII that the key letters take part in: KELVIN SIGN folds to 'k' and
// LATIN SMALL LETTER LONG S to 's'.
constexpr char kKelvinSign[] = "\xE2\x84\xAA";
constexpr char kLongS[] = "\xC5\xBF";

// Start of `key` if it ends at `end` and starts no earlier than `floor`, else kNone.
std::size_t keyStartEndingAt(std::string_view s, std::size_t end, std::size_t floor,
                             std::string_view key) {
  std::size_t j = end;
  for (std::size_t n = key.size(); n-- > 0;) {
    if (j <= floor) return kNone;
    const unsigned char want = lowerAscii(static_cast<unsigned char>(key[n]));
    const unsigned char b = at(s, j - 1);
    if (b < 0x80) {
      if (lowerAscii(b) != want) return kNone;
      --j;
      continue;
    }
    const std::string_view folded = want == 'k'   ? std::string_view(kKelvinSign, 3)
                                    : want == 's' ? std::string_view(kLongS, 2)
                                                  : std::string_view();
    if (folded.empty() || j - floor < folded.size() ||
        s.substr(j - folded.size(), folded.size()) != folded)
      return kNone;
    j -= folded.size();
  }
  return j;
}

// The earliest start, at or after `floor`, of a key ending at `end`. Several keys can end at
// the same place ("accessToken" and "token"); the longest starts first and wins.
std::size_t earliestKeyEndingAt(std::string_view s, std::size_t end, std::size_t floor) {
  if (end <= floor) return kNone;
  const unsigned char last = lowerAscii(at(s, end - 1));
  if (last < 'a' || last > 'z') return kNone;
  const int letter = last - 'a';
  std::size_t best = kNone;
  for (std::uint8_t n = 0; n < kKeysByLastLetter.count[letter]; ++n) {
    const std::size_t start =
        keyStartEndingAt(s, end, floor, kSensitiveKeys[kKeysByLastLetter.keys[letter][n]]);
    if (start < best) best = start;
  }
  return best;
}

bool isAsciiSpace(unsigned char c) {
  return c == ' ' || (c >= 0x09 && c <= 0x0D);
}

std::size_t skipSpaceForward(std::string_view s, std::size_t j) {
  while (j < s.size()) {
    const unsigned char b = at(s, j);
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

// Walks back over white space ending at `j`, not below `floor`. A multi-byte space counts only
// when a forward decode from its lead byte gives exactly that character.
std::size_t skipSpaceBackward(std::string_view s, std::size_t j, std::size_t floor) {
  while (j > floor) {
    const unsigned char b = at(s, j - 1);
    if (b < 0x80) {
      if (!isAsciiSpace(b)) break;
      --j;
      continue;
    }
    std::size_t lead = j - 1;
    while (lead > floor && j - lead < 4 && (at(s, lead) & 0xC0) == 0x80) --lead;
    const utf8::Decoded d = utf8::decodeAt(s, lead);
    if (lead + d.length != j || !utf8::isSpace(d.codePoint)) break;
    j = lead;
  }
  return j;
}

// ASCII bytes that end a value: quotes, white space, ',', '}', ']' and '&'.
constexpr std::array<bool, 128> makeValueStopTable() {
  std::array<bool, 128> table{};
  for (char c : std::string_view("\"' \t\n\v\f\r,}]&")) table[static_cast<unsigned char>(c)] = true;
  return table;
}
constexpr std::array<bool, 128> kValueStop = makeValueStopTable();

// Bytes taken by the value character at `j`, or 0 when none starts there.
std::size_t valueCharAt(std::string_view s, std::size_t j) {
  const unsigned char b = at(s, j);
  if (b < 0x80) return kValueStop[b] ? 0 : 1;
  const utf8::Decoded d = utf8::decodeAt(s, j);
  return (d.codePoint == utf8::kInvalid || utf8::isSpace(d.codePoint)) ? 0 : d.length;
}

std::size_t scanValue(std::string_view s, std::size_t j) {
  while (j < s.size()) {
    const std::size_t taken = valueCharAt(s, j);
    if (taken == 0) break;
    j += taken;
  }
  return j;
}

// Finds ':' and '=' with memchr (vectorised in the C library) and remembers the next of each,
// so every byte is searched at most once per character.
class SeparatorFinder {
 public:
  explicit SeparatorFinder(std::string_view s)
      : s_(s), colon_(find(':', 0)), equals_(find('=', 0)) {}

  std::size_t next(std::size_t from) {
    if (colon_ < from) colon_ = find(':', from);
    if (equals_ < from) equals_ = find('=', from);
    return colon_ < equals_ ? colon_ : equals_;
  }

 private:
  std::size_t find(char c, std::size_t from) const {
    if (from >= s_.size()) return kNone;
    const void* hit = std::memchr(s_.data() + from, c, s_.size() - from);
    return hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - s_.data()) : kNone;
  }

  std::string_view s_;
  std::size_t colon_;
  std::size_t equals_;
};

// ---- E-mail addresses -------------------------------------------------------------------------

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
  while (runEnd < s.size() && kDomainPart[at(s, runEnd)]) ++runEnd;
  for (std::size_t dot = runEnd; dot-- > i + 1;) {
    if (s[dot] != '.') continue;
    std::size_t end = dot + 1;
    while (end < runEnd && isAsciiLetter(at(s, end))) ++end;
    if (end - (dot + 1) >= 2) return end;
  }
  return kNone;
}

// Appends the untouched text before `from`, then the mask.
void appendMasked(std::string& out, std::string_view s, std::size_t& copied, std::size_t from) {
  if (out.empty()) out.reserve(s.size() + 16);
  out.append(s, copied, from - copied).append("***");
}

std::string finish(std::string& out, std::string_view s, std::size_t copied) {
  if (copied == 0) return std::string(s);
  out.append(s, copied);
  return std::move(out);
}

}  // namespace

std::string maskSensitiveValues(std::string_view s) {
  std::string out;
  std::size_t copied = 0;  // input bytes already written to `out` (0: nothing masked yet)
  std::size_t floor = 0;   // where the next match may start: the end of the previous one
  SeparatorFinder separators(s);
  for (std::size_t sep = separators.next(0); sep != kNone; sep = separators.next(sep + 1)) {
    std::size_t value = skipSpaceForward(s, sep + 1);
    if (value < s.size() && isQuote(at(s, value))) ++value;
    if (value >= s.size() || valueCharAt(s, value) == 0) continue;

    std::size_t keyEnd = skipSpaceBackward(s, sep, floor);
    if (keyEnd > floor && isQuote(at(s, keyEnd - 1))) --keyEnd;
    if (earliestKeyEndingAt(s, keyEnd, floor) == kNone) continue;

    const std::size_t valueEnd = scanValue(s, value);
    appendMasked(out, s, copied, value);
    copied = valueEnd;
    floor = valueEnd < s.size() && isQuote(at(s, valueEnd)) ? valueEnd + 1 : valueEnd;
    sep = floor - 1;
  }
  return finish(out, s, copied);
}

std::string maskEmailAddresses(std::string_view s) {
  std::string out;
  std::size_t copied = 0;
  std::size_t floor = 0;
  std::size_t from = 0;
  while (from < s.size()) {
    const void* found = std::memchr(s.data() + from, '@', s.size() - from);
    if (!found) break;
    const std::size_t atSign = static_cast<std::size_t>(static_cast<const char*>(found) - s.data());
    from = atSign + 1;
    std::size_t local = atSign;
    while (local > floor && kLocalPart[at(s, local - 1)]) --local;
    if (local == atSign) continue;
    const std::size_t end = matchDomainAt(s, atSign + 1);
    if (end == kNone) continue;
    appendMasked(out, s, copied, local);
    copied = floor = from = end;
  }
  return finish(out, s, copied);
}

std::string scrub(std::string_view text) {
  return maskEmailAddresses(maskSensitiveValues(text));
}

}  // namespace korvane::scrubber
