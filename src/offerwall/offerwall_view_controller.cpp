#include "korvane/offerwall/offerwall_view_controller.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "korvane/platform/screen_presenter.h"
#include "korvane/util/logger.h"
#include "offerwall/bridge_dispatcher.h"
#include "offerwall/bridge_scripts.h"
#include "offerwall/callback_slots.h"
#include "offerwall/navigation_policy.h"
#include "offerwall/offerwall_url.h"
#include "offerwall/offscreen_offerwall.h"
#include "offerwall/page_host.h"
#include "util/url_text.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneOfferwallViewController";
constexpr const char* kBackButtonTitle = "< 뒤로";
// What a page kept off screen may post before it is shown: far more than a page sends while it
// loads, few enough that a page cannot make the SDK hold much.
constexpr std::size_t kMaxHeldMessages = 64;
// How long openings wait for a closing page to leave the screen. A dismissal takes well under a
// second; one whose completion the platform never delivers must not hold every later opening.
constexpr std::chrono::seconds kClosingWaitLimit{2};

// The title the native bar shows: the base address's host without a leading "www.".
std::string navigationTitle(const std::optional<std::string>& baseUrl) {
  const std::string fallback = "Adjoe Offerwall";
  if (!baseUrl || !url::isValid(*baseUrl)) return fallback;
  const std::size_t start = baseUrl->find("://");
  if (start == std::string::npos) return fallback;
  std::string host = baseUrl->substr(start + 3);
  host = host.substr(0, host.find_first_of("/?#"));
  if (const std::size_t at = host.rfind('@'); at != std::string::npos) host = host.substr(at + 1);
  // An IPv6 address is the text between its brackets; any other host ends at its port.
  if (host.starts_with('[')) {
    const std::size_t end = host.find(']');
    host = end == std::string::npos ? std::string() : host.substr(1, end - 1);
  } else {
    host = host.substr(0, host.find(':'));
  }
  if (host.empty()) return fallback;
  return host.rfind("www.", 0) == 0 ? host.substr(4) : host;
}

}  // namespace

// The controller's behaviour: the page host, the bridge host and the web view's delegate.
class OfferwallControllerImpl final : public PageHost, public BridgeHost {
 public:
  OfferwallControllerImpl(std::weak_ptr<KorvaneOfferwallViewController> owner, Context context)
      : PageHost(std::move(context), BridgeHostKind::controller, std::string(kTag)),
        owner_(std::move(owner)),
        slots_(this->context()->offerwallSlots()) {}
  // The web view belongs to the screen, so let go of it before the screen goes.
  ~OfferwallControllerImpl() override {
    detach();
    if (closing_) releaseWaitingOpenings();
  }

  bool present(PresentationAnchor* over, bool inNavigationContainer);
  bool prepareOffScreen(std::function<void()> lost);
  void attachScreen(std::function<std::unique_ptr<Screen>(const ScreenOptions&)> makeScreen);
  // Takes a screen another controller made for it (the slide-up replacement) and loads.
  void adoptScreen(std::unique_ptr<Screen> screen);
  void closeProcedure();
  void dismiss(bool animated);

  // BridgeHost
  void openPage(const std::string& url) override { openInnerPage(url, true); }
  void closePage() override;
  void retry() override { retryLoad(); }
  void replacePage(const std::string& url) override;
  void replacePageWithoutUrl() override {
    KorvaneLogger::w(kTag, "closeOpenWebView: No URL provided");
  }
  void openAdjoeOfferwall(const std::string& placementId,
                          std::shared_ptr<OfferwallCallback> callback) override;
  void evaluate(const std::string& script,
                std::function<void(Result<std::string>)> completion) override {
    evaluateInPage(script, std::move(completion));
  }
  std::shared_ptr<OfferwallEventCallback> eventCallback() const override {
    return slots_->eventCallback;
  }
  bool isSubPage() const override { return owner() && owner()->isSubWebView; }
  std::string contextType() const override {
    return owner() ? owner()->contextType : std::string("offerwall");
  }
  std::optional<std::string> quizId() const override {
    return owner() ? owner()->quizId : std::nullopt;
  }
  bool showsOfflinePage() const override { return offlinePageShown(); }

  // PageHost
  void closeFromPage() override {
    if (offScreen()) return offScreenPageLost("it closed itself");
    closePage();
  }
  // Inner pages report their load failures too; only a missing address is the root's alone.
  void reportError(const std::string& message) override {
    if (offScreen()) return offScreenPageLost(message);
    if (ownsCallback() && slots_->offerwallCallback) slots_->offerwallCallback->onError(message);
  }
  // A page off screen belongs to no opening yet: what it posts waits for the page to be shown,
  // and is judged then as any message is.
  void onScriptMessage(const ScriptMessage& message) override {
    if (!offScreen()) return dispatcher_->receive(message);
    // "close" is the one message any frame may send: a page that ends itself is of no use.
    if (const std::optional<BridgeMessage> parsed =
            parseBridgeMessage(message, BridgeHostKind::controller, kTag);
        parsed && isHarmlessBridgeMessage(parsed->type))
      return offScreenPageLost("it closed itself");
    if (heldMessages_.size() < kMaxHeldMessages) return heldMessages_.push_back(message);
    KorvaneLogger::w(kTag, "A page kept off screen posted more than " +
                               std::to_string(kMaxHeldMessages) + " messages; dropping the rest");
  }

  bool isPresented() const { return screen_ != nullptr && !dismissing_ && !offScreen(); }
  Screen* screen() const { return screen_.get(); }
  static void returnToOpenerWhenEnded(KorvaneOfferwallViewController& controller,
                                      OfferwallOpening opener) {
    controller.impl_->opener_ = std::move(opener);
  }
  static OfferwallSlots& slotsOf(const KorvaneOfferwallViewController& controller) {
    return *controller.impl_->slots_;
  }
  static bool loadOffScreen(KorvaneOfferwallViewController& controller,
                            std::function<void()> lost) {
    return controller.impl_->prepareOffScreen(std::move(lost));
  }
  static bool isOffScreen(const KorvaneOfferwallViewController& controller) {
    return controller.impl_->screen_ && controller.impl_->offScreen();
  }

 private:
  std::shared_ptr<KorvaneOfferwallViewController> owner() const { return owner_.lock(); }
  ScreenOptions screenOptions(bool inNavigationContainer) const;
  // Trust, bridge, screen handlers and the page's fields: what every page is set up with.
  void setUpPage();
  void viewDidLoad();
  // Shows the page kept off screen; what it posted meanwhile is dispatched now.
  bool presentPrepared(PresentationAnchor* over);
  void offScreenPageLost(const std::string& why);
  void dismissedBySystem();
  void fireOnClosedOnce();
  void finishDismissal();
  // The pages opened over this first page leave with it, last opened first, without animation.
  void dismissInnerPages();
  // A page the platform refuses while a transition runs (this page still sliding in) is asked
  // for once more when it has ended, as closes wait for it.
  void openInnerPage(const std::string& url, bool mayWait);
  // No newer opening has started since this page's: the callbacks set now are its own.
  bool ownsCallback() const;
  // From the moment its close starts (before onClosed) until it has left the screen, the page
  // holds back new openings (see OfferwallSlots::whenNoneClosing).
  void beginClosing();
  void endClosing();
  // The openings that waited run once no page is closing any more.
  void releaseWaitingOpenings();

  std::weak_ptr<KorvaneOfferwallViewController> owner_;
  // The session's slots this page reports to; inner pages take their first page's.
  std::shared_ptr<OfferwallSlots> slots_;
  std::shared_ptr<BridgeDispatcher> dispatcher_;
  std::unique_ptr<Screen> screen_;
  bool dismissing_ = false;
  // A dismissal the platform could not start yet waits for the running transition to end.
  bool dismissWaiting_ = false;
  // A page that slid up over this one and replaced its web view.
  std::shared_ptr<KorvaneOfferwallViewController> child_;
  // The page a replacement sits in: closing the replacement closes that page, as dismissing a
  // child controller dismisses the page presenting it.
  std::weak_ptr<OfferwallControllerImpl> container_;
  // Inner pages trust what the page that opened them trusts, never their own page-given address.
  std::optional<BridgeTrust> inheritedTrust_;
  // Which opening this page belongs to; inner pages share their first page's.
  std::uint64_t openingGeneration_ = 0;
  // The opening a page's request replaced, put back when this first page's opening ends.
  std::optional<OfferwallOpening> opener_;
  bool closing_ = false;
  TaskHandle closingLimit_;
  // While off screen: what the page posted, and who hears that the page ended unseen.
  std::vector<ScriptMessage> heldMessages_;
  std::function<void()> lost_;
};

ScreenOptions OfferwallControllerImpl::screenOptions(bool inNavigationContainer) const {
  auto self = owner();
  ScreenOptions options;
  options.controller = self;
  options.inNavigationContainer = inNavigationContainer;
  if (self->useNativeNavigationBar) {
    options.inNavigationContainer = true;
    options.showNavigationBar = true;
    options.title = navigationTitle(self->baseUrl);
  } else if (self->showNavigationBar) {
    options.showNavigationBar = true;
    options.backTitle = kBackButtonTitle;
  }
  return options;
}

bool OfferwallControllerImpl::present(PresentationAnchor* over, bool inNavigationContainer) {
  if (!platform().screens) {
    KorvaneLogger::e(kTag, "No screen presenter on this platform; the offerwall cannot be shown");
    return false;
  }
  if (screen_ && offScreen()) return presentPrepared(over);
  if (screen_) {
    KorvaneLogger::w(kTag, "The page is shown already; it is not presented again");
    return false;
  }
  screen_ = platform().screens->presentFullScreen(over, screenOptions(inNavigationContainer));
  if (!screen_) {
    KorvaneLogger::e(kTag,
                     "The page could not be presented: another presentation is in progress "
                     "or there is no screen in a window to present it from");
    return false;
  }
  slots_->presented.push_back(owner());
  viewDidLoad();
  return true;
}

// The platform shows the controller already, and the controller's own object keeps it alive.
void OfferwallControllerImpl::attachScreen(
    std::function<std::unique_ptr<Screen>(const ScreenOptions&)> makeScreen) {
  if (screen_ || !makeScreen) return;
  std::unique_ptr<Screen> screen = makeScreen(screenOptions(false));
  if (screen) adoptScreen(std::move(screen));
}

void OfferwallControllerImpl::adoptScreen(std::unique_ptr<Screen> screen) {
  screen_ = std::move(screen);
  viewDidLoad();
}

// A first page with an address, loaded in a page the platform keeps off screen.
bool OfferwallControllerImpl::prepareOffScreen(std::function<void()> lost) {
  auto self = owner();
  if (screen_ || !self || self->isSubWebView || !self->baseUrl || self->baseUrl->empty() ||
      !platform().screens)
    return false;
  screen_ = platform().screens->prepareFullScreen(screenOptions(false));
  if (!screen_) return false;
  setOffScreen(true);
  lost_ = std::move(lost);
  setUpPage();
  loadComposed(/*includeQuizItems=*/true);
  return true;
}

bool OfferwallControllerImpl::presentPrepared(PresentationAnchor* over) {
  if (!platform().screens->presentPrepared(*screen_, over)) {
    KorvaneLogger::e(kTag,
                     "The page could not be presented: another presentation is in progress "
                     "or there is no screen in a window to present it from");
    return false;
  }
  setOffScreen(false);
  lost_ = nullptr;
  slots_->presented.push_back(owner());
  openingGeneration_ = slots_->currentOpening = ++slots_->openings;
  for (const ScriptMessage& message : std::exchange(heldMessages_, {}))
    dispatcher_->receive(message);
  return true;
}

void OfferwallControllerImpl::offScreenPageLost(const std::string& why) {
  KorvaneLogger::w(kTag, "The offerwall page kept off screen is of no use any more: " + why);
  // The keeper lets go of this page, which must not end inside its own call.
  if (auto lost = std::exchange(lost_, nullptr)) platform().mainThread->post(std::move(lost));
}

void OfferwallControllerImpl::setUpPage() {
  auto self = owner();
  std::weak_ptr<OfferwallControllerImpl> weak =
      std::static_pointer_cast<OfferwallControllerImpl>(shared_from_this());
  setTrust(std::make_shared<BridgeTrust>(
      inheritedTrust_ ? *inheritedTrust_
                      : bridgeTrustForOfferwall(*context()->session(), self->baseUrl)));
  dispatcher_ = std::make_shared<BridgeDispatcher>(BridgeHostKind::controller, std::string(kTag),
                                                   weak, context(), trust());
  screen_->setCloseHandler([weak] {
    if (auto alive = weak.lock()) alive->closeProcedure();
  });
  screen_->setRefreshHandler([weak] {
    if (auto alive = weak.lock()) alive->reloadPage();
  });
  screen_->setDismissedHandler([weak] {
    if (auto alive = weak.lock()) alive->dismissedBySystem();
  });
  attach(screen_->webView());
  page().baseUrl = self->baseUrl;
  page().userId = self->userId;
  page().appKey = self->appKey;
  page().placementId = self->placementId;
  page().contextType = self->contextType;
  page().quizId = self->quizId;
  page().quizTitle = self->quizTitle;
}

// Registers an inner page, sets up the web view, then loads.
void OfferwallControllerImpl::viewDidLoad() {
  auto self = owner();
  setUpPage();
  if (self->isSubWebView) slots_->activeSubControllers.push_back({self});
  if (!self->isSubWebView) openingGeneration_ = slots_->currentOpening = ++slots_->openings;

  if (!self->baseUrl || self->baseUrl->empty()) {
    KorvaneLogger::e(kTag, "No base URL provided");
    beginClosing();
    if (!self->isSubWebView && slots_->offerwallCallback)
      slots_->offerwallCallback->onError("Failed to load offerwall: No URL provided");
    return dismiss(true);
  }
  if (self->isSubWebView) return loadAsGiven(*self->baseUrl);
  loadComposed(/*includeQuizItems=*/true);
}

bool OfferwallControllerImpl::ownsCallback() const {
  return openingGeneration_ == slots_->currentOpening;
}

void OfferwallControllerImpl::beginClosing() {
  if (closing_) return;
  closing_ = true;
  std::weak_ptr<OfferwallControllerImpl> weak =
      std::static_pointer_cast<OfferwallControllerImpl>(shared_from_this());
  slots_->closing.push_back(weak);
  closingLimit_ = platform().mainThread->postAfter(kClosingWaitLimit, [weak] {
    auto alive = weak.lock();
    if (!alive || !alive->closing_) return;
    if (!alive->slots_->afterClosing.empty())
      KorvaneLogger::w(kTag, "A closing offerwall page has not left the screen after " +
                                 std::to_string(kClosingWaitLimit.count()) +
                                 " s; the openings waiting for it go ahead");
    alive->endClosing();
  });
}

void OfferwallControllerImpl::endClosing() {
  if (!closing_) return;
  closing_ = false;
  closingLimit_.cancel();
  std::erase_if(slots_->closing, [this](const std::weak_ptr<OfferwallControllerImpl>& page) {
    auto alive = page.lock();
    return !alive || alive.get() == this;
  });
  releaseWaitingOpenings();
}

void OfferwallControllerImpl::releaseWaitingOpenings() {
  OfferwallSlots& state = *slots_;
  std::erase_if(state.closing, [](const auto& page) { return page.expired(); });
  if (!state.closing.empty() || state.afterClosing.empty()) return;
  // From the next turn: the platform is still ending the dismissal that brought us here.
  platform().mainThread->post([waiting = std::move(state.afterClosing)] {
    for (const std::function<void()>& opening : waiting) opening();
  });
  state.afterClosing.clear();
}

void OfferwallControllerImpl::fireOnClosedOnce() {
  if (!ownsCallback()) return;
  OfferwallSlots& state = *slots_;
  if (state.hasFiredOnClosed) {
    KorvaneLogger::d(kTag, "onClosed already fired, ignoring duplicate");
    return;
  }
  state.hasFiredOnClosed = true;
  if (state.offerwallCallback) state.offerwallCallback->onClosed();
}

void OfferwallControllerImpl::closeProcedure() {
  // A replacement closes as the page it replaced: for the first page, that ends the opening.
  if (auto container = container_.lock()) return container->closeProcedure();
  KorvaneLogger::d(kTag, "Closing offerwall");
  if (isSubPage()) return dismiss(true);
  beginClosing();
  dismissInnerPages();
  fireOnClosedOnce();
  context()->tracker()->trackEvent(EventType::offerwallClosed, "offerwall", std::nullopt);
  dismiss(true);
}

// The app (or the person) took the page off the screen: it ends as if its close control had
// been used, without a dismissal of its own.
void OfferwallControllerImpl::dismissedBySystem() {
  if (!screen_ || dismissing_) return;
  dismissing_ = true;
  beginClosing();
  if (!isSubPage()) {
    fireOnClosedOnce();
    context()->tracker()->trackEvent(EventType::offerwallClosed, "offerwall", std::nullopt);
  }
  finishDismissal();
}

void OfferwallControllerImpl::dismissInnerPages() {
  auto subs = std::move(slots_->activeSubControllers);
  slots_->activeSubControllers.clear();
  for (auto it = subs.rbegin(); it != subs.rend(); ++it)
    if (auto sub = it->value.lock()) sub->impl_->dismiss(false);
}

void OfferwallControllerImpl::closePage() {
  if (auto container = container_.lock()) return container->closePage();
  if (!isSubPage()) {
    beginClosing();
    // Not every platform takes the pages over a dismissed one along (GTK's windows stay).
    dismissInnerPages();
    fireOnClosedOnce();
  }
  dismiss(true);
}

// The page counts as leaving only once the platform has taken the dismissal on: one asked for
// during a transition (the page still being presented) is asked again when that has ended.
void OfferwallControllerImpl::dismiss(bool animated) {
  if (!screen_) return endClosing();
  if (dismissing_ || dismissWaiting_) return;
  beginClosing();
  std::weak_ptr<OfferwallControllerImpl> weak =
      std::static_pointer_cast<OfferwallControllerImpl>(shared_from_this());
  dismissing_ = true;
  if (screen_->dismiss(animated, [weak] {
        if (auto alive = weak.lock()) alive->finishDismissal();
      }))
    return;
  dismissing_ = false;
  dismissWaiting_ = true;
  KorvaneLogger::d(kTag, "Closing when the running transition ends");
  screen_->afterTransition([weak, animated] {
    auto alive = weak.lock();
    if (!alive) return;
    alive->dismissWaiting_ = false;
    alive->dismiss(animated);
  });
}

// View will disappear, then the page leaves the screen.
void OfferwallControllerImpl::finishDismissal() {
  OfferwallSlots& state = *slots_;
  auto self = owner();
  if (isSubPage()) {
    std::erase_if(state.activeSubControllers, [&](const Weak<KorvaneOfferwallViewController>& w) {
      auto alive = w.value.lock();
      return !alive || alive == self;
    });
  } else if (ownsCallback()) {
    // An opening a page asked for hands the callbacks back to the offerwall under it.
    if (opener_) {
      state.restore(*opener_);
    } else {
      state.offerwallCallback = nullptr;
    }
  }
  opener_.reset();
  detach();
  if (child_) child_->impl_->dismiss(false);
  child_.reset();
  screen_.reset();
  std::erase(state.presented, self);
  endClosing();
}

void OfferwallControllerImpl::openInnerPage(const std::string& url, bool mayWait) {
  auto sub = KorvaneOfferwallViewController::create(context());
  sub->baseUrl = url;
  sub->isSubWebView = true;
  sub->impl_->slots_ = slots_;
  sub->impl_->inheritedTrust_ = *trust();
  sub->impl_->openingGeneration_ = openingGeneration_;
  if (std::optional<KorvaneSdkUser> user = context()->session()->currentUser())
    sub->userId = user->userId();
  if (std::optional<KorvaneSdkConfig> config = context()->session()->config())
    sub->appKey = config->appKey();
  if (sub->present(screen_.get()) || !mayWait || !screen_) return;
  std::weak_ptr<OfferwallControllerImpl> weak =
      std::static_pointer_cast<OfferwallControllerImpl>(shared_from_this());
  screen_->afterTransition([weak, url] {
    auto alive = weak.lock();
    if (alive && alive->screen_ && !alive->dismissing_) alive->openInnerPage(url, false);
  });
}

void OfferwallControllerImpl::replacePage(const std::string& url) {
  auto self = owner();
  const PlatformServices& platform = this->platform();
  if (!screen_ || !platform.screens) return;
  // This page's web view leaves once the replacement has slid in; until then a second request
  // would slide another one in over the first, which nothing could then take away.
  if (child_) {
    KorvaneLogger::w(kTag, "closeOpenWebView: a replacement is still sliding in, ignoring " + url);
    return;
  }
  auto child = KorvaneOfferwallViewController::create(context());
  child->baseUrl = url;
  child->isSubWebView = true;
  child->userId = self->userId;
  child->appKey = self->appKey;
  std::weak_ptr<OfferwallControllerImpl> weak =
      std::static_pointer_cast<OfferwallControllerImpl>(shared_from_this());
  std::unique_ptr<Screen> childScreen =
      platform.screens->embedSlidingUp(*screen_, std::chrono::milliseconds(300), [weak] {
        auto alive = weak.lock();
        if (!alive || !alive->screen_) return;
        alive->retireWebView();
        alive->screen_->removeWebView();
        KorvaneLogger::d(kTag, "WebView replaced successfully with child VC");
      });
  child->impl_->container_ = weak;
  child->impl_->slots_ = slots_;
  child->impl_->openingGeneration_ = openingGeneration_;
  child->impl_->inheritedTrust_ = *trust();
  child->impl_->adoptScreen(std::move(childScreen));
  child_ = child;
}

void OfferwallControllerImpl::openAdjoeOfferwall(const std::string& placementId,
                                                 std::shared_ptr<OfferwallCallback> callback) {
  openAdjoeFromPage(placementId, std::move(callback), screen_.get());
}

OfferwallOpening OfferwallSlots::opening() const {
  return {offerwallCallback, eventCallback, hasFiredOnClosed, currentOpening};
}

void OfferwallSlots::restore(const OfferwallOpening& opening) {
  offerwallCallback = opening.callback;
  eventCallback = opening.eventCallback;
  hasFiredOnClosed = opening.hasFiredOnClosed;
  currentOpening = opening.generation;
}

void OfferwallSlots::whenNoneClosing(std::function<void()> then) {
  std::erase_if(closing, [](const auto& page) { return page.expired(); });
  if (closing.empty()) return then();
  KorvaneLogger::d(kTag, "Opening the offerwall once the closing one has left the screen");
  afterClosing.push_back(std::move(then));
}

void OfferwallSlots::release() {
  // Waiting openings first: a page that ends while closing then has none to hand on.
  std::vector<std::function<void()>> waiting = std::move(afterClosing);
  afterClosing.clear();
  std::vector<std::shared_ptr<KorvaneOfferwallViewController>> pages = std::move(presented);
  presented.clear();
  offerwallCallback = nullptr;
  eventCallback = nullptr;
}

OfferwallSlots& slotsOf(const KorvaneOfferwallViewController& controller) {
  return OfferwallControllerImpl::slotsOf(controller);
}

void returnToOpenerWhenEnded(KorvaneOfferwallViewController& controller, OfferwallOpening opener) {
  OfferwallControllerImpl::returnToOpenerWhenEnded(controller, std::move(opener));
}

bool loadOffScreen(KorvaneOfferwallViewController& controller, std::function<void()> lost) {
  return OfferwallControllerImpl::loadOffScreen(controller, std::move(lost));
}

bool isOffScreen(const KorvaneOfferwallViewController& controller) {
  return OfferwallControllerImpl::isOffScreen(controller);
}

std::shared_ptr<KorvaneOfferwallViewController> KorvaneOfferwallViewController::create(
    std::shared_ptr<const SdkContext> context) {
  auto controller = std::make_shared<KorvaneOfferwallViewController>(Token{});
  controller->impl_ = std::make_shared<OfferwallControllerImpl>(controller, std::move(context));
  return controller;
}

KorvaneOfferwallViewController::~KorvaneOfferwallViewController() = default;

bool KorvaneOfferwallViewController::present(PresentationAnchor* over, bool inNavigationContainer) {
  return impl_->present(over, inNavigationContainer);
}
void KorvaneOfferwallViewController::attachScreen(
    std::function<std::unique_ptr<Screen>(const ScreenOptions&)> makeScreen) {
  impl_->attachScreen(std::move(makeScreen));
}
void KorvaneOfferwallViewController::closeOfferwall() {
  impl_->closeProcedure();
}
void KorvaneOfferwallViewController::refreshWebView() {
  impl_->reloadPage();
}
bool KorvaneOfferwallViewController::isPresented() const {
  return impl_->isPresented();
}
std::string KorvaneOfferwallViewController::advertisingId() const {
  return impl_->page().advertisingId;
}

}  // namespace korvane
