#include "korvane/platform/http_client.h"

#include <optional>
#include <string>
#include <string_view>

#include "util/url_text.h"

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

bool followsRedirect(std::string_view from, std::string_view to) {
  const std::optional<std::string> origin = url::origin(from);
  return origin && origin == url::origin(to);
}

std::string redirectRefusedMessage() {
  return "Redirect to another origin not followed";
}

}  // namespace korvane
