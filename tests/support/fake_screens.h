#pragma once

#include <memory>
#include <string>
#include <vector>

#include "korvane/platform/screen_presenter.h"
#include "util/url_text.h"

namespace korvane::testing {

// A web view that records what it was asked and answers scripts through `answer`.
class FakeWebView final : public WebView {
 public:
  std::weak_ptr<WebViewDelegate> delegate;
  std::vector<std::string> userScripts;
  std::vector<std::string> handlers;
  std::vector<WebRequest> loads;
  std::vector<std::string> htmlLoads;
  std::vector<std::string> scripts;
  std::optional<std::string> followed;  // where the page went after its last load
  int reloads = 0;
  bool stopped = false;
  std::function<Result<std::string>(const std::string&)> answer = [](const std::string&) {
    return Result<std::string>(std::string("null"));
  };

  void setDelegate(std::weak_ptr<WebViewDelegate> d) override { delegate = std::move(d); }
  void addUserScript(const std::string& script) override { userScripts.push_back(script); }
  void addScriptMessageHandler(const std::string& name) override { handlers.push_back(name); }
  void removeScriptMessageHandler(const std::string& name) override { std::erase(handlers, name); }
  void load(const WebRequest& request) override {
    loads.push_back(request);
    followed.reset();
  }
  void loadHtml(const std::string& html, const std::optional<std::string>&) override {
    htmlLoads.push_back(html);
  }
  void evaluateJavaScript(const std::string& script,
                          std::function<void(Result<std::string>)> completion) override {
    scripts.push_back(script);
    if (completion) completion(answer(script));
  }
  void reload() override { ++reloads; }
  void stopLoading() override { stopped = true; }
  bool canGoBack() const override { return false; }
  void goBack() override {}
  std::optional<std::string> currentUrl() const override {
    if (followed) return followed;
    return loads.empty() ? std::nullopt : std::optional<std::string>(loads.back().url);
  }

  // The main frame goes to `url` by itself (a link, a server redirect): the delegate decides, and
  // an address it allows becomes the page's.
  NavigationPolicy follow(const std::string& url) {
    auto d = delegate.lock();
    const NavigationPolicy policy = d ? d->decidePolicy({url, true}) : NavigationPolicy::cancel;
    if (policy == NavigationPolicy::allow) followed = url;
    return policy;
  }

  // What the page would post: from the main frame of the page shown (an opaque origin when only
  // HTML was loaded), or from the frame given.
  void post(const std::string& body) {
    const std::optional<std::string> shown = currentUrl();
    postFrom(body, true, shown ? url::origin(*shown).value_or("") : "");
  }
  void postFrom(const std::string& body, bool mainFrame, const std::string& frameOrigin) {
    if (auto d = delegate.lock())
      d->didReceiveScriptMessage({"korvaneNative", body, true, mainFrame, frameOrigin});
  }
};

// Screens that do everything at once and write down what happened, in order.
class FakePresenter final : public ScreenPresenter {
 public:
  class FakeScreen final : public Screen {
   public:
    FakeScreen(FakePresenter& owner, std::string name) : owner_(owner), name_(std::move(name)) {
      owner_.live.push_back(this);
    }
    ~FakeScreen() override {
      std::erase(owner_.live, this);
      owner_.journal.push_back(name_ + " destroyed");
    }
    WebView& webView() override { return view; }
    void setCloseHandler(std::function<void()> handler) override { close = std::move(handler); }
    void setRefreshHandler(std::function<void()> handler) override { refresh = std::move(handler); }
    void setDismissedHandler(std::function<void()> handler) override {
      dismissed = std::move(handler);
    }
    void removeWebView() override { owner_.journal.push_back(name_ + " lost its web view"); }
    void fade(double alpha, std::chrono::milliseconds duration,
              std::function<void()> done) override {
      owner_.journal.push_back(name_ + " fade " + std::to_string(static_cast<int>(alpha)) + " " +
                               std::to_string(duration.count()) + "ms");
      if (done) done();
    }
    bool dismiss(bool animated, std::function<void()> done) override {
      owner_.journal.push_back(name_ + (animated ? " dismissed animated" : " dismissed"));
      if (owner_.holdDismissals && done) {
        owner_.heldDismissals.push_back(std::move(done));
        return true;
      }
      if (done) done();
      return true;
    }
    void afterTransition(std::function<void()> then) override { then(); }
    FakeWebView view;
    bool shown = true;  // false while prepared off screen
    std::function<void()> close;
    std::function<void()> refresh;
    std::function<void()> dismissed;

   private:
    FakePresenter& owner_;
    std::string name_;
  };

  std::unique_ptr<Screen> presentFullScreen(PresentationAnchor* over,
                                            const ScreenOptions& options) override {
    lastOptions = options;
    lastOver = over;
    return std::make_unique<FakeScreen>(*this, "screen" + std::to_string(made++));
  }
  // Pages kept off screen, unless `keepsNone`; showing one is refused while `refuseShowing`.
  std::unique_ptr<Screen> prepareFullScreen(const ScreenOptions& options) override {
    if (keepsNone) return nullptr;
    lastOptions = options;
    const std::string name = "screen" + std::to_string(made++);
    journal.push_back(name + " prepared off screen");
    auto screen = std::make_unique<FakeScreen>(*this, name);
    screen->shown = false;
    return screen;
  }
  bool presentPrepared(Screen& prepared, PresentationAnchor* over) override {
    auto& screen = static_cast<FakeScreen&>(prepared);
    if (refuseShowing || screen.shown) return false;
    lastOver = over;
    screen.shown = true;
    ++shownPrepared;
    return true;
  }
  std::unique_ptr<Screen> embedSlidingUp(Screen&, std::chrono::milliseconds,
                                         std::function<void()> done) override {
    auto screen = std::make_unique<FakeScreen>(*this, "screen" + std::to_string(made++));
    pendingSlide = std::move(done);
    return screen;
  }
  std::unique_ptr<Screen> stackOver(Screen&) override {
    return std::make_unique<FakeScreen>(*this, "screen" + std::to_string(made++));
  }

  std::vector<FakeScreen*> live;
  std::vector<std::string> journal;
  ScreenOptions lastOptions;
  PresentationAnchor* lastOver = nullptr;
  std::function<void()> pendingSlide;
  // Dismissals that end later, as an animated one does, until the test finishes them.
  bool holdDismissals = false;
  std::vector<std::function<void()>> heldDismissals;
  int made = 0;
  bool keepsNone = false;
  bool refuseShowing = false;
  int shownPrepared = 0;
};

}  // namespace korvane::testing
