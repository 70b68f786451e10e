#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "korvane/platform/web_view.h"

namespace korvane {

class KorvaneOfferwallViewController;

struct ScreenOptions {
  bool inNavigationContainer = false;  // wrap in the platform's navigation container
  bool showNavigationBar = false;
  std::string title;      // the native bar's title
  std::string backTitle;  // the custom bar's back button
  // The controller the page is for, when a controller asks for it (a platform whose pages are
  // controller objects of their own shows its fields there).
  std::weak_ptr<KorvaneOfferwallViewController> controller;
};

// Something an offerwall page can be presented over: another page, or a screen of the app's that
// the platform knows (an iOS view controller). Destroyed on the main thread only.
class PresentationAnchor {
 public:
  PresentationAnchor() = default;
  PresentationAnchor(const PresentationAnchor&) = delete;
  PresentationAnchor& operator=(const PresentationAnchor&) = delete;
  virtual ~PresentationAnchor() = default;

  // Expires when the anchor is destroyed, so that work which waited can tell.
  std::weak_ptr<const void> lifetime() const { return lifetime_; }
  // The platform's own object the anchor stands for (on iOS a view controller, or the view an
  // embedded page fills), for the platform's presenter; null when it has none or it is gone.
  virtual void* platformObject() const { return nullptr; }

 private:
  std::shared_ptr<const void> lifetime_ = std::make_shared<const char>('\0');
};

// An anchor kept across a wait (a request, a hop to the main thread), without keeping it alive.
// Read on the main thread, where anchors are destroyed.
class HeldAnchor {
 public:
  explicit HeldAnchor(PresentationAnchor* anchor)
      : anchor_(anchor), lifetime_(anchor ? anchor->lifetime() : std::weak_ptr<const void>()) {}
  // The anchor while it exists; null when none was given.
  PresentationAnchor* get() const { return lost() ? nullptr : anchor_; }
  // One was given and is gone: there is nothing left to present over.
  bool lost() const { return anchor_ && lifetime_.expired(); }

 private:
  PresentationAnchor* anchor_;
  std::weak_ptr<const void> lifetime_;
};

// A visible page: one web view with its chrome. Only used on the main thread; destroying it
// removes it from the screen without animation.
class Screen : public PresentationAnchor {
 public:
  virtual WebView& webView() = 0;
  // Called when the person uses the screen's own close or back control.
  virtual void setCloseHandler(std::function<void()> handler) = 0;
  // Called when the person uses the screen's reload control.
  virtual void setRefreshHandler(std::function<void()> handler) = 0;
  // Called when the page left the screen by other means than dismiss(): the app dismissed it,
  // the person swiped it away, or the platform let go of it (a page covered by one that left,
  // or one it never showed). It is gone by then.
  virtual void setDismissedHandler(std::function<void()> handler) = 0;
  // Takes the screen's own web view off the screen (a page embedded over it has replaced it).
  virtual void removeWebView() = 0;
  // Animates the page's opacity to `alpha` over `duration`; `done` runs when it has finished.
  virtual void fade(double alpha, std::chrono::milliseconds duration,
                    std::function<void()> done) = 0;
  // Takes the page (and whatever is presented over it) off the screen; `done` runs once it has
  // left. Returns false, and never runs `done`, when the platform cannot start it now because a
  // presentation or dismissal is in progress: the page is still up.
  virtual bool dismiss(bool animated, std::function<void()> done) = 0;
  // Runs `then` once no presentation or dismissal involving this page is in progress: at once
  // when none is. Never runs after the screen is destroyed.
  virtual void afterTransition(std::function<void()> then) = 0;
};

// Puts offerwall pages on screen.
class ScreenPresenter {
 public:
  virtual ~ScreenPresenter() = default;
  // A full-screen page over `over` (or over the host's top screen when null). Null when the
  // platform refused it (something is presented or in transition there, or nothing is in a
  // window): nothing was shown.
  virtual std::unique_ptr<Screen> presentFullScreen(PresentationAnchor* over,
                                                    const ScreenOptions& options) = 0;
  // A full-screen page made now and kept off screen: its web view exists (its web process
  // started) and loads as a shown one does, ready for presentPrepared. Null when the platform
  // keeps no page off screen, which is this default.
  virtual std::unique_ptr<Screen> prepareFullScreen(const ScreenOptions& options) {
    (void)options;
    return nullptr;
  }
  // Shows `prepared`, a page prepareFullScreen made, over `over` as presentFullScreen would, with
  // its web view and what it loaded as they are. False when the platform refused it for the same
  // reasons: nothing was shown and the page stays off screen.
  virtual bool presentPrepared(Screen& prepared, PresentationAnchor* over) {
    (void)prepared;
    (void)over;
    return false;
  }
  // A page added inside `parent` just below its visible area, sliding up over `duration`.
  virtual std::unique_ptr<Screen> embedSlidingUp(Screen& parent, std::chrono::milliseconds duration,
                                                 std::function<void()> done) = 0;
  // A page stacked on top of `parent`'s content with no entrance animation (embedded view stack).
  virtual std::unique_ptr<Screen> stackOver(Screen& parent) = 0;
};

}  // namespace korvane
