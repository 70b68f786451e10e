#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "korvane/linux/gtk_screens.h"
#include "korvane/platform/screen_presenter.h"

namespace korvane::testing {

// The real GTK screens, with every screen the SDK puts up kept in order so that tests reach the
// page each shows; screens the SDK destroyed are forgotten.
class RecordingScreens final : public ScreenPresenter {
 public:
  class Tracked final : public Screen {
   public:
    // A page kept off screen joins `live` when it is shown.
    Tracked(RecordingScreens& owner, std::unique_ptr<Screen> inner, bool offScreen = false)
        : owner_(owner), inner_(std::move(inner)) {
      (offScreen ? owner_.offScreen : owner_.live).push_back(this);
    }
    ~Tracked() override {
      std::erase(owner_.live, this);
      std::erase(owner_.offScreen, this);
    }
    WebView& webView() override { return inner_->webView(); }
    void setCloseHandler(std::function<void()> h) override {
      close = h, inner_->setCloseHandler(h);
    }
    void setRefreshHandler(std::function<void()> h) override { inner_->setRefreshHandler(h); }
    void setDismissedHandler(std::function<void()> h) override { inner_->setDismissedHandler(h); }
    void removeWebView() override { inner_->removeWebView(); }
    void fade(double a, std::chrono::milliseconds d, std::function<void()> done) override {
      inner_->fade(a, d, std::move(done));
    }
    bool dismiss(bool animated, std::function<void()> done) override {
      return inner_->dismiss(animated, std::move(done));
    }
    void afterTransition(std::function<void()> then) override {
      inner_->afterTransition(std::move(then));
    }
    Screen& inner() { return *inner_; }
    // The screen's close control, as the SDK set it.
    std::function<void()> close;

   private:
    RecordingScreens& owner_;
    std::unique_ptr<Screen> inner_;
  };

  std::unique_ptr<Screen> presentFullScreen(PresentationAnchor* over,
                                            const ScreenOptions& options) override {
    ++presented;
    lastOptions = options;
    auto screen =
        gtk_.presentFullScreen(over ? &dynamic_cast<Tracked&>(*over).inner() : nullptr, options);
    if (!screen) return nullptr;  // refused, as a platform may
    return std::make_unique<Tracked>(*this, std::move(screen));
  }
  std::unique_ptr<Screen> prepareFullScreen(const ScreenOptions& options) override {
    auto screen = gtk_.prepareFullScreen(options);
    if (!screen) return nullptr;
    return std::make_unique<Tracked>(*this, std::move(screen), /*offScreen=*/true);
  }
  bool presentPrepared(Screen& prepared, PresentationAnchor* over) override {
    auto& tracked = static_cast<Tracked&>(prepared);
    if (!gtk_.presentPrepared(tracked.inner(),
                              over ? &dynamic_cast<Tracked&>(*over).inner() : nullptr))
      return false;
    ++presented;
    std::erase(offScreen, &tracked);
    live.push_back(&tracked);
    return true;
  }
  std::unique_ptr<Screen> embedSlidingUp(Screen& parent, std::chrono::milliseconds duration,
                                         std::function<void()> done) override {
    ++presented;
    return std::make_unique<Tracked>(
        *this,
        gtk_.embedSlidingUp(static_cast<Tracked&>(parent).inner(), duration, std::move(done)));
  }
  // The parent may be an embedded offerwall's first page, which the host's container holds.
  std::unique_ptr<Screen> stackOver(Screen& parent) override {
    ++presented;
    auto* tracked = dynamic_cast<Tracked*>(&parent);
    return std::make_unique<Tracked>(*this, gtk_.stackOver(tracked ? tracked->inner() : parent));
  }

  // The screens up now, oldest first.
  std::vector<Tracked*> live;
  // Pages made off screen and not shown yet.
  std::vector<Tracked*> offScreen;
  // Pages put up in any way: full screen, embedded or stacked.
  int presented = 0;
  ScreenOptions lastOptions;

 private:
  linux_host::GtkScreenPresenter gtk_;
};

}  // namespace korvane::testing
