#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane::url {

// Whether `text` is an absolute URL a URL parser accepts: a scheme, then only characters a URL
// may carry (percent escapes well formed, no spaces or controls).
bool isValid(std::string_view text);

// The origin of an absolute URL or of an origin's text, in one normal form so that the two compare
// as text: "scheme://host" or "scheme://host:port", scheme and host lower-cased, the scheme's
// default port dropped (80 for http and ws, 443 for https and wss), nothing after the host. Nothing
// for an address without a host after "//" ("null", about:blank, data:text/html,..., file:///x)
// and for anything a strict reading doubts: credentials, backslashes, percent escapes or other
// characters outside letters, digits, "-", "." and "_" in the host, brackets around anything but
// an IPv6 address, a port beyond 65535. An IPv6 address is kept as written (only lower-cased).
// Every scheme with a host gets one, also where the URL Standard's origin is opaque
// ("file://example.net", "javascript://test/"): the scheme stays in the text, so such an origin
// matches only one an offerwall or the app named with the same scheme.
std::optional<std::string> origin(std::string_view text);

// Percent-encodes a query item's name or value the way URL components do: letters, digits and
// -._~!$'()*+,;:@/? stay, everything else becomes %XX (upper-case hex).
std::string encodeQueryComponent(std::string_view text);

// `text` without its query (the fragment stays).
std::string withoutQuery(std::string_view text);
// `base` with the items appended as its query ("?" or "&" as needed), in order.
std::string withQuery(std::string base,
                      const std::vector<std::pair<std::string, std::string>>& items);

}  // namespace korvane::url
