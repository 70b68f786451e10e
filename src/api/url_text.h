#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane::url {

// Whether `text` is an absolute URL a URL parser accepts: a scheme, then only characters a URL
// may carry (percent escapes well formed, no spaces or controls).
bool isValid(std::string_view text);

// Percent-encodes a query item's name or value the way URL components do: letters, digits and
// -._~!$'()*+,;:@/? stay, everything else becomes %XX (upper-case hex).
std::string encodeQueryComponent(std::string_view text);

// `text` without its query (the fragment stays).
std::string withoutQuery(std::string_view text);
// `base` with the items appended as its query ("?" or "&" as needed), in order.
std::string withQuery(std::string base,
                      const std::vector<std::pair<std::string, std::string>>& items);

}  // namespace korvane::url
