#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "korvane/platform/http_client.h"

typedef void CURLM;
typedef void CURL;

namespace korvane::linux_host {

// HttpClient on libcurl's multi interface: one worker thread carries every transfer, TLS
// peers are verified, responses are decompressed, redirects followed. Completions run on the
// worker thread. A request's `timeout` bounds the connect and any stall in the data;
// `resourceTimeout` bounds the whole exchange.
class CurlHttpClient final : public HttpClient {
 public:
  CurlHttpClient();
  ~CurlHttpClient() override;
  CurlHttpClient(const CurlHttpClient&) = delete;
  CurlHttpClient& operator=(const CurlHttpClient&) = delete;

  void send(HttpRequest request, std::function<void(HttpResult)> completion) override;

  struct Transfer;

 private:
  void run();
  void startPending();

  CURLM* multi_;
  std::mutex mutex_;
  std::deque<std::unique_ptr<Transfer>> pending_;
  bool stopping_ = false;
  std::map<CURL*, std::unique_ptr<Transfer>> active_;  // worker thread only
  std::thread worker_;
};

// The neutral kind of a libcurl failure (`osErrno` is CURLINFO_OS_ERRNO, 0 when unknown).
TransportErrorKind transportErrorKind(int curlCode, long osErrno);

}  // namespace korvane::linux_host
