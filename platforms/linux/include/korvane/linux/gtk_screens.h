#pragma once

#include <memory>
#include <vector>

#include "korvane/platform/screen_presenter.h"

namespace korvane::linux_host {

// Offerwall screens on GTK 3: a window per full-screen page (a header with back, title and
// reload when a bar is asked for), pages embedded over a page with a slide-up, and pages stacked
// in an overlay with real opacity fades. Main thread only; calls gtk_init when nobody has.
class GtkScreenPresenter final : public ScreenPresenter {
 public:
  GtkScreenPresenter();
  std::unique_ptr<Screen> presentFullScreen(PresentationAnchor* over,
                                            const ScreenOptions& options) override;
  std::unique_ptr<Screen> embedSlidingUp(Screen& parent, std::chrono::milliseconds duration,
                                         std::function<void()> done) override;
  std::unique_ptr<Screen> stackOver(Screen& parent) override;
  // The pages this presenter shows, oldest first: the last is the one on top.
  std::vector<Screen*> liveScreens() const;

 private:
  std::shared_ptr<std::vector<Screen*>> screens_;
};

// Saves the window that shows `screen` as a PNG; false, saving nothing, while it shows nothing
// drawn yet (one colour throughout).
bool saveScreenshot(Screen& screen, const std::string& path);

}  // namespace korvane::linux_host
