#include "script_shape.h"

#include "util/utf8.h"

namespace korvane::testing {
namespace {

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$';
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
int hexValue(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

void appendUtf8(std::string& out, std::uint32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Reads four hex digits at `at`; -1 when they are not there.
long hex4(std::string_view s, std::size_t at) {
  if (at + 4 > s.size()) return -1;
  long value = 0;
  for (std::size_t k = at; k < at + 4; ++k) {
    const int digit = hexValue(s[k]);
    if (digit < 0) return -1;
    value = value * 16 + digit;
  }
  return value;
}

// A string literal starting at the quote at `i`; moves `i` past it.
std::optional<std::string> readString(std::string_view s, std::size_t& i) {
  const char quote = s[i++];
  std::string out;
  while (i < s.size()) {
    const char c = s[i];
    if (c == quote) {
      ++i;
      return out;
    }
    if (c == '\n' || c == '\r') return std::nullopt;
    if (c != '\\') {
      const utf8::Decoded decoded = utf8::decodeAt(s, i);
      if (decoded.codePoint == utf8::kInvalid || decoded.codePoint == 0x2028 ||
          decoded.codePoint == 0x2029)
        return std::nullopt;
      out.append(s.substr(i, decoded.length));
      i += decoded.length;
      continue;
    }
    if (++i >= s.size()) return std::nullopt;
    const char e = s[i++];
    switch (e) {
      case 'n':
        out += '\n';
        break;
      case 't':
        out += '\t';
        break;
      case 'r':
        out += '\r';
        break;
      case 'b':
        out += '\b';
        break;
      case 'f':
        out += '\f';
        break;
      case 'v':
        out += '\v';
        break;
      case '\\':
      case '\'':
      case '"':
      case '/':
        out += e;
        break;
      case '0':
        if (i < s.size() && isDigit(s[i])) return std::nullopt;  // a legacy octal escape
        out += '\0';
        break;
      case 'x': {
        if (i + 2 > s.size() || hexValue(s[i]) < 0 || hexValue(s[i + 1]) < 0) return std::nullopt;
        appendUtf8(out, static_cast<std::uint32_t>(hexValue(s[i]) * 16 + hexValue(s[i + 1])));
        i += 2;
        break;
      }
      case 'u': {
        long unit = hex4(s, i);
        if (unit < 0) return std::nullopt;
        i += 4;
        if (unit >= 0xDC00 && unit <= 0xDFFF) return std::nullopt;
        if (unit >= 0xD800 && unit <= 0xDBFF) {
          if (i + 6 > s.size() || s[i] != '\\' || s[i + 1] != 'u') return std::nullopt;
          const long low = hex4(s, i + 2);
          if (low < 0xDC00 || low > 0xDFFF) return std::nullopt;
          unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
          i += 6;
        }
        appendUtf8(out, static_cast<std::uint32_t>(unit));
        break;
      }
      default:
        return std::nullopt;  // line continuations, octal and identity escapes are not used
    }
  }
  return std::nullopt;
}

// A JSON-style number at `i` (no sign); moves `i` past it.
std::optional<std::string> readNumber(std::string_view s, std::size_t& i) {
  const std::size_t start = i;
  if (s[i] == '0' && i + 1 < s.size() && isDigit(s[i + 1])) return std::nullopt;
  while (i < s.size() && isDigit(s[i])) ++i;
  if (i < s.size() && s[i] == '.') {
    ++i;
    if (i >= s.size() || !isDigit(s[i])) return std::nullopt;
    while (i < s.size() && isDigit(s[i])) ++i;
  }
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    if (i >= s.size() || !isDigit(s[i])) return std::nullopt;
    while (i < s.size() && isDigit(s[i])) ++i;
  }
  if (i < s.size() && (isLetter(s[i]) || isDigit(s[i]) || s[i] == '.')) return std::nullopt;
  return std::string(s.substr(start, i - start));
}

std::optional<std::vector<JsToken>> tokenize(std::string_view s, bool pattern) {
  std::vector<JsToken> tokens;
  const auto at = [&](std::size_t k) { return k < s.size() ? s[k] : '\0'; };
  std::size_t i = 0;
  while (i < s.size()) {
    const char c = s[i];
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
      ++i;
    } else if (isLetter(c) || (pattern && c == '@')) {
      const std::size_t start = i;
      while (i < s.size() && (isLetter(s[i]) || isDigit(s[i]) || (pattern && s[i] == '@'))) ++i;
      tokens.push_back({JsToken::Kind::identifier, std::string(s.substr(start, i - start))});
    } else if (isDigit(c)) {
      std::optional<std::string> number = readNumber(s, i);
      if (!number) return std::nullopt;
      tokens.push_back({JsToken::Kind::number, std::move(*number)});
    } else if (c == '\'' || c == '"') {
      std::optional<std::string> text = readString(s, i);
      if (!text) return std::nullopt;
      tokens.push_back({JsToken::Kind::string, std::move(*text)});
    } else if (s.substr(i, 3) == "===" || s.substr(i, 2) == "&&") {
      const std::size_t length = c == '=' ? 3 : 2;
      if (at(i + length) == '=') return std::nullopt;  // "====" or "&&="
      tokens.push_back({JsToken::Kind::punctuator, std::string(s.substr(i, length))});
      i += length;
    } else if (c == '=' || c == '-' || c == '.') {
      // "==", "=>", "--", "-=", ".5" and "..." read differently in JavaScript.
      const char next = at(i + 1);
      if ((c == '=' && (next == '=' || next == '>')) ||
          (c == '-' && (next == '-' || next == '=')) ||
          (c == '.' && (isDigit(next) || next == '.')))
        return std::nullopt;
      tokens.push_back({JsToken::Kind::punctuator, std::string(1, c)});
      ++i;
    } else if (std::string_view("(){}[];,:").find(c) != std::string_view::npos) {
      tokens.push_back({JsToken::Kind::punctuator, std::string(1, c)});
      ++i;
    } else {
      return std::nullopt;
    }
  }
  return tokens;
}

std::string replaceAll(std::string text, std::string_view from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// A JSON value written with JSON's tokens, starting at `i`.
class JsonReader {
 public:
  JsonReader(const std::vector<JsToken>& tokens, std::size_t& i) : tokens_(tokens), i_(i) {}

  std::optional<JsonValue> value(int depth = 0) {
    if (depth > 512 || i_ >= tokens_.size()) return std::nullopt;
    const JsToken& token = tokens_[i_++];
    switch (token.kind) {
      case JsToken::Kind::string:
        return JsonValue(token.text);
      case JsToken::Kind::number:
        return number(token.text);
      case JsToken::Kind::identifier:
        if (token.text == "true") return JsonValue(true);
        if (token.text == "false") return JsonValue(false);
        if (token.text == "null") return JsonValue(nullptr);
        return std::nullopt;
      case JsToken::Kind::punctuator:
        break;
    }
    if (token.text == "-") {
      if (i_ >= tokens_.size() || tokens_[i_].kind != JsToken::Kind::number) return std::nullopt;
      return number("-" + tokens_[i_++].text);
    }
    if (token.text == "[") {
      JsonValue array = JsonValue::array();
      if (is("]")) return array;
      do {
        std::optional<JsonValue> element = value(depth + 1);
        if (!element) return std::nullopt;
        array.push_back(std::move(*element));
      } while (is(","));
      return is("]") ? std::optional<JsonValue>(array) : std::nullopt;
    }
    if (token.text == "{") {
      JsonValue object = JsonValue::object();
      if (is("}")) return object;
      do {
        if (i_ >= tokens_.size() || tokens_[i_].kind != JsToken::Kind::string) return std::nullopt;
        const std::string key = tokens_[i_++].text;
        if (!is(":")) return std::nullopt;
        std::optional<JsonValue> member = value(depth + 1);
        if (!member) return std::nullopt;
        object[key] = std::move(*member);
      } while (is(","));
      return is("}") ? std::optional<JsonValue>(object) : std::nullopt;
    }
    return std::nullopt;
  }

 private:
  static std::optional<JsonValue> number(const std::string& text) {
    JsonValue parsed = JsonValue::parse(text, nullptr, false);
    if (parsed.is_discarded()) return std::nullopt;
    return parsed;
  }
  bool is(const char* punctuator) {
    if (i_ < tokens_.size() && tokens_[i_].kind == JsToken::Kind::punctuator &&
        tokens_[i_].text == punctuator) {
      ++i_;
      return true;
    }
    return false;
  }

  const std::vector<JsToken>& tokens_;
  std::size_t& i_;
};

}  // namespace

std::optional<std::vector<JsToken>> tokenizeStrictJs(std::string_view source) {
  return tokenize(source, false);
}

bool matchesScriptPattern(std::string_view script, std::string_view pattern,
                          const ScriptHoles& holes, std::string* why) {
  const auto fail = [&](std::string reason) {
    if (why) *why = std::move(reason);
    return false;
  };
  const std::optional<std::vector<JsToken>> actual = tokenize(script, false);
  if (!actual) return fail("the script leaves the strict subset");
  const std::optional<std::vector<JsToken>> expected = tokenize(pattern, true);
  if (!expected) return fail("the pattern does not tokenize");
  std::size_t i = 0;
  for (const JsToken& want : *expected) {
    if (want.kind == JsToken::Kind::identifier && want.text == "@JSON") {
      const std::size_t start = i;
      std::optional<JsonValue> value = JsonReader(*actual, i).value();
      if (!value) return fail("no JSON value at token " + std::to_string(start));
      if (*value != holes.json)
        return fail("JSON at token " + std::to_string(start) + " is " + value->dump());
      continue;
    }
    JsToken filled = want;
    if (want.kind == JsToken::Kind::string && want.text == "@TEXT") {
      filled.text = holes.text;
    } else if (want.kind != JsToken::Kind::number) {
      filled.text = replaceAll(want.text, "@NAME", holes.name);
    }
    if (i >= actual->size()) return fail("the script ends before '" + filled.text + "'");
    const JsToken& got = (*actual)[i];
    if (got.kind != filled.kind || got.text != filled.text)
      return fail("token " + std::to_string(i) + " is '" + got.text + "', not '" + filled.text +
                  "'");
    ++i;
  }
  if (i != actual->size()) return fail("the script goes on after the pattern");
  return true;
}

}  // namespace korvane::testing
