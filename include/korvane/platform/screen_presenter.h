#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "korvane/platform/web_view.h"

namespace korvane {

struct ScreenOptions {
  bool inNavigationContainer = false;  // wrap in the platform's navigation container
  bool showNavigationBar = false;
  std::string title;
};

// A visible page: one web view with its chrome. Only used on the main thread; destroying it
// removes it from the screen without animation.
class Screen {
 public:
  virtual ~Screen() = default;
  virtual WebView& webView() = 0;
  // Called when the person uses the screen's own close or back control.
  virtual void setCloseHandler(std::function<void()> handler) = 0;
  // Called when the person uses the screen's reload control.
  virtual void setRefreshHandler(std::function<void()> handler) = 0;
  // Takes the screen's own web view off the screen (a page embedded over it has replaced it).
  virtual void removeWebView() = 0;
  // Animates the page's opacity to `alpha` over `duration`; `done` runs when it has finished.
  virtual void fade(double alpha, std::chrono::milliseconds duration,
                    std::function<void()> done) = 0;
  virtual void dismiss(bool animated, std::function<void()> done) = 0;
};

// Puts offerwall pages on screen.
class ScreenPresenter {
 public:
  virtual ~ScreenPresenter() = default;
  // A full-screen page over `over` (or over the host's top screen when null).
  virtual std::unique_ptr<Screen> presentFullScreen(Screen* over, const ScreenOptions& options) = 0;
  // A page added inside `parent` just below its visible area, sliding up over `duration`.
  virtual std::unique_ptr<Screen> embedSlidingUp(Screen& parent, std::chrono::milliseconds duration,
                                                 std::function<void()> done) = 0;
  // A page stacked on top of `parent`'s content with no entrance animation (embedded view stack).
  virtual std::unique_ptr<Screen> stackOver(Screen& parent) = 0;
};

}  // namespace korvane
