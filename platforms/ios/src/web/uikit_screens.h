#pragma once

#import <UIKit/UIKit.h>

#include <memory>

#include "korvane/platform/screen_presenter.h"
#import "web/wk_web_view_port.h"

NS_ASSUME_NONNULL_BEGIN

@class KorvaneOfferwallViewController;

namespace korvane::ios {

// A page on UIKit: one WKWebView (owned through its port) with fades as UIView animations.
class UIKitScreen : public Screen {
 public:
  WebView& webView() override { return port_; }
  WKWebView* view() const { return port_.view(); }
  void removeWebView() override;
  void fade(double alpha, std::chrono::milliseconds duration, std::function<void()> done) override;

 protected:
  WKWebViewPort port_;
};

// A page shown by a KorvaneOfferwallViewController: presented full screen (perhaps inside a
// navigation controller) or embedded in another page as a child controller. The controller is
// held weakly: UIKit owns it while it shows.
class ControllerScreen final : public UIKitScreen {
 public:
  ControllerScreen(::KorvaneOfferwallViewController* controller, const ScreenOptions& options);
  ~ControllerScreen() override;

  void setCloseHandler(std::function<void()> handler) override;
  void setRefreshHandler(std::function<void()> handler) override;
  void setDismissedHandler(std::function<void()> handler) override;
  bool dismiss(bool animated, std::function<void()> done) override;
  void afterTransition(std::function<void()> then) override;

  ::KorvaneOfferwallViewController* _Nullable controller() const { return controller_; }
  // A page made off screen is held here until UIKit presents it and holds it instead.
  void holdUntilPresented() { held_ = controller_; }
  void presented() { held_ = nil; }
  void* platformObject() const override { return (__bridge void*)controller_; }

 private:
  __weak ::KorvaneOfferwallViewController* controller_;
  ::KorvaneOfferwallViewController* _Nullable held_;
};

// A page of the embedded offerwall's stack: a web view filling the host's view, above the pages
// before it, with no chrome of its own.
class StackedScreen final : public UIKitScreen {
 public:
  explicit StackedScreen(UIView* container);
  void setCloseHandler(std::function<void()>) override {}
  void setRefreshHandler(std::function<void()>) override {}
  void setDismissedHandler(std::function<void()>) override {}
  bool dismiss(bool animated, std::function<void()> done) override;
  // Views come and go at once: nothing to wait for.
  void afterTransition(std::function<void()> then) override { then(); }
  UIView* _Nullable container() const { return container_; }
  void* platformObject() const override { return (__bridge void*)container_; }

 private:
  __weak UIView* container_;
};

// A screen of the app's that offerwall pages are presented over. Lives as long as the view
// controller it stands for (it is attached to it) and holds it weakly.
class HostControllerAnchor final : public PresentationAnchor {
 public:
  explicit HostControllerAnchor(UIViewController* controller) : controller_(controller) {}
  UIViewController* _Nullable controller() const { return controller_; }
  void* platformObject() const override { return (__bridge void*)controller_; }

 private:
  __weak UIViewController* controller_;
};

// The anchor of an app's view controller, made on first use and kept with the controller.
PresentationAnchor* anchorFor(UIViewController* _Nullable controller);

// Puts offerwall pages on screen with UIKit. A full-screen page UIKit would refuse (its presenter
// presents or is in a transition, or is not in a window) is not asked for: null comes back.
class UIKitScreenPresenter final : public ScreenPresenter {
 public:
  std::unique_ptr<Screen> presentFullScreen(PresentationAnchor* _Nullable over,
                                            const ScreenOptions& options) override;
  // A page whose view is loaded and laid out at the screen's size, its WKWebView loading, held
  // off screen until presentPrepared presents it as presentFullScreen would.
  std::unique_ptr<Screen> prepareFullScreen(const ScreenOptions& options) override;
  bool presentPrepared(Screen& prepared, PresentationAnchor* _Nullable over) override;
  std::unique_ptr<Screen> embedSlidingUp(Screen& parent, std::chrono::milliseconds duration,
                                         std::function<void()> done) override;
  std::unique_ptr<Screen> stackOver(Screen& parent) override;
};

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
