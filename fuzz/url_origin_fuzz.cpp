// The origin normaliser held against libcurl's URL parser: for every text both read as an
// absolute URL with a host, they must name the same scheme, host and port. And a bracketed host
// the normaliser takes must be an IPv6 address curl takes too (the rest of such a text, which
// the normaliser does not judge, can make curl refuse it as a whole).
//
// Differences that are deliberate and therefore not compared:
// - Numeric IPv4 forms. curl rewrites "127.1", "0x7f.1" or "2130706433" to "127.0.0.1"; the
//   normaliser keeps the text as written. Origins are compared as text against the trusted list,
//   so a differently written address is refused, never let in.
// - IPv6 spelling. curl compresses "[0:0::1]" to "[::1]"; the normaliser keeps the written form,
//   refused the same way. Bracketed hosts are compared as addresses.
// - Host case. curl keeps it; the normaliser lower-cases, as browsers report origins.
// - Default ports. curl knows one for each scheme it supports (ftp's 21, ...); the normaliser
//   drops only http's and ws's 80 and https's and wss's 443, the schemes a page can have. The
//   port curl reads is put through the normaliser's own rule before comparing.
// - Texts holding a NUL byte, which curl's C string interface cannot take.
#include <arpa/inet.h>
#include <curl/curl.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "util/url_text.h"

namespace {

struct CurlText {
  void operator()(char* text) const { curl_free(text); }
};
struct CurlUrl {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

std::optional<std::string> part(CURLU* url, CURLUPart which) {
  char* raw = nullptr;
  if (curl_url_get(url, which, &raw, 0) != CURLUE_OK) return std::nullopt;
  const std::unique_ptr<char, CurlText> text(raw);
  return std::string(text.get());
}

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// A dotted quad curl made of a numeric host written some other way.
bool rewrittenIpv4(const std::string& ours, const std::string& theirs) {
  in_addr address{};
  if (inet_pton(AF_INET, theirs.c_str(), &address) != 1) return false;
  return !ours.empty() && ours.find_first_not_of("0123456789abcdefx.") == std::string::npos;
}

// The same IPv6 address, however written.
bool sameIpv6(const std::string& a, const std::string& b) {
  if (a.size() < 2 || b.size() < 2 || a.front() != '[' || b.front() != '[') return false;
  in6_addr x{};
  in6_addr y{};
  return inet_pton(AF_INET6, a.substr(1, a.size() - 2).c_str(), &x) == 1 &&
         inet_pton(AF_INET6, b.substr(1, b.size() - 2).c_str(), &y) == 1 &&
         std::memcmp(&x, &y, sizeof x) == 0;
}

struct Origin {
  std::string scheme;
  std::string host;
  std::string port;  // empty for none or the scheme's default
};

// Splits the normaliser's "scheme://host[:port]".
Origin split(const std::string& origin) {
  const std::size_t schemeEnd = origin.find("://");
  Origin out{origin.substr(0, schemeEnd), origin.substr(schemeEnd + 3), ""};
  const std::size_t bracket = out.host.rfind(']');
  const std::size_t colon = out.host.rfind(':');
  if (colon != std::string::npos && (bracket == std::string::npos || colon > bracket)) {
    out.port = out.host.substr(colon + 1);
    out.host.resize(colon);
  }
  return out;
}

bool accepts(const std::string& text) {
  const std::unique_ptr<CURLU, CurlUrl> url(curl_url());
  return url && curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) == CURLUE_OK;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (text.find('\0') != std::string::npos) return 0;
  const std::optional<std::string> ours = korvane::url::origin(text);
  if (!ours) return 0;
  const Origin mine = split(*ours);
  if (mine.host.starts_with('[') && !accepts("http://" + mine.host + "/")) {
    std::fprintf(stderr, "input %s\n  normaliser: %s\n  curl refuses the host\n", text.c_str(),
                 ours->c_str());
    std::abort();
  }

  const std::unique_ptr<CURLU, CurlUrl> url(curl_url());
  if (!url ||
      curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK)
    return 0;
  const std::optional<std::string> scheme = part(url.get(), CURLUPART_SCHEME);
  const std::optional<std::string> host = part(url.get(), CURLUPART_HOST);
  if (!scheme || !host || host->empty()) return 0;
  std::string port = part(url.get(), CURLUPART_PORT).value_or("");
  const std::string theirScheme = lower(*scheme);
  if ((port == "80" && (theirScheme == "http" || theirScheme == "ws")) ||
      (port == "443" && (theirScheme == "https" || theirScheme == "wss")))
    port.clear();

  const std::string theirHost = lower(*host);
  const bool hostAgrees = mine.host == theirHost || rewrittenIpv4(mine.host, theirHost) ||
                          sameIpv6(mine.host, theirHost);
  if (mine.scheme != theirScheme || !hostAgrees || mine.port != port) {
    std::fprintf(stderr, "input %s\n  normaliser: %s\n  curl: %s %s %s\n", text.c_str(),
                 ours->c_str(), theirScheme.c_str(), theirHost.c_str(), port.c_str());
    std::abort();
  }
  return 0;
}
