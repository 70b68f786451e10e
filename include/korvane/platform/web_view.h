#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/platform/http_client.h"
#include "korvane/values/error.h"

namespace korvane {

struct WebRequest {
  std::string url;
  HttpHeaders headers;  // sent with this load only
  std::chrono::milliseconds timeout{60000};
};

// A frame's document as the engine reports it, never as a page script could describe it: whether
// it is the page's main frame, and its security origin ("scheme://host" or "scheme://host:port";
// empty when the origin is opaque).
struct FrameFacts {
  bool mainFrame = false;
  std::string origin{};
};

// A navigation the engine asks about. `mainFrame` is whether the frame that navigates (the
// target) is the page's main frame. `source` is the document that asked for it, when the engine
// says which (WebKit on iOS does; WebKitGTK does not, and then it is empty: who asked is
// unknown). `fromSdk` marks the SDK's own load (the request the port was asked to load, a reload,
// going back) and that load's server redirects. Whether a person started it is not here: engines
// tell it from what a navigation looks like (iOS: a script's click is link activation) or count
// scripts the host evaluates as a person's (both), so ports report the person's touches from the
// platform's input system instead (WebViewDelegate::personTouched).
struct NavigationAction {
  std::string url;
  bool mainFrame = true;
  std::optional<FrameFacts> source{};
  bool fromSdk = false;
};

enum class NavigationPolicy { allow, cancel };

// A message a page posted to a script message handler. A string body arrives as is; any other
// value arrives as its JSON text with isString false. The sender's frame is described by what the
// engine knows, never by anything the page could set: whether it is the page's main frame, and
// its security origin ("scheme://host" or "scheme://host:port"; empty when the engine cannot tell
// or the origin is opaque). The core decides what the sender may do.
struct ScriptMessage {
  std::string handlerName;
  std::string body;
  bool isString = true;
  bool mainFrame = true;
  std::string frameOrigin{};
};

// The longest script message body, in bytes of UTF-8 (of its JSON text for a body that is not a
// string), that a port hands on and the core reads. The bridge's own messages are a few KB; the
// limit leaves them ample room and keeps any frame from making the main thread read megabytes.
inline constexpr std::size_t kMaxScriptMessageBytes = 256 * 1024;

// Writes, under `tag`, the one warning line that refuses a script message to `handlerName` for
// being longer than kMaxScriptMessageBytes. The body is not logged.
void warnOverlongScriptMessage(std::string_view tag, std::string_view handlerName);

// What a web view reports, always on the main thread.
class WebViewDelegate {
 public:
  virtual ~WebViewDelegate() = default;
  virtual NavigationPolicy decidePolicy(const NavigationAction& action) = 0;
  // The page asked for a new window (a target="_blank" link, window.open). The web view makes
  // none; the delegate decides where the address goes.
  virtual void requestNewWindow(const NavigationAction& action) = 0;
  virtual void didFinishNavigation() = 0;
  // `provisional` is true when the page never started loading.
  virtual void didFailNavigation(const Error& error, bool provisional) = 0;
  virtual void webContentProcessDidTerminate() = 0;
  virtual void didReceiveScriptMessage(const ScriptMessage& message) = 0;
  // A person's touch or click ended on this web view, as the platform's input system reports it
  // (never the engine, never a page). Reported before the engine acts on it.
  virtual void personTouched() {}
  // A page's alert(); `dismissed` must be called once the person has seen it.
  virtual void runAlert(const std::string& message, std::function<void()> dismissed) = 0;
};

// One web view. Only used on the main thread. The delegate is held weakly: a web view never
// keeps its owner alive.
class WebView {
 public:
  virtual ~WebView() = default;
  virtual void setDelegate(std::weak_ptr<WebViewDelegate> delegate) = 0;
  // Installs `script` in every frame at document start, before any page script runs.
  virtual void addUserScript(const std::string& script) = 0;
  // Registers a script message handler reachable as window.webkit.messageHandlers.<name>.
  virtual void addScriptMessageHandler(const std::string& name) = 0;
  virtual void removeScriptMessageHandler(const std::string& name) = 0;
  virtual void load(const WebRequest& request) = 0;
  virtual void loadHtml(const std::string& html, const std::optional<std::string>& baseUrl) = 0;
  // The completion gets the result as JSON text ("null" for undefined) or the script's error.
  virtual void evaluateJavaScript(const std::string& script,
                                  std::function<void(Result<std::string>)> completion) = 0;
  virtual void reload() = 0;
  virtual void stopLoading() = 0;
  virtual bool canGoBack() const = 0;
  virtual void goBack() = 0;
  virtual std::optional<std::string> currentUrl() const = 0;
  // The platform's own view (a WKWebView on iOS), for the platform's other ports; null when it
  // has none.
  virtual void* platformObject() const { return nullptr; }
};

}  // namespace korvane
