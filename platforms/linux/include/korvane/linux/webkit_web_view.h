#pragma once

#include <memory>
#include <string>
#include <vector>

#include "korvane/platform/web_view.h"

typedef struct _WebKitWebView WebKitWebView;
typedef struct _WebKitUserScript WebKitUserScript;
typedef struct _GtkWidget GtkWidget;

namespace korvane::linux_host {

// The web view port on WebKitGTK: "window.webkit.messageHandlers.<name>" handlers, document-start
// user scripts for all frames, the navigation policy through "decide-policy", and the SDK's
// product token appended to the user agent. Main thread only. WebKitGTK has no per-request
// timeout; a request's timeout is not applied.
//
// WebKitGTK 4.1 tells a script message's receiver nothing about the frame that sent it, so each
// handler is registered in an isolated script world of the SDK's, where no page script can reach
// it. The page's "window.webkit.messageHandlers.<name>.postMessage" is a small relay that hands the
// message to that world through an event on the frame's own document; a listener there, in every
// frame, adds what its world sees of the frame (whether it is the top frame, and its security
// origin) and posts it on. Page scripts cannot change the listener's view of its frame, nor reach
// another origin's document, so the report cannot be forged.
class WebKitWebViewPort final : public WebView {
 public:
  WebKitWebViewPort();
  ~WebKitWebViewPort() override;
  WebKitWebViewPort(const WebKitWebViewPort&) = delete;
  WebKitWebViewPort& operator=(const WebKitWebViewPort&) = delete;

  GtkWidget* widget() const;

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

  struct Signals;

 private:
  WebKitWebView* view_;
  std::shared_ptr<Signals> signals_;
  struct Handler {
    std::string name;
    WebKitUserScript* relay;     // the page's postMessage
    WebKitUserScript* listener;  // in the SDK's world
  };
  std::vector<Handler> handlers_;
};

// A WebKitGTK load error as the URL-loading error the core reasons about: a cancelled load
// (including one the navigation policy stopped) is -999; a refused, unreachable or unresolvable
// host is "not connected" (-1009), since WebKitGTK has no separate offline error; a timeout is
// -1001 and a connection closed mid-way -1005; anything else keeps its text with code -1.
Error urlLoadingError(const char* domain, int code, const std::string& message);

}  // namespace korvane::linux_host
