#pragma once

#include <memory>
#include <thread>

#include "korvane/platform/http_client.h"

namespace korvane::linux_host {

// HttpClient on libcurl's multi interface: one worker thread carries every transfer, TLS
// peers are verified, responses are decompressed, redirects followed. Completions run on the
// worker thread. A request's `timeout` bounds the connect and any stall in the data;
// `resourceTimeout` bounds the whole exchange. Destroying the client cancels what is in flight
// and drops those completions; it may happen inside a completion.
class CurlHttpClient final : public HttpClient {
 public:
  CurlHttpClient();
  ~CurlHttpClient() override;
  CurlHttpClient(const CurlHttpClient&) = delete;
  CurlHttpClient& operator=(const CurlHttpClient&) = delete;

  void send(HttpRequest request, std::function<void(HttpResult)> completion) override;

  struct Transfer;
  struct Engine;

 private:
  std::shared_ptr<Engine> engine_;
  std::thread worker_;
};

// The neutral kind of a libcurl failure (`osErrno` is CURLINFO_OS_ERRNO, 0 when unknown).
TransportErrorKind transportErrorKind(int curlCode, long osErrno);

}  // namespace korvane::linux_host
