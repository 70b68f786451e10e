#include "korvane/platform/http_client.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace korvane {

long urlErrorCode(TransportErrorKind kind) {
  switch (kind) {
    case TransportErrorKind::timedOut:
      return -1001;
    case TransportErrorKind::cannotConnect:
      return -1004;
    case TransportErrorKind::connectionLost:
      return -1005;
    case TransportErrorKind::notConnected:
      return -1009;
    case TransportErrorKind::cancelled:
      return -999;
    case TransportErrorKind::other:
      break;
  }
  return -1;
}

Error toError(const TransportError& error) {
  return Error{Error::kUrlLoadingDomain, urlErrorCode(error.kind), error.platformMessage,
               "URLError"};
}

std::string responseTooLargeMessage() {
  return "The response body is larger than " + std::to_string(kMaxResponseBodyBytes) +
         " bytes; the rest was not read";
}

namespace {

bool sameWithoutCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

std::optional<int> portOf(const RequestOrigin& origin) {
  if (origin.port) return origin.port;
  if (sameWithoutCase(origin.scheme, "http")) return 80;
  if (sameWithoutCase(origin.scheme, "https")) return 443;
  return std::nullopt;
}

}  // namespace

bool followsRedirect(const RequestOrigin& from, const RequestOrigin& to) {
  if (from.scheme.empty() || from.host.empty() || to.scheme.empty() || to.host.empty())
    return false;
  return sameWithoutCase(from.scheme, to.scheme) && sameWithoutCase(from.host, to.host) &&
         portOf(from) == portOf(to);
}

std::string redirectRefusedMessage() {
  return "Redirect to another origin not followed";
}

}  // namespace korvane
