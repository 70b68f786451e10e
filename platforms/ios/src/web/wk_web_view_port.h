#pragma once

#import <WebKit/WebKit.h>

#include <memory>
#include <string>
#include <vector>

#include "korvane/platform/web_view.h"
#include "web/navigation_facts.h"

NS_ASSUME_NONNULL_BEGIN

@class KorvaneWebViewRelay;

namespace korvane::ios {

// The web view port on WKWebView: a fresh configuration per page (JavaScript on, no automatic
// windows, inline media without a gesture, the SDK's product token appended to the user agent);
// user scripts at document start in every frame; script message handlers registered through a
// forwarding object that holds the page's delegate weakly (so the content controller, which
// retains its handlers, never keeps the page alive); the navigation policy answered inside
// decidePolicyForNavigationAction exactly once, with the document that asked (sourceFrame) and
// never the navigation type for a person's gesture: a recogniser that blocks nothing reports the
// person's touches on the view instead; failures and content-process ends reported with
// NSURLErrorDomain codes; alerts answered without showing anything. Main thread only.
class WKWebViewPort final : public WebView {
 public:
  WKWebViewPort();
  ~WKWebViewPort() override;
  WKWebViewPort(const WKWebViewPort&) = delete;
  WKWebViewPort& operator=(const WKWebViewPort&) = delete;

  WKWebView* view() const { return view_; }

  void setDelegate(std::weak_ptr<WebViewDelegate> delegate) override;
  void addUserScript(const std::string& script) override;
  void addScriptMessageHandler(const std::string& name) override;
  void removeScriptMessageHandler(const std::string& name) override;
  void load(const WebRequest& request) override;
  void loadHtml(const std::string& html, const std::optional<std::string>& baseUrl) override;
  void evaluateJavaScript(const std::string& script,
                          std::function<void(Result<std::string>)> completion) override;
  void reload() override;
  void stopLoading() override;
  bool canGoBack() const override;
  void goBack() override;
  std::optional<std::string> currentUrl() const override;
  void* platformObject() const override { return (__bridge void*)view_; }

 private:
  WKWebView* view_;
  KorvaneWebViewRelay* relay_;
  std::shared_ptr<IosNavigationTranslator> translator_;
  std::vector<std::string> handlers_;
};

// A WebKit error in the core's URL-loading terms: a load the navigation policy stopped (or that
// a plug-in took over) counts as cancelled (-999); NSURLErrorDomain errors keep their codes.
Error urlLoadingError(NSError* error);

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
