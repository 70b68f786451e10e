#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "korvane/values/error.h"

namespace korvane {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

struct HttpRequest {
  std::string method = "GET";
  std::string url;
  HttpHeaders headers;  // sent in this order
  std::string body;
  // Longest wait for the connection or for more data.
  std::chrono::milliseconds timeout{60000};
  // Longest time for the whole exchange; zero or less means no such limit.
  std::chrono::milliseconds resourceTimeout{0};
};

struct HttpResponse {
  int status = 0;
  HttpHeaders headers;
  std::string body;
};

// Transport failures in a form every platform can produce and the core can reason about.
enum class TransportErrorKind {
  timedOut,
  cannotConnect,
  connectionLost,
  notConnected,
  cancelled,
  other
};

struct TransportError {
  TransportErrorKind kind = TransportErrorKind::other;
  long platformCode = 0;        // the platform's own code (a CURLcode, an NSURLError code)
  std::string platformMessage;  // the platform's own text
};

// The URL-loading error code for a kind (timed out -1001, cannot connect -1004, connection
// lost -1005, not connected -1009, cancelled -999, other -1), in the URL-loading domain.
long urlErrorCode(TransportErrorKind kind);
Error toError(const TransportError& error);

using HttpResult = std::variant<HttpResponse, TransportError>;

// The longest response body a client keeps. A longer one ends the exchange as a transport error
// of kind `other` whose message is `responseTooLargeMessage()`, so no server, broken or hostile,
// can make the host buffer without bound.
inline constexpr std::size_t kMaxResponseBodyBytes = 16u * 1024u * 1024u;
std::string responseTooLargeMessage();

// Whether a client follows a redirect of a request for the address `from` to the address `to`.
// The app key and secret travel in headers a client repeats on a redirect, so only the request's
// own origin is followed (scheme, host and port, as the SDK's URL reading normalises them): never
// another host or port, never from https down to http, never an address it cannot read strictly.
bool followsRedirect(std::string_view from, std::string_view to);
// The message of the transport error (kind `other`) that ends a call whose redirect was refused.
std::string redirectRefusedMessage();

// Sends requests asynchronously. The completion runs exactly once, on a thread of the client's
// choosing (never the caller's stack), unless the client is destroyed first, which cancels what
// is in flight and drops the completions.
class HttpClient {
 public:
  virtual ~HttpClient() = default;
  virtual void send(HttpRequest request, std::function<void(HttpResult)> completion) = 0;
};

}  // namespace korvane
