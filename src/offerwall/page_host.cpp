#include "offerwall/page_host.h"

#include <algorithm>
#include <cstdint>

#include "korvane/util/logger.h"
#include "offerwall/bridge_access.h"
#include "offerwall/bridge_scripts.h"
#include "offerwall/navigation_policy.h"
#include "offerwall/outside_opening.h"
#include "util/url_text.h"

namespace korvane {

PageHost::PageHost(Context context, BridgeHostKind kind, std::string tag)
    : context_(std::move(context)),
      platform_(context_->platform()),
      device_(context_->device()),
      backend_(context_->backend()),
      kind_(kind),
      tag_(std::move(tag)) {}

PageHost::~PageHost() {
  detach();
}

void PageHost::attach(WebView& webView) {
  webView_ = &webView;
  // The web view holds its delegate weakly, so the page never keeps its host alive.
  webView.setDelegate(weak_from_this());
  webView.addScriptMessageHandler(kBridgeHandlerName);
  webView.addUserScript(postMessagePolyfillScript());
}

void PageHost::detach() {
  if (!webView_) return;
  webView_->removeScriptMessageHandler(kBridgeHandlerName);
  retireWebView();
}

void PageHost::retireWebView() {
  if (!webView_) return;
  networkWatch_.reset();
  webView_->stopLoading();
  webView_->setDelegate({});
  webView_ = nullptr;
}

bool PageHost::networkAvailable() const {
  return !platform().reachability || platform().reachability->isConnected();
}

std::int64_t PageHost::nowMillis() const {
  return platform().clock ? platform().clock->nowMillis() : 0;
}

void PageHost::loadInPage(const WebRequest& request) {
  if (!webView_) return;
  offlineShown_ = false;
  networkWatch_.reset();
  webView_->load(request);
}

void PageHost::loadComposed(bool includeQuizItems) {
  lastOwnLoad_ = OwnLoad{OwnLoad::Kind::composed, includeQuizItems, {}};
  if (!networkAvailable()) {
    KorvaneLogger::w(tag_, "No network connection detected, showing offline UI");
    return showOfflinePage();
  }
  platform().mainThread->post([weak = weak_from_this(), includeQuizItems] {
    auto self = weak.lock();
    if (!self || !self->webView_) return;
    DeviceUtils& device = *self->device_;
    self->page_.advertisingId = device.getAdvertisingId();
    self->advertisingIdKnown_ = true;
    OfferwallDevice facts;
    facts.deviceId = device.getDeviceId();
    facts.osVersion = device.getOsVersion();
    facts.deviceModel = device.getDeviceModel();
    if (self->platform().device) {
      // In points, as the page lays out; the device record keeps the pixels.
      if (std::optional<ScreenPoints> screen = self->platform().device->screenPoints()) {
        facts.screenWidth = screen->width;
        facts.screenHeight = screen->height;
      }
    }
    facts.sessionId = self->backend_->sessionId();
    facts.timestampMillis = self->platform().clock->nowMillis();
    std::optional<std::string> url = composeOfferwallUrl(self->page_, facts, includeQuizItems);
    if (!url) {
      KorvaneLogger::e(self->tag_, self->kind_ == BridgeHostKind::controller
                                       ? "Invalid offerwall URL, cannot build request"
                                       : "Invalid offerwall URL");
      if (self->kind_ == BridgeHostKind::embeddedView) self->reportError("Invalid offerwall URL");
      return;
    }
    KorvaneLogger::d(self->tag_, "Loading offerwall URL: " + *url);
    const WebRequest request = offerwallRequest(*url, self->page_);
    self->refusedSchemes_.clear();
    self->identifiedOrigin_ = url::origin(*url).value_or("");
    self->identifies_ = !request.headers.empty();
    self->identificationInFlight_ = self->identifies_;
    self->loadInPage(request);
  });
}

void PageHost::loadAsGiven(const std::string& url) {
  if (!webView_ || !url::isValid(url)) return;
  lastOwnLoad_ = OwnLoad{OwnLoad::Kind::asGiven, false, url};
  // Inner pages are the offerwall's too: those of its trusted origins get the identifier.
  page_.advertisingId = device_->getAdvertisingId();
  advertisingIdKnown_ = true;
  identificationInFlight_ = false;
  ownLoadOrigin_.reset();
  refusedSchemes_.clear();
  loadInPage(plainRequest(url));
}

void PageHost::showOfflinePage() {
  KorvaneLogger::d(tag_, "Showing offline UI");
  // Shown for a missing network path, the page reloads once there is one again, even if it came
  // back before the page went in. Shown for a failed load on a working path (a server that
  // drops the connection), it waits for the next change, or it would reload without end.
  const bool offline = !networkAvailable();
  platform().mainThread->post([weak = weak_from_this(), offline] {
    auto self = weak.lock();
    if (!self || !self->webView_) return;
    self->identificationInFlight_ = false;
    self->ownLoadOrigin_.reset();
    self->offlineShown_ = true;
    self->webView_->loadHtml(offlinePageHtml(), std::nullopt);
    self->watchForNetwork();
    if (offline && self->networkAvailable()) self->recoverFromOffline();
  });
}

void PageHost::watchForNetwork() {
  if (!platform().reachability) return;
  // The platform calls from a thread of its choosing; the page is the main thread's.
  networkWatch_ = platform().reachability->subscribe(
      [weak = weak_from_this(), mainThread = platform().mainThread](bool connected) {
        if (!connected) return;
        mainThread->post([weak] {
          if (auto self = weak.lock()) self->recoverFromOffline();
        });
      });
}

// The offline page's own close control stays until the reload replaces the page.
void PageHost::recoverFromOffline() {
  if (!webView_ || !offlineShown_ || !lastOwnLoad_ || !networkAvailable()) return;
  networkWatch_.reset();
  KorvaneLogger::i(tag_, "Network connection is back, loading the offerwall again");
  const OwnLoad load = *lastOwnLoad_;
  switch (load.kind) {
    case OwnLoad::Kind::composed:
      return loadComposed(load.includeQuizItems);
    case OwnLoad::Kind::asGiven:
      return loadAsGiven(load.url);
    case OwnLoad::Kind::retry:
      return retryLoad();
  }
}

void PageHost::retryLoad() {
  KorvaneLogger::d(tag_, "Handling retry message");
  platform().mainThread->post([weak = weak_from_this()] {
    auto self = weak.lock();
    if (!self || !self->webView_) return;
    if (!self->networkAvailable()) {
      KorvaneLogger::w(self->tag_, "Network still unavailable, showing offline UI");
      return self->showOfflinePage();
    }
    // The retry loads the bare base address: no query items, no headers.
    const std::optional<std::string>& base = self->page_.baseUrl;
    if (!base || !url::isValid(*base)) return KorvaneLogger::w(self->tag_, "No URL to retry");
    KorvaneLogger::d(self->tag_, "Retrying with URL: " + *base);
    self->lastOwnLoad_ = OwnLoad{OwnLoad::Kind::retry, false, {}};
    self->identificationInFlight_ = false;
    self->refusedSchemes_.clear();
    self->loadInPage(plainRequest(*base));
    // The offerwall's own address again: its redirects are judged as the first load's are.
    self->ownLoadOrigin_ = url::origin(*base).value_or("");
  });
}

void PageHost::reloadPage() {
  if (!webView_) return;
  identificationInFlight_ = identifies_;
  webView_->reload();
}

void PageHost::evaluateInPage(const std::string& script,
                              std::function<void(Result<std::string>)> completion) {
  if (!webView_) return;
  webView_->evaluateJavaScript(script, [completion = std::move(completion)](Result<std::string> r) {
    if (completion) completion(std::move(r));
  });
}

void PageHost::openAdjoeFromPage(const std::string& placementId,
                                 std::shared_ptr<OfferwallCallback> callback,
                                 PresentationAnchor* over) {
  if (context_->placements())
    context_->placements()->openAdjoeOfferwall(context_, placementId, std::move(callback), over);
}

namespace {

OutsideOpening purposeOf(NavigationDecision decision) {
  return decision == NavigationDecision::openWithSystem ? OutsideOpening::app
                                                        : OutsideOpening::browser;
}

}  // namespace

NavigationPolicy PageHost::decidePolicy(const NavigationAction& action) {
  const std::string& url = action.url;
  const NavigationDecision decision = decideNavigation(url);
  if (handsToSystem(decision)) {
    // A scheme that may never leave is refused before anything else, so it spends no touch.
    if (!mayOpenOutside(url, purposeOf(decision))) {
      KorvaneLogger::w(tag_, outsideOpeningRefusal(url));
      return NavigationPolicy::cancel;
    }
    const std::string scheme = lowerCaseScheme(url);
    if (offScreen_) {
      KorvaneLogger::w(tag_, "🚫 Not opening a " + scheme +
                                 ": address: the page is kept off screen, nobody sees it");
      return NavigationPolicy::cancel;
    }
    const bool refused =
        std::find(refusedSchemes_.begin(), refusedSchemes_.end(), scheme) != refusedSchemes_.end();
    const OpeningJudgement judgement =
        judgeOutsideOpening(*trust_, action, refused, touches_, nowMillis());
    switch (judgement.verdict) {
      case OpeningJudgement::Verdict::open:
        handToSystem(url, decision);
        break;
      case OpeningJudgement::Verdict::ask:
        askBeforeOpening(url, decision, judgement.reason);
        break;
      case OpeningJudgement::Verdict::refuse:
        KorvaneLogger::w(tag_, "🚫 Not opening a " + scheme + ": address: " + judgement.reason);
        break;
    }
    return NavigationPolicy::cancel;
  }
  if (decision == NavigationDecision::closeOfferwall) {
    platform().mainThread->post([weak = weak_from_this()] {
      if (auto self = weak.lock()) self->closeFromPage();
    });
    return NavigationPolicy::cancel;
  }
  // Whatever replaces the SDK's offline page is not it.
  if (!action.fromSdk) offlineShown_ = false;
  return action.mainFrame ? followOwnLoad(url) : NavigationPolicy::allow;
}

void PageHost::handToSystem(const std::string& url, NavigationDecision decision) {
  switch (decision) {
    case NavigationDecision::openAppStore:
      return openOutside(url, purposeOf(decision), "✅ Opened App Store: " + url,
                         "❌ Failed to open App Store: " + url);
    case NavigationDecision::openUniversalLink:
      return openOutside(url, OutsideOpening::browser,
                         "✅ Opened App Store (Universal Link): " + url,
                         "❌ Failed to open App Store (Universal Link): " + url);
    case NavigationDecision::openWithSystem:
      return openOutside(url, OutsideOpening::app, "✅ Opened custom scheme: " + url,
                         "❌ Failed to open custom scheme: " + lowerCaseScheme(url) +
                             ":// (app not installed or launch failed)");
    case NavigationDecision::allow:
    case NavigationDecision::closeOfferwall:
      return;
  }
}

void PageHost::askBeforeOpening(const std::string& url, NavigationDecision decision,
                                const std::string& reason) {
  const std::string refusal =
      "🚫 Not opening a " + lowerCaseScheme(url) + ": address without a person's touch: " + reason;
  if (!platform().prompt || !webView_)
    return KorvaneLogger::w(tag_, refusal + "; there is no one to ask");
  if (questionOpen_)
    return KorvaneLogger::w(tag_, refusal + "; the person is being asked about another address");
  if (declined_) {
    return KorvaneLogger::w(tag_,
                            refusal + "; the person said no and has not touched the page since");
  }
  KorvaneLogger::w(tag_, refusal + "; asking the person");
  questionOpen_ = true;
  platform().prompt->ask(*webView_, outsideOpeningQuestion(url),
                         [weak = weak_from_this(), url, decision](bool yes) {
                           auto self = weak.lock();
                           // A page that left the screen opens nothing for a late answer.
                           if (!self || !self->webView_) return;
                           self->questionOpen_ = false;
                           if (yes) return self->handToSystem(url, decision);
                           self->declined_ = true;
                           self->refusedSchemes_.push_back(lowerCaseScheme(url));
                           KorvaneLogger::i(self->tag_, "The person chose not to open " + url);
                         });
}

void PageHost::personTouched() {
  touches_.touched(nowMillis());
  declined_ = false;
}

// Pages have no windows besides their own: an address meant for a new one follows the same
// policy as a navigation of the page, and what may load in the page loads there (without the
// identification headers, which are for the offerwall's own address).
void PageHost::requestNewWindow(const NavigationAction& action) {
  const std::string& url = action.url;
  if (url.empty() || url == "about:blank") return;
  if (decideNavigation(url) != NavigationDecision::allow) {
    // As a navigation of the main frame, asked for by whoever the engine says asked.
    NavigationAction asNavigation = action;
    asNavigation.mainFrame = true;
    decidePolicy(asNavigation);
    return;
  }
  KorvaneLogger::d(tag_, "Loading a new window's address in the page: " + url);
  if (!webView_) return;
  identificationInFlight_ = false;
  ownLoadOrigin_.reset();
  loadInPage(plainRequest(url));
}

NavigationPolicy PageHost::followOwnLoad(const std::string& url) {
  const std::string to = url::origin(url).value_or("");
  if (identificationInFlight_) {
    // Only an origin both addresses have is the same: two without one are not alike.
    if (!to.empty() && to == identifiedOrigin_) return NavigationPolicy::allow;
    judgeRedirect(identifiedOrigin_, to);
    return loadWithoutIdentification(url);
  }
  if (ownLoadOrigin_ && to != *ownLoadOrigin_) {
    judgeRedirect(*ownLoadOrigin_, to);
    ownLoadOrigin_ = to;
  }
  return NavigationPolicy::allow;
}

void PageHost::judgeRedirect(const std::string& from, const std::string& to) {
  if (!trust_->policyEnabled || to.empty() || trust_->trusts(to)) return;
  if (trust_->trusts(from) && redirectKeepsTrust(from, to)) {
    trust_->add(to);
    KorvaneLogger::i(tag_, "Offerwall address redirected to " + to + " on the same site as " +
                               from + ": its pages keep the bridge");
    return;
  }
  KorvaneLogger::w(tag_, untrustedRedirectWarning(to));
}

NavigationPolicy PageHost::loadWithoutIdentification(const std::string& url) {
  identificationInFlight_ = false;
  KorvaneLogger::i(tag_,
                   "Offerwall address redirected to another origin, loading it without the "
                   "identification headers: " +
                       url);
  platform().mainThread->post([weak = weak_from_this(), url] {
    auto self = weak.lock();
    if (!self || !self->webView_) return;
    self->loadInPage(plainRequest(url));
    // Still the offerwall's own load: its further redirects are judged as well.
    self->ownLoadOrigin_ = url::origin(url).value_or("");
  });
  return NavigationPolicy::cancel;
}

void PageHost::openOutside(const std::string& url, OutsideOpening purpose,
                           const std::string& opened, const std::string& failed) {
  if (!mayOpenOutside(url, purpose)) return KorvaneLogger::w(tag_, outsideOpeningRefusal(url));
  platform().mainThread->post([opener = platform().urlOpener, tag = tag_, url, opened, failed] {
    if (!opener) return KorvaneLogger::w(tag, failed);
    opener->open(url, [tag, opened, failed](bool ok) {
      if (ok) {
        KorvaneLogger::d(tag, opened);
      } else {
        KorvaneLogger::w(tag, failed);
      }
    });
  });
}

void PageHost::didFinishNavigation() {
  KorvaneLogger::d(tag_, "Page loaded successfully");
  identificationInFlight_ = false;
  ownLoadOrigin_.reset();
  if (!webView_) return;
  webView_->evaluateJavaScript(korvaneBridgeScript(), [tag = tag_](Result<std::string> outcome) {
    if (outcome) {
      KorvaneLogger::d(tag, "JavaScript bridge injected successfully");
    } else {
      KorvaneLogger::e(tag, "Failed to inject JavaScript bridge: " + outcome.error().description);
    }
  });
  // The identifier is for the offerwall's own pages, not for whatever the web view came to show
  // (a link followed, a new window's address, a redirect elsewhere): the document it reaches
  // decides, when the script runs, by its own origin.
  if (advertisingIdKnown_) {
    const std::string script = advertisingIdScript(page_.advertisingId);
    webView_->evaluateJavaScript(
        trust_->policyEnabled ? forDocumentsOf(trust_->origins, script) : script, nullptr);
  }
  afterPageLoaded();
}

void PageHost::didFailNavigation(const Error& error, bool provisional) {
  identificationInFlight_ = false;
  // A cancelled navigation (the redirect stopped above among them) does not end the own load.
  if (respondToLoadFailure(error.code) != LoadFailureResponse::ignore) ownLoadOrigin_.reset();
  KorvaneLogger::e(tag_,
                   (provisional ? "WebView provisional navigation error: " : "WebView error: ") +
                       error.description);
  switch (respondToLoadFailure(error.code)) {
    case LoadFailureResponse::ignore:
      return;
    case LoadFailureResponse::showOfflinePage:
      return showOfflinePage();
    case LoadFailureResponse::reportError:
      return reportError("Failed to load offerwall: " + error.description);
  }
}

void PageHost::webContentProcessDidTerminate() {
  KorvaneLogger::w(tag_, "WebView content process terminated, reloading");
  reloadPage();
}

void PageHost::didReceiveScriptMessage(const ScriptMessage& message) {
  onScriptMessage(message);
}

void PageHost::runAlert(const std::string&, std::function<void()> dismissed) {
  if (dismissed) dismissed();
}

}  // namespace korvane
