#import <KorvaneSDK/AuthInterceptor.h>

#include "korvane/platform/auth_interceptor_rules.h"
#include "korvane/sdk/korvane_sdk.h"
#import "support/first_use.h"
#import "support/objc_text.h"

using korvane::ios::toNSString;
using korvane::ios::toOptionalString;

@implementation AuthInterceptor {
  NSThread* _clientThread;
  NSArray<NSRunLoopMode>* _clientModes;
  NSURLSessionDataTask* _task;
  BOOL _stopped;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

+ (NSString*)handledMarker {
  return @(korvane::auth_interceptor::kHandledMarker);
}

+ (BOOL)canInitWithRequest:(NSURLRequest*)request {
  const bool marked = [NSURLProtocol propertyForKey:self.handledMarker inRequest:request] != nil;
  const std::optional<std::string> url =
      request.URL ? toOptionalString(request.URL.absoluteString) : std::nullopt;
  return korvane::auth_interceptor::shouldIntercept(url, marked);
}

+ (NSURLRequest*)canonicalRequestForRequest:(NSURLRequest*)request {
  return request;
}

- (void)startLoading {
  NSMutableURLRequest* copy = [self.request mutableCopy];
  korvane::HttpRequest decorated;
  korvane::auth_interceptor::decorate(decorated, korvane::KorvaneSdk::shared().getConfig());
  for (const auto& [name, value] : decorated.headers)
    [copy setValue:toNSString(std::string_view(value))
        forHTTPHeaderField:toNSString(std::string_view(name))];
  [NSURLProtocol setProperty:@YES forKey:AuthInterceptor.handledMarker inRequest:copy];

  // The URL loading system expects its client to hear back on the thread that started the load.
  _clientThread = NSThread.currentThread;
  NSRunLoopMode mode = NSRunLoop.currentRunLoop.currentMode;
  _clientModes = mode && ![mode isEqualToString:NSDefaultRunLoopMode]
                     ? @[ NSDefaultRunLoopMode, mode ]
                     : @[ NSDefaultRunLoopMode ];
  __weak AuthInterceptor* weakSelf = self;
  NSURLSessionDataTask* task = [NSURLSession.sharedSession
      dataTaskWithRequest:copy
        completionHandler:^(NSData* data, NSURLResponse* response, NSError* error) {
          AuthInterceptor* strongSelf = weakSelf;
          if (!strongSelf) return;
          [strongSelf onClientThread:^{
            [strongSelf finishWithData:data response:response error:error];
          }];
        }];
  _task = task;
  [task resume];
}

// The load was cancelled (the page went away): the request stops too, and the client, which no
// longer listens, hears nothing more.
- (void)stopLoading {
  _stopped = YES;
  [_task cancel];
  _task = nil;
}

- (void)onClientThread:(dispatch_block_t)block {
  [self performSelector:@selector(runBlock:)
               onThread:_clientThread
             withObject:[block copy]
          waitUntilDone:NO
                  modes:_clientModes];
}

- (void)runBlock:(dispatch_block_t)block {
  block();
}

- (void)finishWithData:(NSData*)data response:(NSURLResponse*)response error:(NSError*)error {
  _task = nil;
  if (_stopped) return;
  if (error) {
    [self.client URLProtocol:self didFailWithError:error];
  } else if (response) {
    [self.client URLProtocol:self
          didReceiveResponse:response
          cacheStoragePolicy:NSURLCacheStorageNotAllowed];
    if (data.length) [self.client URLProtocol:self didLoadData:data];
    [self.client URLProtocolDidFinishLoading:self];
  } else {
    // Neither an answer nor an error: without one the client would wait for its own time-out.
    [self.client URLProtocol:self
            didFailWithError:[NSError errorWithDomain:NSURLErrorDomain
                                                 code:NSURLErrorBadServerResponse
                                             userInfo:nil]];
  }
}

@end
