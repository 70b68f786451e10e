#include "korvane/offerwall/offerwall_view.h"

#include <map>
#include <optional>

#include "korvane/platform/screen_presenter.h"
#include "korvane/util/logger.h"
#include "offerwall/page_host.h"
#include "offerwall/scroll_scripts.h"
#include "util/url_text.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneOfferwallView";
constexpr std::chrono::milliseconds kFade{150};
constexpr std::chrono::milliseconds kRestoreDelay{100};

}  // namespace

class EmbeddedPage;

class OfferwallViewImpl : public std::enable_shared_from_this<OfferwallViewImpl> {
 public:
  explicit OfferwallViewImpl(Context sdk) : context(std::move(sdk)) {}

  void load(OfferwallPage page);
  void push(const std::string& url);
  void pop();
  void replace(const std::optional<std::string>& url);
  void tearDown();
  void reportError(const std::string& message) {
    if (callback) callback->onError(message);
  }

  // Reports from the main thread's queue, never inside the call that led to it: a layout
  // framework asks for the placement while it updates the view, when the app must not change
  // its state.
  void reportErrorLater(std::string message);

  const Context context;
  std::shared_ptr<OfferwallCallback> callback;
  std::shared_ptr<OfferwallEventCallback> eventCallback;
  KorvaneOfferwallView::FirstPageMaker makeFirstPage;
  bool hasClosed = false;

  // The placement last asked for by id, and how far its load got. Asking again for the same one
  // does nothing (a layout framework asks at every update) unless it was refused and the SDK is
  // now ready: a new placement, or a new view, starts afresh.
  enum class PlacementStage { refused, loading, loaded, failed };
  struct PlacementLoad {
    std::string id;
    PlacementStage stage;
  };
  std::optional<PlacementLoad> placement;

  struct Page {
    std::unique_ptr<Screen> screen;
    std::shared_ptr<EmbeddedPage> host;
  };
  std::vector<Page> stack;
  std::map<const EmbeddedPage*, double> scrollPositions;
  // Every page of the stack trusts what the loaded offerwall address gives (one set for all).
  std::shared_ptr<BridgeTrust> trust = std::make_shared<BridgeTrust>();

 private:
  Page makePage(Screen* over);
  void fadeInTop(const std::shared_ptr<EmbeddedPage>& top, const std::string& line);
};

// One page of the stack: the page machinery plus the bridge, with stack actions going to the
// view while it lives.
class EmbeddedPage final : public PageHost, public BridgeHost {
 public:
  EmbeddedPage(Context context, std::weak_ptr<OfferwallViewImpl> view)
      : PageHost(std::move(context), BridgeHostKind::embeddedView, std::string(kTag)),
        view_(std::move(view)) {}
  ~EmbeddedPage() override { detach(); }

  void start(WebView& webView, std::shared_ptr<BridgeTrust> trust) {
    attach(webView);
    setTrust(trust);
    dispatcher_ = std::make_shared<BridgeDispatcher>(
        BridgeHostKind::embeddedView, std::string(kTag),
        std::static_pointer_cast<EmbeddedPage>(shared_from_this()), context(), trust);
  }

  // BridgeHost
  void openPage(const std::string& url) override {
    if (auto view = view_.lock()) view->push(url);
  }
  void closePage() override {
    if (auto view = view_.lock()) view->pop();
  }
  void retry() override { retryLoad(); }
  void replacePage(const std::string& url) override {
    if (auto view = view_.lock()) view->replace(url);
  }
  void replacePageWithoutUrl() override {
    if (auto view = view_.lock()) view->replace(std::nullopt);
  }
  void openAdjoeOfferwall(const std::string& placementId,
                          std::shared_ptr<OfferwallCallback> callback) override {
    openAdjoeFromPage(placementId, std::move(callback), nullptr);
  }
  void evaluate(const std::string& script,
                std::function<void(Result<std::string>)> completion) override {
    evaluateInPage(script, std::move(completion));
  }
  std::shared_ptr<OfferwallEventCallback> eventCallback() const override {
    auto view = view_.lock();
    return view ? view->eventCallback : nullptr;
  }
  bool isSubPage() const override { return false; }
  std::string contextType() const override { return "offerwall"; }
  std::optional<std::string> quizId() const override { return std::nullopt; }
  bool showsOfflinePage() const override { return offlinePageShown(); }

 protected:
  void closeFromPage() override { closePage(); }
  void reportError(const std::string& message) override {
    if (auto view = view_.lock()) view->reportError(message);
  }
  void onScriptMessage(const ScriptMessage& message) override { dispatcher_->receive(message); }
  void afterPageLoaded() override {
    evaluateInPage("document.body.scrollHeight", [](const Result<std::string>& height) {
      if (height) {
        KorvaneLogger::d(kTag, "Content height measured: " + height.value());
      } else {
        KorvaneLogger::w(kTag, "Failed to measure content height: " + height.error().description);
      }
    });
  }

 private:
  std::weak_ptr<OfferwallViewImpl> view_;
  std::shared_ptr<BridgeDispatcher> dispatcher_;
};

namespace {

std::string hashOf(const void* page) {
  return std::to_string(reinterpret_cast<std::uintptr_t>(page));
}

// A script's answer as text: a JSON string's content, anything else as its JSON.
std::string answerText(const Result<std::string>& answer) {
  if (!answer) return answer.error().description;
  const Result<JsonValue> value = parseDepthLimitedJson(answer.value());
  return value && value.value().is_string() ? value.value().get<std::string>() : answer.value();
}

}  // namespace

OfferwallViewImpl::Page OfferwallViewImpl::makePage(Screen* over) {
  const PlatformServices& platform = context->platform();
  Page page;
  if (over) {
    page.screen = platform.screens->stackOver(*over);
  } else {
    page.screen = makeFirstPage ? makeFirstPage()
                                : platform.screens->presentFullScreen(nullptr, ScreenOptions{});
  }
  if (!page.screen) return page;
  page.host = std::make_shared<EmbeddedPage>(context, weak_from_this());
  page.host->start(page.screen->webView(), trust);
  return page;
}

void OfferwallViewImpl::load(OfferwallPage page) {
  if (!context->platform().screens) {
    return reportError("Failed to load offerwall: no screen presenter on this platform");
  }
  // An address that cannot be loaded leaves the pages shown as they are.
  if (!page.baseUrl || !url::isValid(*page.baseUrl)) {
    KorvaneLogger::e(kTag, "Invalid offerwall URL");
    return reportError("Invalid offerwall URL");
  }
  hasClosed = false;
  tearDown();
  trust = std::make_shared<BridgeTrust>(bridgeTrustForOfferwall(*context->session(), page.baseUrl));
  Page first = makePage(nullptr);
  if (!first.screen) return reportError("Failed to load offerwall: the view is gone");
  stack.push_back(std::move(first));
  KorvaneLogger::d(kTag, "Created initial WebView. Stack size: " + std::to_string(stack.size()));
  stack.back().screen->setCloseHandler([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->pop();
  });
  stack.back().host->page() = std::move(page);
  stack.back().host->loadComposed(/*includeQuizItems=*/false);
  if (callback) callback->onOpened();
}

void OfferwallViewImpl::push(const std::string& url) {
  if (!url::isValid(url)) return KorvaneLogger::w(kTag, "openWebView: Invalid URL: " + url);
  KorvaneLogger::d(kTag, "Opening new WebView with URL: " + url);
  if (!stack.empty()) {
    std::weak_ptr<EmbeddedPage> covered = stack.back().host;
    stack.back().host->evaluateInPage(
        saveScrollScript(), [weak = weak_from_this(), covered](const Result<std::string>& answer) {
          auto self = weak.lock();
          auto page = covered.lock();
          if (!self || !page) return;
          if (!answer) {
            return KorvaneLogger::e(kTag,
                                    "Failed to get scroll position: " + answer.error().description);
          }
          const double offset = std::strtod(answer.value().c_str(), nullptr);
          if (offset <= 0) return;
          self->scrollPositions[page.get()] = offset;
          KorvaneLogger::d(kTag, "💾 Saved scroll position: " + answer.value() + " for WebView " +
                                     hashOf(page.get()));
        });
  }
  stack.push_back(makePage(stack.empty() ? nullptr : stack.front().screen.get()));
  KorvaneLogger::d(kTag,
                   "New WebView created and added. Stack size: " + std::to_string(stack.size()));
  // The base address is the view's: a retry in any page of the stack reloads it there.
  if (stack.size() > 1) stack.back().host->page().baseUrl = stack.front().host->page().baseUrl;
  stack.back().host->loadAsGiven(url);
  KorvaneLogger::d(kTag, "Loading URL in new WebView: " + url);
}

void OfferwallViewImpl::pop() {
  KorvaneLogger::d(kTag,
                   "Handling close message. Current stack size: " + std::to_string(stack.size()));
  if (stack.size() < 2) {
    KorvaneLogger::d(kTag, "Last WebView in stack, closing offerwall");
    if (hasClosed) return KorvaneLogger::d(kTag, "onClosed already fired, ignoring duplicate");
    hasClosed = true;
    if (callback) callback->onClosed();
    return;
  }
  auto removed = std::make_shared<Page>(std::move(stack.back()));
  stack.pop_back();
  KorvaneLogger::d(kTag,
                   "Removing WebView from stack. New stack size: " + std::to_string(stack.size()));
  Page& top = stack.back();
  // The page beneath stays transparent until it is back where the person left it.
  top.screen->fade(0.0, std::chrono::milliseconds(0), nullptr);
  KorvaneLogger::d(kTag, "🔄 Bottom WebView prepared (transparent, will fade in)");
  KorvaneLogger::d(kTag, "🌅 Starting top WebView fade-out (0.15s)");
  removed->screen->fade(0.0, kFade, [weak = weak_from_this(), removed] {
    KorvaneLogger::d(kTag, "🔄 Top WebView fade-out complete, removing...");
    if (auto self = weak.lock()) self->scrollPositions.erase(removed->host.get());
    removed->host->detach();
    removed->screen.reset();
    KorvaneLogger::d(kTag, "🔄 WebView removed from hierarchy");
  });
  const auto saved = scrollPositions.find(top.host.get());
  if (saved != scrollPositions.end() && saved->second > 0) {
    const double offset = saved->second;
    std::weak_ptr<EmbeddedPage> page = top.host;
    context->platform().mainThread->postAfter(
        kRestoreDelay, [weak = weak_from_this(), page, offset] {
          auto self = weak.lock();
          auto host = page.lock();
          if (!self || !host) return;
          host->evaluateInPage(
              restoreScrollScript(offset), [weak, page](const Result<std::string>& answer) {
                auto view = weak.lock();
                auto alive = page.lock();
                if (!view || !alive) return;
                KorvaneLogger::d(kTag, "📍 Restored scroll position: " + answerText(answer) +
                                           " for WebView " + hashOf(alive.get()));
                view->scrollPositions.erase(alive.get());
                view->fadeInTop(alive, "✨ Fading in WebView (0.15s)");
              });
        });
  } else {
    fadeInTop(top.host, "✨ Fading in WebView (no scroll to restore)");
  }
  KorvaneLogger::d(kTag, "✅ Previous WebView restored");
}

void OfferwallViewImpl::fadeInTop(const std::shared_ptr<EmbeddedPage>& host,
                                  const std::string& line) {
  for (Page& page : stack) {
    if (page.host != host) continue;
    KorvaneLogger::d(kTag, line);
    page.screen->fade(1.0, kFade, nullptr);
  }
}

void OfferwallViewImpl::replace(const std::optional<std::string>& url) {
  if (stack.empty()) return;
  WebView* top = stack.back().host->webView();
  if (!top) return;
  if (url && !url->empty() && !url::isValid(*url))
    return KorvaneLogger::w(kTag, "closeOpenWebView: Invalid URL: " + *url);
  if (!url || url->empty()) {
    KorvaneLogger::d(kTag, "closeOpenWebView: No URL provided, going back");
    if (top->canGoBack()) top->goBack();
    return;
  }
  KorvaneLogger::d(kTag, "Loading URL after close: " + *url);
  stack.back().host->loadAsGiven(*url);
}

void OfferwallViewImpl::tearDown() {
  // The stacked pages live inside the first one's screen, so they go first.
  while (!stack.empty()) {
    stack.back().host->detach();
    stack.pop_back();
  }
  scrollPositions.clear();
}

std::shared_ptr<KorvaneOfferwallView> KorvaneOfferwallView::create(
    std::shared_ptr<const SdkContext> context, FirstPageMaker makeFirstPage) {
  return std::make_shared<KorvaneOfferwallView>(Token{}, std::move(context),
                                                std::move(makeFirstPage));
}

KorvaneOfferwallView::KorvaneOfferwallView(Token, std::shared_ptr<const SdkContext> context,
                                           FirstPageMaker makeFirstPage)
    : impl_(std::make_shared<OfferwallViewImpl>(std::move(context))) {
  impl_->makeFirstPage = std::move(makeFirstPage);
}

KorvaneOfferwallView::~KorvaneOfferwallView() {
  KorvaneLogger::d(kTag, "View deallocated, cleaning up WebView stack");
  impl_->tearDown();
}

void KorvaneOfferwallView::setCallback(std::shared_ptr<OfferwallCallback> callback) {
  impl_->callback = std::move(callback);
}
void KorvaneOfferwallView::setEventCallback(std::shared_ptr<OfferwallEventCallback> callback) {
  impl_->eventCallback = std::move(callback);
}
std::size_t KorvaneOfferwallView::stackSize() const {
  return impl_->stack.size();
}
bool KorvaneOfferwallView::hasClosed() const {
  return impl_->hasClosed;
}

void OfferwallViewImpl::reportErrorLater(std::string message) {
  context->platform().mainThread->post([weak = weak_from_this(), message = std::move(message)] {
    if (auto view = weak.lock()) view->reportError(message);
  });
}

void KorvaneOfferwallView::loadOfferwall(const std::string& baseUrl, const std::string& userId,
                                         const std::string& appKey,
                                         const std::string& placementId) {
  impl_->placement.reset();
  OfferwallPage page;
  page.baseUrl = baseUrl;
  page.userId = userId;
  page.appKey = appKey;
  page.placementId = placementId;
  impl_->load(std::move(page));
}

void KorvaneOfferwallView::loadOfferwall(const std::string& placementId) {
  using Stage = OfferwallViewImpl::PlacementStage;
  const SessionFacts& session = *impl_->context->session();
  std::optional<KorvaneSdkUser> user = session.currentUser();
  std::optional<KorvaneSdkConfig> config = session.config();
  const bool ready = session.isInitialized() && user && config;
  std::optional<OfferwallViewImpl::PlacementLoad>& asked = impl_->placement;
  if (asked && asked->id == placementId && (asked->stage != Stage::refused || !ready)) {
    return KorvaneLogger::v(kTag, "Placement already asked for: " + placementId);
  }
  if (!ready) {
    asked = OfferwallViewImpl::PlacementLoad{placementId, Stage::refused};
    return impl_->reportErrorLater("SDK not initialized or user not logged in");
  }
  Result<std::shared_ptr<ApiService>> api = impl_->context->backend()->apiService();
  if (!api) {
    asked = OfferwallViewImpl::PlacementLoad{placementId, Stage::failed};
    return impl_->reportErrorLater("Failed to load offerwall: " + api.error().description);
  }
  asked = OfferwallViewImpl::PlacementLoad{placementId, Stage::loading};
  std::shared_ptr<MainThread> mainThread = impl_->context->platform().mainThread;
  api.value()->getPlacementUrl(
      placementId,
      [weak = std::weak_ptr<OfferwallViewImpl>(impl_), mainThread, placementId,
       userId = user->userId(), appKey = config->appKey()](Result<PlacementUrlResponse> answer) {
        mainThread->post([weak, answer = std::move(answer), placementId, userId, appKey] {
          auto view = weak.lock();
          if (!view) return;
          // Only the placement the view waits for is shown: an answer for one asked for before
          // the latest is dropped.
          if (!view->placement || view->placement->id != placementId ||
              view->placement->stage != Stage::loading) {
            return KorvaneLogger::d(kTag,
                                    "Dropped the address of a replaced placement: " + placementId);
          }
          if (!answer) {
            view->placement->stage = Stage::failed;
            return view->reportError("Failed to load offerwall: " + answer.error().description);
          }
          view->placement->stage = Stage::loaded;
          OfferwallPage page;
          page.baseUrl = answer.value().url;
          page.userId = userId;
          page.appKey = appKey;
          page.placementId = placementId;
          view->load(std::move(page));
        });
      });
}

}  // namespace korvane
