#include "util/url_text.h"

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

// A dotted IPv4 address: four decimal octets up to 255, without leading zeros.
bool isIpv4Address(std::string_view text) {
  for (int octet = 0; octet < 4; ++octet) {
    const std::size_t end = std::min(text.find('.'), text.size());
    const std::string_view digits = text.substr(0, end);
    if (digits.empty() || digits.size() > 3 || (digits.size() > 1 && digits[0] == '0'))
      return false;
    int value = 0;
    for (const char c : digits) {
      if (!std::isdigit(static_cast<unsigned char>(c))) return false;
      value = value * 10 + (c - '0');
    }
    if (value > 255 || (octet < 3) == (end == text.size())) return false;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return true;
}

// An IPv6 address as a URL writes it between brackets: eight groups of one to four hex digits,
// or fewer around one "::", the last two groups possibly written as an IPv4 address.
bool isIpv6Address(std::string_view text) {
  std::size_t groups = 0;
  bool compressed = text.starts_with("::");
  std::size_t i = compressed ? 2 : 0;
  while (i < text.size()) {
    const std::size_t end = std::min(text.find(':', i), text.size());
    const std::string_view piece = text.substr(i, end - i);
    if (piece.find('.') != std::string_view::npos) {
      if (end != text.size() || !isIpv4Address(piece)) return false;
      groups += 2;
      break;
    }
    if (piece.empty() || piece.size() > 4 || !std::all_of(piece.begin(), piece.end(), [](char c) {
          return isHex(static_cast<unsigned char>(c));
        }))
      return false;
    ++groups;
    if (end == text.size()) break;
    if (text.substr(end, 2) == "::") {
      if (compressed) return false;
      compressed = true;
      i = end + 2;
    } else if (end + 1 == text.size()) {
      return false;  // a lone colon at the end
    } else {
      i = end + 1;
    }
  }
  return compressed ? groups <= 7 : groups == 8;
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

std::optional<std::string> origin(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || text.substr(colon + 1, 2) != "//")
    return std::nullopt;
  std::string result;
  for (std::size_t i = 0; i < colon; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const bool allowed =
        i == 0 ? std::isalpha(c) : std::isalnum(c) || c == '+' || c == '-' || c == '.';
    if (!allowed) return std::nullopt;
    result += static_cast<char>(std::tolower(c));
  }
  const std::string scheme = result;
  result += "://";
  const std::string_view rest = text.substr(colon + 3);
  const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
  std::size_t end = 0;
  if (!authority.empty() && authority[0] == '[') {
    end = authority.find(']');
    if (end == std::string_view::npos || !isIpv6Address(authority.substr(1, end - 1)))
      return std::nullopt;
    ++end;
  } else {
    while (end < authority.size() && authority[end] != ':') {
      const auto c = static_cast<unsigned char>(authority[end]);
      if (!std::isalnum(c) && c != '-' && c != '.' && c != '_') return std::nullopt;
      ++end;
    }
    if (end == 0) return std::nullopt;
  }
  for (std::size_t i = 0; i < end; ++i)
    result += static_cast<char>(std::tolower(static_cast<unsigned char>(authority[i])));
  if (end == authority.size()) return result;
  if (authority[end] != ':') return std::nullopt;
  const std::string_view digits = authority.substr(end + 1);
  if (digits.empty()) return result;  // "host:" has no port
  long port = 0;
  for (const char c : digits) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return std::nullopt;
    port = port * 10 + (c - '0');
    if (port > 65535) return std::nullopt;
  }
  const bool defaultPort = (port == 80 && (scheme == "http" || scheme == "ws")) ||
                           (port == 443 && (scheme == "https" || scheme == "wss"));
  if (!defaultPort) result += ":" + std::to_string(port);
  return result;
}

// "+" is encoded too: a server that reads the query as a form would take a literal one for a
// space, and "%2B" reads as "+" either way.
std::string encodeQueryComponent(std::string_view text) {
  static constexpr std::string_view kKept = "!$'()*,;:@/?";
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
