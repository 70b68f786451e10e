#import "ports/url_session_http_client.h"

#import "support/objc_text.h"

// Why the client cut a task short, if it did.
enum class KorvaneTaskCut { none, tooLarge, redirectRefused };

// One task's body as it arrives, and the block that hears how the task ended.
@interface KorvaneBoundedTask : NSObject
@property(nonatomic, readonly) NSMutableData* body;
@property(nonatomic) KorvaneTaskCut cut;
@property(nonatomic, copy) void (^finish)
    (NSData* body, NSURLResponse* _Nullable response, NSError* _Nullable error, KorvaneTaskCut cut);
@end

@implementation KorvaneBoundedTask
- (instancetype)init {
  if ((self = [super init])) _body = [NSMutableData data];
  return self;
}
@end

// Gathers each task's body, up to the client's limit: a task whose announced or received body
// is longer is cancelled there, so no server can make the app buffer without bound. Redirects
// are followed only where the core follows them.
@interface KorvaneBoundedBodies : NSObject <NSURLSessionDataDelegate>
- (void)track:(NSURLSessionTask*)task
       finish:
           (void (^)(NSData*, NSURLResponse* _Nullable, NSError* _Nullable, KorvaneTaskCut))finish;
@end

@implementation KorvaneBoundedBodies {
  NSMutableDictionary<NSNumber*, KorvaneBoundedTask*>* _tasks;
}

- (instancetype)init {
  if ((self = [super init])) _tasks = [NSMutableDictionary dictionary];
  return self;
}

- (void)track:(NSURLSessionTask*)task
       finish:
           (void (^)(NSData*, NSURLResponse* _Nullable, NSError* _Nullable, KorvaneTaskCut))finish {
  KorvaneBoundedTask* state = [[KorvaneBoundedTask alloc] init];
  state.finish = finish;
  @synchronized(self) {
    _tasks[@(task.taskIdentifier)] = state;
  }
}

- (nullable KorvaneBoundedTask*)stateOf:(NSURLSessionTask*)task remove:(BOOL)remove {
  @synchronized(self) {
    NSNumber* key = @(task.taskIdentifier);
    KorvaneBoundedTask* state = _tasks[key];
    if (remove) [_tasks removeObjectForKey:key];
    return state;
  }
}

- (void)URLSession:(NSURLSession*)session
              dataTask:(NSURLSessionDataTask*)dataTask
    didReceiveResponse:(NSURLResponse*)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler {
  KorvaneBoundedTask* state = [self stateOf:dataTask remove:NO];
  // A refused redirect's own body is of no use.
  if (state.cut == KorvaneTaskCut::redirectRefused)
    return completionHandler(NSURLSessionResponseCancel);
  const long long announced = response.expectedContentLength;
  if (announced != NSURLResponseUnknownLength &&
      announced > static_cast<long long>(korvane::kMaxResponseBodyBytes)) {
    state.cut = KorvaneTaskCut::tooLarge;
    return completionHandler(NSURLSessionResponseCancel);
  }
  completionHandler(NSURLSessionResponseAllow);
}

- (void)URLSession:(NSURLSession*)session
          dataTask:(NSURLSessionDataTask*)dataTask
    didReceiveData:(NSData*)data {
  KorvaneBoundedTask* state = [self stateOf:dataTask remove:NO];
  if (!state || state.cut == KorvaneTaskCut::tooLarge) return;
  if (state.body.length + data.length > korvane::kMaxResponseBodyBytes) {
    state.cut = KorvaneTaskCut::tooLarge;
    state.body.length = 0;
    return [dataTask cancel];
  }
  [state.body appendData:data];
}

- (void)URLSession:(NSURLSession*)session
                    task:(NSURLSessionTask*)task
    didCompleteWithError:(nullable NSError*)error {
  KorvaneBoundedTask* state = [self stateOf:task remove:YES];
  if (state) state.finish(state.body, task.response, error, state.cut);
}

// The app key and secret travel in the request's headers, which NSURLSession repeats on a
// redirect. A refused redirect ends the task at the redirect's own response, reported as the
// refusal when the task ends.
- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest* _Nullable))completionHandler {
  if (korvane::followsRedirect(korvane::ios::toStdString(task.originalRequest.URL.absoluteString),
                               korvane::ios::toStdString(request.URL.absoluteString))) {
    return completionHandler(request);
  }
  [self stateOf:task remove:NO].cut = KorvaneTaskCut::redirectRefused;
  completionHandler(nil);
}

@end

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
      sessions_([NSMutableDictionary dictionary]),
      bodies_([[KorvaneBoundedBodies alloc] init]) {}

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
  // The session keeps its delegate until it is invalidated, which the destructor does.
  NSURLSession* session = [NSURLSession sessionWithConfiguration:configuration
                                                        delegate:bodies_
                                                   delegateQueue:nil];
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
  NSURLSessionDataTask* task = [sessionFor(request.resourceTimeout) dataTaskWithRequest:urlRequest];
  [bodies_ track:task
          finish:^(NSData* data, NSURLResponse* response, NSError* error, KorvaneTaskCut cut) {
            // The core's completion runs here, off the main thread: its Foundation calls
            // (defaults, logging, the next request) get a pool of their own.
            @autoreleasepool {
              if (!alive->load() || !*done) return;
              if (cut == KorvaneTaskCut::tooLarge) {
                return (*done)(TransportError{TransportErrorKind::other,
                                              NSURLErrorDataLengthExceedsMaximum,
                                              responseTooLargeMessage()});
              }
              if (cut == KorvaneTaskCut::redirectRefused) {
                return (*done)(TransportError{TransportErrorKind::other, NSURLErrorUnknown,
                                              redirectRefusedMessage()});
              }
              (*done)(translateResponse(data, response, error));
            }
          }];
  [task resume];
}

}  // namespace korvane::ios
