#import "web/wk_web_view_port.h"

#import <UIKit/UIGestureRecognizerSubclass.h>

#include <atomic>

#include "korvane/version.h"
#import "objc/foundation_json.h"
#import "support/objc_text.h"
#include "web/navigation_facts.h"

using korvane::ios::toNSString;
using korvane::ios::toStdString;

// Forwards WebKit's delegate calls and script messages to the page's delegate while it lives.
// Holds it weakly, which is what keeps WebKit from keeping the page alive.
// Its two C++ fields are instance variables the port sets directly, not properties: a property's
// attributes and accessors would carry the C++ type's encoding three times more.
@interface KorvaneWebViewRelay
    : NSObject <WKNavigationDelegate, WKUIDelegate, WKScriptMessageHandler> {
 @public
  std::weak_ptr<korvane::WebViewDelegate> _delegate;
  std::shared_ptr<korvane::ios::IosNavigationTranslator> _translator;
}
- (void)personTouched;
@end

// Hears every touch that ends on the web view and never recognises anything: it cancels,
// delays and blocks no touch of the page's, and it runs beside WebKit's own recognisers.
@interface KorvaneTouchObserver : UIGestureRecognizer <UIGestureRecognizerDelegate>
@property(nonatomic, weak) KorvaneWebViewRelay* relay;
@end

@implementation KorvaneTouchObserver

- (instancetype)initWithRelay:(KorvaneWebViewRelay*)relay {
  self = [super initWithTarget:nil action:nil];
  if (self) {
    _relay = relay;
    self.cancelsTouchesInView = NO;
    self.delaysTouchesBegan = NO;
    self.delaysTouchesEnded = NO;
    self.delegate = self;
  }
  return self;
}

- (void)touchesEnded:(NSSet<UITouch*>*)touches withEvent:(UIEvent*)event {
  [super touchesEnded:touches withEvent:event];
  [self.relay personTouched];
  self.state = UIGestureRecognizerStateFailed;
}

- (void)touchesCancelled:(NSSet<UITouch*>*)touches withEvent:(UIEvent*)event {
  [super touchesCancelled:touches withEvent:event];
  self.state = UIGestureRecognizerStateFailed;
}

- (BOOL)gestureRecognizer:(UIGestureRecognizer*)gestureRecognizer
    shouldRecognizeSimultaneouslyWithGestureRecognizer:(UIGestureRecognizer*)other {
  return YES;
}

@end

namespace {

// The frame a message came from, as "scheme://host[:port]"; empty when opaque or unknown.
std::string originOf(WKFrameInfo* frame) {
  WKSecurityOrigin* origin = frame.securityOrigin;
  return korvane::ios::originText(toStdString(origin.protocol), toStdString(origin.host),
                                  static_cast<int>(origin.port));
}

korvane::ios::IosNavigationType typeOf(WKNavigationType type) {
  using korvane::ios::IosNavigationType;
  switch (type) {
    case WKNavigationTypeLinkActivated:
      return IosNavigationType::linkActivated;
    case WKNavigationTypeFormSubmitted:
      return IosNavigationType::formSubmitted;
    case WKNavigationTypeBackForward:
      return IosNavigationType::backForward;
    case WKNavigationTypeReload:
      return IosNavigationType::reload;
    case WKNavigationTypeFormResubmitted:
      return IosNavigationType::formResubmitted;
    default:
      return IosNavigationType::other;
  }
}

// What WebKit says of a navigation: its target and the document that asked for it. WebKit
// declares sourceFrame non-null but leaves it nil for loads no document started.
korvane::ios::IosNavigationFacts factsOf(WKNavigationAction* action) {
  korvane::ios::IosNavigationFacts facts;
  facts.url = toStdString(action.request.URL.absoluteString);
  facts.type = typeOf(action.navigationType);
  facts.targetIsMainFrame = action.targetFrame != nil && action.targetFrame.isMainFrame;
  WKFrameInfo* source = action.sourceFrame;
  if (source != nil) facts.source = korvane::FrameFacts{source.isMainFrame, originOf(source)};
  return facts;
}

}  // namespace

@implementation KorvaneWebViewRelay

- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationAction:(WKNavigationAction*)navigationAction
                    decisionHandler:(void (^)(WKNavigationActionPolicy))decisionHandler {
  auto delegate = _delegate.lock();
  if (!delegate) return decisionHandler(WKNavigationActionPolicyCancel);
  // One for a new window is decided once, when WebKit asks for the window.
  if (navigationAction.targetFrame == nil) return decisionHandler(WKNavigationActionPolicyAllow);
  const korvane::NavigationAction action = _translator->translate(factsOf(navigationAction));
  decisionHandler(delegate->decidePolicy(action) == korvane::NavigationPolicy::allow
                      ? WKNavigationActionPolicyAllow
                      : WKNavigationActionPolicyCancel);
}

// target="_blank" and window.open: the core takes the address (it loads in this page or opens
// outside); no web view is made.
- (nullable WKWebView*)webView:(WKWebView*)webView
    createWebViewWithConfiguration:(WKWebViewConfiguration*)configuration
               forNavigationAction:(WKNavigationAction*)navigationAction
                    windowFeatures:(WKWindowFeatures*)windowFeatures {
  if (auto delegate = _delegate.lock())
    delegate->requestNewWindow(_translator->translate(factsOf(navigationAction)));
  return nil;
}

- (void)personTouched {
  if (auto delegate = _delegate.lock()) delegate->personTouched();
}

- (void)webView:(WKWebView*)webView didCommitNavigation:(null_unspecified WKNavigation*)navigation {
  _translator->settled();
}

- (void)webView:(WKWebView*)webView didFinishNavigation:(null_unspecified WKNavigation*)navigation {
  if (auto delegate = _delegate.lock()) delegate->didFinishNavigation();
}

- (void)webView:(WKWebView*)webView
    didFailNavigation:(null_unspecified WKNavigation*)navigation
            withError:(NSError*)error {
  _translator->settled();
  if (auto delegate = _delegate.lock())
    delegate->didFailNavigation(korvane::ios::urlLoadingError(error), false);
}

- (void)webView:(WKWebView*)webView
    didFailProvisionalNavigation:(null_unspecified WKNavigation*)navigation
                       withError:(NSError*)error {
  _translator->settled();
  if (auto delegate = _delegate.lock())
    delegate->didFailNavigation(korvane::ios::urlLoadingError(error), true);
}

- (void)webViewWebContentProcessDidTerminate:(WKWebView*)webView {
  if (auto delegate = _delegate.lock()) delegate->webContentProcessDidTerminate();
}

- (void)webView:(WKWebView*)webView
    runJavaScriptAlertPanelWithMessage:(NSString*)message
                      initiatedByFrame:(WKFrameInfo*)frame
                     completionHandler:(void (^)(void))completionHandler {
  // WebKit raises an exception if the handler runs twice, and waits forever if it never runs.
  auto answered = std::make_shared<std::atomic<bool>>(false);
  void (^answer)(void) = [completionHandler copy];
  auto dismissed = [answered, answer] {
    if (!answered->exchange(true)) answer();
  };
  if (auto delegate = _delegate.lock()) {
    delegate->runAlert(toStdString(message), dismissed);
  } else {
    dismissed();
  }
}

- (void)userContentController:(WKUserContentController*)userContentController
      didReceiveScriptMessage:(WKScriptMessage*)message {
  auto delegate = _delegate.lock();
  if (!delegate) return;
  korvane::ScriptMessage received;
  received.handlerName = toStdString(message.name);
  if ([message.body isKindOfClass:NSString.class]) {
    // No string has more UTF-16 units than its UTF-8 bytes: a long one is refused unconverted.
    NSString* body = message.body;
    if (body.length <= korvane::kMaxScriptMessageBytes) received.body = toStdString(body);
    if (body.length > korvane::kMaxScriptMessageBytes ||
        received.body.size() > korvane::kMaxScriptMessageBytes) {
      korvane::warnOverlongScriptMessage("WKWebView", received.handlerName);
      return;
    }
  } else {
    received.isString = false;
    std::optional<std::string> text =
        korvane::ios::jsonTextFrom(message.body, "script message", korvane::kMaxScriptMessageBytes);
    if (!text) {
      korvane::warnOverlongScriptMessage("WKWebView", received.handlerName);
      return;
    }
    received.body = std::move(*text);
  }
  received.mainFrame = message.frameInfo.isMainFrame;
  received.frameOrigin = originOf(message.frameInfo);
  delegate->didReceiveScriptMessage(received);
}

@end

namespace korvane::ios {

Error urlLoadingError(NSError* error) {
  // WebKitErrorFrameLoadInterruptedByPolicyChange and WebKitErrorPlugInWillHandleLoad.
  const bool stoppedByPolicy = [error.domain isEqualToString:@"WebKitErrorDomain"] &&
                               (error.code == 102 || error.code == 204);
  if (stoppedByPolicy)
    return Error{Error::kUrlLoadingDomain, NSURLErrorCancelled,
                 toStdString(error.localizedDescription), "WKError"};
  return Error{toStdString(error.domain), static_cast<long>(error.code),
               toStdString(error.localizedDescription), "WKError"};
}

namespace {

// One configuration per page, never shared, and the page's look.
WKWebView* makeWebView() {
  WKWebViewConfiguration* configuration = [[WKWebViewConfiguration alloc] init];
  configuration.defaultWebpagePreferences.allowsContentJavaScript = YES;
  configuration.preferences.javaScriptCanOpenWindowsAutomatically = NO;
  configuration.allowsInlineMediaPlayback = YES;
  configuration.mediaTypesRequiringUserActionForPlayback = WKAudiovisualMediaTypeNone;
  // The application name replaces WebKit's own ("Mobile/15E148", which pages read to tell a phone)
  // and WebKit puts the separating blank itself: keep the default and add the SDK's token after it.
  NSString* webKitDefault = configuration.applicationNameForUserAgent;
  NSString* token = toNSString(kSdkUserAgentToken);
  configuration.applicationNameForUserAgent =
      webKitDefault.length > 0 ? [NSString stringWithFormat:@"%@ %@", webKitDefault, token] : token;
  configuration.userContentController = [[WKUserContentController alloc] init];

  WKWebView* view = [[WKWebView alloc] initWithFrame:CGRectZero configuration:configuration];
  view.backgroundColor = UIColor.whiteColor;
  view.opaque = NO;
  view.scrollView.backgroundColor = UIColor.whiteColor;
  view.scrollView.contentInsetAdjustmentBehavior = UIScrollViewContentInsetAdjustmentNever;
  view.scrollView.bounces = YES;
  view.scrollView.alwaysBounceVertical = YES;
  view.scrollView.alwaysBounceHorizontal = NO;
  return view;
}

}  // namespace

WKWebViewPort::WKWebViewPort()
    : view_(makeWebView()),
      relay_([[KorvaneWebViewRelay alloc] init]),
      translator_(std::make_shared<IosNavigationTranslator>()) {
  relay_->_translator = translator_;
  view_.navigationDelegate = relay_;
  view_.UIDelegate = relay_;
  [view_ addGestureRecognizer:[[KorvaneTouchObserver alloc] initWithRelay:relay_]];
}

WKWebViewPort::~WKWebViewPort() {
  for (const std::string& name : handlers_)
    [view_.configuration.userContentController removeScriptMessageHandlerForName:toNSString(name)];
  [view_ stopLoading];
  view_.navigationDelegate = nil;
  view_.UIDelegate = nil;
  [view_ removeFromSuperview];
}

void WKWebViewPort::setDelegate(std::weak_ptr<WebViewDelegate> delegate) {
  relay_->_delegate = std::move(delegate);
}

void WKWebViewPort::addUserScript(const std::string& script) {
  WKUserScript* user = [[WKUserScript alloc] initWithSource:toNSString(script)
                                              injectionTime:WKUserScriptInjectionTimeAtDocumentStart
                                           forMainFrameOnly:NO];
  [view_.configuration.userContentController addUserScript:user];
}

void WKWebViewPort::addScriptMessageHandler(const std::string& name) {
  if (std::find(handlers_.begin(), handlers_.end(), name) != handlers_.end()) return;
  [view_.configuration.userContentController addScriptMessageHandler:relay_ name:toNSString(name)];
  handlers_.push_back(name);
}

void WKWebViewPort::removeScriptMessageHandler(const std::string& name) {
  const auto it = std::find(handlers_.begin(), handlers_.end(), name);
  if (it == handlers_.end()) return;
  handlers_.erase(it);
  [view_.configuration.userContentController removeScriptMessageHandlerForName:toNSString(name)];
}

void WKWebViewPort::load(const WebRequest& request) {
  NSURL* url = [NSURL URLWithString:toNSString(request.url)];
  if (!url) {
    // An address WebKit cannot take is reported like any failed load, after this call returns.
    std::weak_ptr<WebViewDelegate> weak = relay_->_delegate;
    const Error invalid{Error::kUrlLoadingDomain, NSURLErrorBadURL, "Invalid URL: " + request.url,
                        "WKError"};
    dispatch_async(dispatch_get_main_queue(), ^{
      if (auto delegate = weak.lock()) delegate->didFailNavigation(invalid, true);
    });
    return;
  }
  NSMutableURLRequest* urlRequest =
      [NSMutableURLRequest requestWithURL:url
                              cachePolicy:NSURLRequestUseProtocolCachePolicy
                          timeoutInterval:static_cast<double>(request.timeout.count()) / 1000.0];
  for (const auto& [name, value] : request.headers)
    [urlRequest setValue:toNSString(value) forHTTPHeaderField:toNSString(name)];
  translator_->asked(toStdString(url.absoluteString));
  [view_ loadRequest:urlRequest];
}

void WKWebViewPort::loadHtml(const std::string& html, const std::optional<std::string>& baseUrl) {
  NSURL* base = baseUrl ? [NSURL URLWithString:toNSString(*baseUrl)] : nil;
  translator_->asked(base ? toStdString(base.absoluteString) : "about:blank");
  [view_ loadHTMLString:toNSString(html) baseURL:base];
}

void WKWebViewPort::evaluateJavaScript(const std::string& script,
                                       std::function<void(Result<std::string>)> completion) {
  auto done = std::make_shared<std::function<void(Result<std::string>)>>(std::move(completion));
  [view_ evaluateJavaScript:toNSString(script)
          completionHandler:^(id result, NSError* error) {
            if (!*done) return;
            // A script whose value JavaScript calls undefined (a statement) answers null.
            if (error && !([error.domain isEqualToString:WKErrorDomain] &&
                           error.code == WKErrorJavaScriptResultTypeIsUnsupported)) {
              return (*done)(Error{toStdString(error.domain), static_cast<long>(error.code),
                                   toStdString(error.localizedDescription), "WKError"});
            }
            const JsonValue value =
                error ? JsonValue(nullptr)
                      : jsonValueFrom(result, "JavaScript result").value_or(JsonValue(nullptr));
            (*done)(value.dump(-1, ' ', false, JsonValue::error_handler_t::replace));
          }];
}

void WKWebViewPort::reload() {
  translator_->asked(toStdString(view_.URL.absoluteString));
  [view_ reload];
}

void WKWebViewPort::stopLoading() {
  [view_ stopLoading];
}

bool WKWebViewPort::canGoBack() const {
  return view_.canGoBack;
}

void WKWebViewPort::goBack() {
  translator_->asked("");
  [view_ goBack];
}

std::optional<std::string> WKWebViewPort::currentUrl() const {
  return toOptionalString(view_.URL.absoluteString);
}

}  // namespace korvane::ios
