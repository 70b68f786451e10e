#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fake_screens.h"
#include "korvane/platform/screen_presenter.h"

namespace korvane::testing {

// Screens that keep UIKit's presentation rules, as the iOS layer meets them:
// - a presentation, and an animated dismissal, takes time: it runs until endTransitions();
// - a presentation is refused (null) when the controller it would be presented from already
//   presents one, is in a transition, or is the app's screen while that is not in a window;
// - a dismissal cannot start while a transition runs in its stack (dismiss() says no);
// - dismissing a page low in the stack takes everything above it along: only the top one gets
//   its appearance callback, the covered ones are simply released (both reach the core through
//   the dismissed handler, the way the iOS layer reports a controller UIKit let go of);
// - with dropDismissalCompletions, a dismissal ends without ever calling its completion.
// Presentations form one stack over the app's screen, as modal presentations on one window do.
class UIKitRulesPresenter final : public ScreenPresenter {
 public:
  class Page final : public Screen {
   public:
    Page(UIKitRulesPresenter& owner, std::string name) : owner_(owner), name_(std::move(name)) {}
    ~Page() override {
      // Destroying a page takes it off the screen without animation.
      std::erase(owner_.stack, this);
      owner_.forget(this);
      owner_.journal.push_back(name_ + " destroyed");
    }
    WebView& webView() override { return view; }
    void setCloseHandler(std::function<void()> handler) override { close = std::move(handler); }
    void setRefreshHandler(std::function<void()>) override {}
    void setDismissedHandler(std::function<void()> handler) override {
      dismissed_ = std::move(handler);
    }
    void removeWebView() override {}
    void fade(double, std::chrono::milliseconds, std::function<void()> done) override {
      if (done) done();
    }
    bool dismiss(bool animated, std::function<void()> done) override {
      return owner_.takeDown(*this, animated, std::move(done), false);
    }
    void afterTransition(std::function<void()> then) override {
      if (!owner_.inTransition()) return then();
      owner_.waiting_.emplace_back(alive_, std::move(then));
    }

    const std::string& name() const { return name_; }
    FakeWebView view;
    std::function<void()> close;

   private:
    friend class UIKitRulesPresenter;
    UIKitRulesPresenter& owner_;
    std::string name_;
    std::function<void()> dismissed_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  };

  std::unique_ptr<Screen> presentFullScreen(PresentationAnchor* over,
                                            const ScreenOptions&) override {
    const std::string name = "page" + std::to_string(made++);
    // Like the iOS layer, from the top of the stack (the app's screen when it is empty): one
    // that presents nothing unless it is in a transition.
    (void)over;
    const bool fromApp = stack.empty();
    if ((fromApp && !appInWindow) || inTransition()) {
      journal.push_back(name + " refused");
      return nullptr;
    }
    auto page = std::make_unique<Page>(*this, name);
    stack.push_back(page.get());
    journal.push_back(name + " presenting");
    transition_ = Transition{Transition::presenting, {page.get()}, nullptr, false};
    return page;
  }
  std::unique_ptr<Screen> embedSlidingUp(Screen&, std::chrono::milliseconds,
                                         std::function<void()> done) override {
    if (done) done();
    return std::make_unique<Page>(*this, "embedded" + std::to_string(made++));
  }
  std::unique_ptr<Screen> stackOver(Screen&) override {
    return std::make_unique<Page>(*this, "stacked" + std::to_string(made++));
  }

  // The app dismisses `page` (and so everything above it) itself. False when UIKit drops it.
  bool appDismisses(Page& page, bool animated = true) {
    return takeDown(page, animated, nullptr, true);
  }

  // The running presentation or dismissal ends: completions, appearance callbacks and
  // releases, then what waited for it.
  void endTransitions() {
    if (!inTransition()) return;
    Transition ended = std::move(*transition_);
    transition_.reset();
    if (ended.kind == Transition::presenting) {
      journal.push_back(ended.pages.front()->name() + " presented");
    } else {
      finishTakeDown(std::move(ended));
    }
    runWaiting();
  }

  bool inTransition() const { return transition_.has_value(); }

  std::vector<Page*> stack;  // bottom first
  std::vector<std::string> journal;
  bool appInWindow = true;
  bool dropDismissalCompletions = false;
  int made = 0;

 private:
  struct Transition {
    enum Kind { presenting, dismissing } kind;
    std::vector<Page*> pages;  // the page asked for, then those above it, top last
    std::function<void()> done;
    bool byApp;
  };

  bool takeDown(Page& page, bool animated, std::function<void()> done, bool byApp) {
    const auto at = std::find(stack.begin(), stack.end(), &page);
    if (at == stack.end()) {
      if (done) done();
      return true;
    }
    if (inTransition()) {
      journal.push_back(page.name() + " dismissal dropped: a transition is in progress");
      return false;
    }
    Transition leaving{Transition::dismissing, std::vector<Page*>(at, stack.end()), std::move(done),
                       byApp};
    journal.push_back(page.name() + (byApp ? " dismissed by the app" : " dismissing"));
    if (animated) {
      transition_ = std::move(leaving);
    } else {
      finishTakeDown(std::move(leaving));
      runWaiting();
    }
    return true;
  }

  void finishTakeDown(Transition ended) {
    for (Page* page : ended.pages) std::erase(stack, page);
    // What each page hears, decided before any handler runs (a handler destroys its page).
    std::vector<std::pair<std::string, std::function<void()>>> heard;
    Page* asked = ended.pages.front();
    for (auto it = ended.pages.rbegin(); it != ended.pages.rend(); ++it) {
      Page* page = *it;
      if (page == asked && !ended.byApp) continue;  // its dismissal's completion tells it
      const bool top = page == ended.pages.back();
      journal.push_back(page->name() + (top ? " disappeared" : " released"));
      heard.emplace_back(page->name(), page->dismissed_);
    }
    for (auto& [name, handler] : heard)
      if (handler) handler();
    if (ended.done && !dropDismissalCompletions) ended.done();
  }

  // One at a time: what a waiter starts (an animated dismissal) makes the rest wait again.
  void runWaiting() {
    while (!inTransition() && !waiting_.empty()) {
      auto [alive, then] = std::move(waiting_.front());
      waiting_.erase(waiting_.begin());
      if (!alive.expired()) then();
    }
  }

  // A page destroyed mid-transition leaves it; the transition ends without it.
  void forget(Page* page) {
    if (!transition_) return;
    std::erase(transition_->pages, page);
    if (transition_->pages.empty()) transition_.reset();
  }

  std::optional<Transition> transition_;
  std::vector<std::pair<std::weak_ptr<bool>, std::function<void()>>> waiting_;
};

}  // namespace korvane::testing
