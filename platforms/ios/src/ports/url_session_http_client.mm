#import "ports/url_session_http_client.h"

#import "support/objc_text.h"

namespace korvane::ios {
namespace {

TransportErrorKind kindOf(NSError* error) {
  if (![error.domain isEqualToString:NSURLErrorDomain]) return TransportErrorKind::other;
  switch (error.code) {
    case NSURLErrorTimedOut:
      return TransportErrorKind::timedOut;
    case NSURLErrorCannotConnectToHost:
      return TransportErrorKind::cannotConnect;
    case NSURLErrorNetworkConnectionLost:
      return TransportErrorKind::connectionLost;
    case NSURLErrorNotConnectedToInternet:
      return TransportErrorKind::notConnected;
    case NSURLErrorCancelled:
      return TransportErrorKind::cancelled;
    default:
      return TransportErrorKind::other;
  }
}

void deliverLater(std::function<void(HttpResult)> completion, HttpResult result) {
  auto pending = std::make_shared<std::pair<std::function<void(HttpResult)>, HttpResult>>(
      std::move(completion), std::move(result));
  dispatch_async(dispatch_get_global_queue(QOS_CLASS_UTILITY, 0), ^{
    @autoreleasepool {
      pending->first(std::move(pending->second));
    }
  });
}

}  // namespace

HttpResult translateResponse(NSData* _Nullable data, NSURLResponse* _Nullable response,
                             NSError* _Nullable error) {
  if (error) {
    return TransportError{kindOf(error), static_cast<long>(error.code),
                          toStdString(error.localizedDescription)};
  }
  if (!response) {
    return TransportError{TransportErrorKind::other, 0, "The server sent no response"};
  }
  HttpResponse answer;
  if (data.length > 0) answer.body.assign(static_cast<const char*>(data.bytes), data.length);
  if ([response isKindOfClass:NSHTTPURLResponse.class]) {
    auto* http = static_cast<NSHTTPURLResponse*>(response);
    answer.status = static_cast<int>(http.statusCode);
    NSDictionary* fields = http.allHeaderFields;
    for (id name in fields) {
      id value = fields[name];
      if ([name isKindOfClass:NSString.class] && [value isKindOfClass:NSString.class])
        answer.headers.emplace_back(toStdString(name), toStdString(value));
    }
  }
  return answer;
}

UrlSessionHttpClient::UrlSessionHttpClient()
    : alive_(std::make_shared<std::atomic<bool>>(true)),
      sessions_([NSMutableDictionary dictionary]) {}

UrlSessionHttpClient::~UrlSessionHttpClient() {
  alive_->store(false);
  std::lock_guard lock(mutex_);
  for (NSURLSession* session in sessions_.allValues) [session invalidateAndCancel];
}

NSURLSession* UrlSessionHttpClient::sessionFor(std::chrono::milliseconds resourceTimeout) {
  std::lock_guard lock(mutex_);
  NSNumber* key = @(resourceTimeout.count());
  if (NSURLSession* existing = sessions_[key]) return existing;
  NSURLSessionConfiguration* configuration = NSURLSessionConfiguration.defaultSessionConfiguration;
  if (resourceTimeout.count() > 0) {
    const NSTimeInterval seconds = static_cast<double>(resourceTimeout.count()) / 1000.0;
    configuration.timeoutIntervalForRequest = seconds;
    configuration.timeoutIntervalForResource = seconds;
  }
  NSURLSession* session = [NSURLSession sessionWithConfiguration:configuration];
  sessions_[key] = session;
  return session;
}

void UrlSessionHttpClient::send(HttpRequest request, std::function<void(HttpResult)> completion) {
  NSURL* url = [NSURL URLWithString:toNSString(std::string_view(request.url))];
  if (!url) {
    return deliverLater(
        std::move(completion),
        TransportError{TransportErrorKind::other, NSURLErrorBadURL, "Invalid URL: " + request.url});
  }
  NSMutableURLRequest* urlRequest =
      [NSMutableURLRequest requestWithURL:url
                              cachePolicy:NSURLRequestUseProtocolCachePolicy
                          timeoutInterval:static_cast<double>(request.timeout.count()) / 1000.0];
  urlRequest.HTTPMethod = toNSString(std::string_view(request.method));
  for (const auto& [name, value] : request.headers)
    [urlRequest setValue:toNSString(std::string_view(value))
        forHTTPHeaderField:toNSString(std::string_view(name))];
  if (!request.body.empty())
    urlRequest.HTTPBody = [NSData dataWithBytes:request.body.data() length:request.body.size()];

  auto alive = alive_;
  auto done = std::make_shared<std::function<void(HttpResult)>>(std::move(completion));
  NSURLSessionDataTask* task = [sessionFor(request.resourceTimeout)
      dataTaskWithRequest:urlRequest
        completionHandler:^(NSData* data, NSURLResponse* response, NSError* error) {
          // The core's completion runs here, off the main thread: its Foundation calls (defaults,
          // logging, the next request) get a pool of their own.
          @autoreleasepool {
            if (alive->load() && *done) (*done)(translateResponse(data, response, error));
          }
        }];
  [task resume];
}

}  // namespace korvane::ios
