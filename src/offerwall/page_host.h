#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "context/sdk_context.h"
#include "korvane/offerwall/offerwall_callback.h"
#include "korvane/platform/platform_services.h"
#include "korvane/platform/web_view.h"
#include "offerwall/bridge_dispatcher.h"
#include "offerwall/navigation_policy.h"
#include "offerwall/offerwall_url.h"
#include "offerwall/outside_opening.h"

namespace korvane {

class PresentationAnchor;

// What both page hosts do with one web view: set it up for the bridge, load the composed
// offerwall address (or an inner page's address as given), show the offline page, retry, apply
// the navigation policy and answer load failures. Main thread only; the web view holds it
// weakly.
class PageHost : public WebViewDelegate, public std::enable_shared_from_this<PageHost> {
 public:
  PageHost(Context context, BridgeHostKind kind, std::string tag);
  ~PageHost() override;

  OfferwallPage& page() { return page_; }
  const OfferwallPage& page() const { return page_; }
  WebView* webView() const { return webView_; }
  // The origins this page trusts with the bridge and the advertising id; shared with its bridge.
  const std::shared_ptr<BridgeTrust>& trust() const { return trust_; }
  void setTrust(std::shared_ptr<BridgeTrust> trust) { trust_ = std::move(trust); }

  // Makes this the web view's delegate, registers "korvaneNative" and the polyfill.
  void attach(WebView& webView);
  // Removes the handler, stops loading and stops being the delegate.
  void detach();
  // Stops loading and stops being the delegate (the page was replaced).
  void retireWebView();

  // Tests the network, then loads the composed address with its headers (or the offline page).
  void loadComposed(bool includeQuizItems);
  void loadAsGiven(const std::string& url);
  void retryLoad();
  // Loads the page shown again; its redirects are judged as the composed load's are, since a
  // reload sends again whatever headers the page was loaded with.
  void reloadPage();
  void showOfflinePage();
  // Whether the page shows the SDK's own offline page (loaded by the SDK, not navigated to).
  bool offlinePageShown() const { return offlineShown_; }
  // A page kept off screen (loaded ahead of its opening) sends nobody out of the app: no person
  // sees it, so no touch or question can stand for them.
  void setOffScreen(bool offScreen) { offScreen_ = offScreen; }
  bool offScreen() const { return offScreen_; }
  void evaluateInPage(const std::string& script,
                      std::function<void(Result<std::string>)> completion);
  void openAdjoeFromPage(const std::string& placementId,
                         std::shared_ptr<OfferwallCallback> callback, PresentationAnchor* over);

  // WebViewDelegate
  NavigationPolicy decidePolicy(const NavigationAction& action) override;
  void requestNewWindow(const NavigationAction& action) override;
  void didFinishNavigation() override;
  void didFailNavigation(const Error& error, bool provisional) override;
  void webContentProcessDidTerminate() override;
  void didReceiveScriptMessage(const ScriptMessage& message) override;
  void personTouched() override;
  void runAlert(const std::string& message, std::function<void()> dismissed) override;

 protected:
  // "korvane://close" and the offline page's close button.
  virtual void closeFromPage() = 0;
  virtual void reportError(const std::string& message) = 0;
  virtual void onScriptMessage(const ScriptMessage& message) = 0;
  // Runs after the bridge script went in (the embedded view measures the page).
  virtual void afterPageLoaded() {}

  const PlatformServices& platform() const { return platform_; }
  const Context& context() const { return context_; }
  const std::string& tag() const { return tag_; }
  BridgeHostKind kind() const { return kind_; }

 private:
  bool networkAvailable() const;
  std::int64_t nowMillis() const;
  // While the offline page shows, the network coming back loads the SDK's last own load again.
  void watchForNetwork();
  void recoverFromOffline();
  // Every load the SDK starts in the page goes through here.
  void loadInPage(const WebRequest& request);
  // Hands an address the navigation policy sends out to the system.
  void handToSystem(const std::string& url, NavigationDecision decision);
  // An opening nobody vouched for: the person decides, one question at a time.
  void askBeforeOpening(const std::string& url, NavigationDecision decision,
                        const std::string& reason);
  void openOutside(const std::string& url, OutsideOpening purpose, const std::string& opened,
                   const std::string& failed);
  // Web engines carry a request's headers along its redirects; the identification headers are
  // for the offerwall address's origin only, so a redirect elsewhere is stopped and its target
  // loaded again without them.
  NavigationPolicy loadWithoutIdentification(const std::string& url);
  // A main-frame navigation while the offerwall's own load is under way is its server's redirect.
  NavigationPolicy followOwnLoad(const std::string& url);
  // A redirect of the offerwall's own load that stays with a trusted site keeps the bridge.
  void judgeRedirect(const std::string& from, const std::string& to);

  Context context_;
  // What the page runs on, taken when the host is made, as one session has it: the page keeps
  // the platform's screens and threads, the device and the backend alive as long as it lives.
  PlatformServices platform_;
  std::shared_ptr<DeviceUtils> device_;
  std::shared_ptr<NetworkManager> backend_;
  BridgeHostKind kind_;
  std::string tag_;
  OfferwallPage page_;
  WebView* webView_ = nullptr;  // owned by its screen
  bool advertisingIdKnown_ = false;
  bool offlineShown_ = false;
  TouchWindow touches_;
  bool questionOpen_ = false;
  // The person said no; the page is not asked again until they touch it.
  bool declined_ = false;
  // The schemes the person said no to, until the SDK loads the page anew.
  std::vector<std::string> refusedSchemes_;
  // The composed load carried the identification headers: a reload sends them again.
  bool identifies_ = false;
  // The composed address's load with its identification headers, until it finishes or fails.
  bool identificationInFlight_ = false;
  std::string identifiedOrigin_;
  // Where the offerwall's own load went once a redirect took it to another origin (it goes on
  // without the headers), until it finishes or fails.
  std::optional<std::string> ownLoadOrigin_;
  std::shared_ptr<BridgeTrust> trust_ = std::make_shared<BridgeTrust>();
  bool offScreen_ = false;
  // The SDK's last own load of the page, which the offline page gives way to when the network
  // comes back: the composed address (with or without the quiz items), an address as given, or
  // the bare base address of a retry.
  struct OwnLoad {
    enum class Kind { composed, asGiven, retry } kind = Kind::composed;
    bool includeQuizItems = true;
    std::string url;
  };
  std::optional<OwnLoad> lastOwnLoad_;
  // Held while the offline page shows; destroyed first, before the platform it observes.
  Subscription networkWatch_;
};

}  // namespace korvane
