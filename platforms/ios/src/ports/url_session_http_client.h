#pragma once

#import <Foundation/Foundation.h>

#include <memory>
#include <mutex>

#include "korvane/platform/http_client.h"

@class KorvaneBoundedBodies;

NS_ASSUME_NONNULL_BEGIN

namespace korvane::ios {

// The HTTP client on NSURLSession. A request's resource timeout (the configuration's timeout)
// becomes the session's request and resource timeouts, as one session per such value; the
// request's own timeout becomes the URL request's. Completions run on the session's delegate
// queue. A body longer than kMaxResponseBodyBytes ends its task at once, as a transport error of
// kind `other` with responseTooLargeMessage(); a redirect the core does not follow
// (followsRedirect) ends it as one with redirectRefusedMessage(). Destroying the client cancels
// what is in flight and drops the completions.
class UrlSessionHttpClient final : public HttpClient {
 public:
  UrlSessionHttpClient();
  ~UrlSessionHttpClient() override;
  UrlSessionHttpClient(const UrlSessionHttpClient&) = delete;
  UrlSessionHttpClient& operator=(const UrlSessionHttpClient&) = delete;

  void send(HttpRequest request, std::function<void(HttpResult)> completion) override;

 private:
  NSURLSession* sessionFor(std::chrono::milliseconds resourceTimeout);

  std::shared_ptr<std::atomic<bool>> alive_;
  std::mutex mutex_;
  NSMutableDictionary<NSNumber*, NSURLSession*>* sessions_;
  KorvaneBoundedBodies* bodies_;
};

// What NSURLSession handed back, in the port's terms: a transport error for an error (kinds from
// the NSURLErrorDomain codes) or a missing response, otherwise the response (status 0 when it is
// not an HTTP response).
HttpResult translateResponse(NSData* _Nullable data, NSURLResponse* _Nullable response,
                             NSError* _Nullable error);

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
