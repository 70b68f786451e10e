#pragma once

#include <memory>
#include <vector>

#include "korvane/platform/screen_presenter.h"

typedef struct _GtkWidget GtkWidget;

namespace korvane::linux_host {

// Offerwall screens on GTK 3: a window per full-screen page (a navigation container's bar above
// the page, the custom bar over its top 44 pixels), pages embedded over a page with a slide-up,
// and pages stacked in an overlay with real opacity fades. Main thread only; calls gtk_init when
// nobody has.
class GtkScreenPresenter final : public ScreenPresenter {
 public:
  GtkScreenPresenter();
  // A page filling `container`, a GtkContainer of the host's (the embedded offerwall's first
  // page); null when it is not a container or is being destroyed. The page leaves the container
  // when it is destroyed.
  std::unique_ptr<Screen> embedIn(GtkWidget* container);
  std::unique_ptr<Screen> presentFullScreen(PresentationAnchor* over,
                                            const ScreenOptions& options) override;
  // A window made and loading but not shown (its web process runs), until presentPrepared.
  std::unique_ptr<Screen> prepareFullScreen(const ScreenOptions& options) override;
  bool presentPrepared(Screen& prepared, PresentationAnchor* over) override;
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
