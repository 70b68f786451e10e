#include "api/url_text.h"

#include <algorithm>

#include <cctype>

namespace korvane::url {
namespace {

bool isUnreserved(unsigned char c) {
  return std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~';
}
bool isHex(unsigned char c) {
  return std::isxdigit(c) != 0;
}

bool isUrlChar(unsigned char c) {
  static constexpr std::string_view kAllowed = ":/?#[]@!$&'()*+,;=";
  return isUnreserved(c) || kAllowed.find(static_cast<char>(c)) != std::string_view::npos;
}

}  // namespace

bool isValid(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  if (!std::isalpha(static_cast<unsigned char>(text[0]))) return false;
  for (std::size_t i = 1; i < colon; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!std::isalnum(c) && c != '+' && c != '-' && c != '.') return false;
  }
  for (std::size_t i = colon + 1; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '%') {
      if (i + 2 >= text.size() || !isHex(static_cast<unsigned char>(text[i + 1])) ||
          !isHex(static_cast<unsigned char>(text[i + 2])))
        return false;
      i += 2;
    } else if (!isUrlChar(c)) {
      return false;
    }
  }
  return true;
}

std::string encodeQueryComponent(std::string_view text) {
  static constexpr std::string_view kKept = "!$'()*+,;:@/?";
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (isUnreserved(c) || kKept.find(ch) != std::string_view::npos) {
      out += ch;
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
    }
  }
  return out;
}

std::string withoutQuery(std::string_view text) {
  const std::size_t fragment = std::min(text.find('#'), text.size());
  const std::size_t query = std::min(text.find('?'), fragment);
  return std::string(text.substr(0, query)) + std::string(text.substr(fragment));
}

std::string withQuery(std::string base,
                      const std::vector<std::pair<std::string, std::string>>& items) {
  if (items.empty()) return base;
  const std::size_t fragment = base.find('#');
  std::string tail = fragment == std::string::npos ? "" : base.substr(fragment);
  if (fragment != std::string::npos) base.resize(fragment);
  char separator = base.find('?') == std::string::npos
                       ? '?'
                       : (base.back() == '?' || base.back() == '&' ? '\0' : '&');
  for (const auto& [name, value] : items) {
    if (separator) base += separator;
    base += encodeQueryComponent(name);
    base += '=';
    base += encodeQueryComponent(value);
    separator = '&';
  }
  return base + tail;
}

}  // namespace korvane::url
