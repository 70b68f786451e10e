#include "korvane/linux/gtk_screens.h"
#include "korvane/linux/drawn_pixels.h"

#include <gtk/gtk.h>

#include "korvane/linux/offerwall_window.h"
#include "korvane/linux/webkit_web_view.h"

namespace korvane::linux_host {
namespace {

// Runs `step(progress)` on every frame for `duration`, then `done`, unless the owner went away.
class Animation {
 public:
  Animation(std::weak_ptr<bool> owner, std::chrono::milliseconds duration,
            std::function<void(double)> step, std::function<void()> done)
      : owner_(std::move(owner)),
        duration_(duration),
        step_(std::move(step)),
        done_(std::move(done)),
        start_(g_get_monotonic_time()) {}

  static void start(std::unique_ptr<Animation> animation) {
    g_timeout_add_full(G_PRIORITY_DEFAULT, 16, tick, animation.release(), [](gpointer data) {
      std::unique_ptr<Animation>(static_cast<Animation*>(data));
    });
  }

 private:
  static gboolean tick(gpointer data) {
    auto* self = static_cast<Animation*>(data);
    if (self->owner_.expired()) return G_SOURCE_REMOVE;
    const double elapsed = static_cast<double>(g_get_monotonic_time() - self->start_) / 1000.0;
    const double total = static_cast<double>(self->duration_.count());
    const double progress = total <= 0 ? 1.0 : std::min(1.0, elapsed / total);
    self->step_(progress);
    if (progress < 1.0) return G_SOURCE_CONTINUE;
    if (self->done_) self->done_();
    return G_SOURCE_REMOVE;
  }

  std::weak_ptr<bool> owner_;
  std::chrono::milliseconds duration_;
  std::function<void(double)> step_;
  std::function<void()> done_;
  gint64 start_;
};

using ScreenList = std::vector<Screen*>;

// The bar's widget name (tests find the bar by it).
constexpr const char* kNavigationBarName = "korvane-navigation-bar";

// Gives `widget` the theme's opaque content background, so that what it covers stays hidden.
void paintBackground(GtkWidget* widget) {
  GtkCssProvider* css = gtk_css_provider_new();
  gtk_css_provider_load_from_data(css, "* { background-color: @theme_base_color; }", -1, nullptr);
  gtk_style_context_add_provider(gtk_widget_get_style_context(widget), GTK_STYLE_PROVIDER(css),
                                 GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_unref(css);
}

class GtkScreen final : public Screen {
 public:
  // A window of its own, shown at once unless it is `prepared`: then its page loads in a window
  // not shown yet, until show().
  GtkScreen(std::shared_ptr<ScreenList> list, GtkWindow* over, const ScreenOptions& options,
            bool prepared = false)
      : list_(std::move(list)), prepared_(prepared) {
    if (!prepared) list_->push_back(this);
    window_ = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_default_size(GTK_WINDOW(window_), kOfferwallWindowWidth, kOfferwallWindowHeight);
    gtk_window_set_title(GTK_WINDOW(window_),
                         options.title.empty() ? "Korvane offerwall" : options.title.c_str());
    if (over) gtk_window_set_transient_for(GTK_WINDOW(window_), over);
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    overlay_ = gtk_overlay_new();
    gtk_container_add(GTK_CONTAINER(overlay_), webView_.widget());
    if (options.showNavigationBar && options.inNavigationContainer) {
      // A navigation container's bar sits above the page.
      gtk_box_pack_start(GTK_BOX(column), makeBar(options), FALSE, FALSE, 0);
    } else if (options.showNavigationBar) {
      // The custom bar covers the page's top 44 points: pages are designed with their top
      // padded for it.
      GtkWidget* bar = makeBar(options);
      gtk_widget_set_valign(bar, GTK_ALIGN_START);
      gtk_overlay_add_overlay(GTK_OVERLAY(overlay_), bar);
    }
    gtk_box_pack_start(GTK_BOX(column), overlay_, TRUE, TRUE, 0);
    gtk_container_add(GTK_CONTAINER(window_), column);
    g_signal_connect(window_, "delete-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, gpointer data) {
                       static_cast<GtkScreen*>(data)->closeRequested();
                       return TRUE;
                     }),
                     this);
    gtk_widget_show_all(prepared ? column : window_);
  }

  // Shows a prepared window over `over`; false when it is not one waiting to be shown.
  bool show(GtkWindow* over) {
    if (!prepared_ || !window_) return false;
    prepared_ = false;
    list_->push_back(this);
    if (over) gtk_window_set_transient_for(GTK_WINDOW(window_), over);
    gtk_widget_show(window_);
    return true;
  }

  // The first page of an embedded offerwall, filling `container`, a container of the host's.
  GtkScreen(std::shared_ptr<ScreenList> list, GtkContainer* container)
      : list_(std::move(list)), ownedOverlay_(true) {
    list_->push_back(this);
    overlay_ = gtk_overlay_new();
    // Held until this page goes, even when the host destroys its container first.
    g_object_ref_sink(overlay_);
    gtk_widget_set_hexpand(overlay_, TRUE);
    gtk_widget_set_vexpand(overlay_, TRUE);
    gtk_container_add(GTK_CONTAINER(overlay_), webView_.widget());
    gtk_container_add(container, overlay_);
    gtk_widget_show_all(overlay_);
  }

  // A page inside `parent`'s overlay, above what it shows.
  explicit GtkScreen(GtkScreen& parent)
      : list_(parent.list_), parentOverlay_(parent.overlay_), overlay_(parent.overlay_) {
    list_->push_back(this);
    GtkWidget* widget = webView_.widget();
    gtk_overlay_add_overlay(GTK_OVERLAY(parentOverlay_), widget);
    gtk_widget_set_halign(widget, GTK_ALIGN_FILL);
    gtk_widget_set_valign(widget, GTK_ALIGN_FILL);
    gtk_widget_show(widget);
  }

  ~GtkScreen() override {
    std::erase(*list_, this);
    *alive_ = false;
    alive_.reset();
    if (window_) gtk_widget_destroy(window_);
    if (ownedOverlay_) {
      gtk_widget_destroy(overlay_);  // leaves the host's container
      g_object_unref(overlay_);
    }
  }

  WebView& webView() override { return webView_; }
  void setCloseHandler(std::function<void()> handler) override { close_ = std::move(handler); }
  void setRefreshHandler(std::function<void()> handler) override { refresh_ = std::move(handler); }
  // Closing the window is the close control (closeRequested); nothing else takes it away.
  void setDismissedHandler(std::function<void()>) override {}
  void removeWebView() override { gtk_widget_hide(webView_.widget()); }

  void fade(double alpha, std::chrono::milliseconds duration, std::function<void()> done) override {
    GtkWidget* widget = webView_.widget();
    const double from = gtk_widget_get_opacity(widget);
    Animation::start(std::make_unique<Animation>(
        alive_, duration,
        [widget, from, alpha](double t) {
          gtk_widget_set_opacity(widget, from + (alpha - from) * t);
        },
        std::move(done)));
  }

  bool dismiss(bool animated, std::function<void()> done) override {
    if (leaving_) return false;
    GtkWidget* target = window_ ? window_ : webView_.widget();
    leaving_ = true;
    auto finish = [this, alive = std::weak_ptr<bool>(alive_), target, done = std::move(done)] {
      gtk_widget_hide(target);
      leaving_ = false;
      if (done) done();
      if (alive.expired()) return;  // `done` ended the page: nothing may wait on it any more
      std::vector<std::function<void()>> waiting = std::move(afterLeaving_);
      for (auto& then : waiting) then();
    };
    if (!animated) {
      finish();
      return true;
    }
    const double from = gtk_widget_get_opacity(target);
    Animation::start(std::make_unique<Animation>(
        alive_, std::chrono::milliseconds(200),
        [target, from](double t) { gtk_widget_set_opacity(target, from * (1 - t)); }, finish));
    return true;
  }

  // A desktop window appears at once; only a dismissal's fade-out takes time.
  void afterTransition(std::function<void()> then) override {
    if (!leaving_) return then();
    afterLeaving_.push_back(std::move(then));
  }

  // Starts just below the visible area and slides up to cover it.
  void slideUp(std::chrono::milliseconds duration, std::function<void()> done) {
    GtkWidget* widget = webView_.widget();
    const int height = std::max(1, gtk_widget_get_allocated_height(parentOverlay_));
    gtk_widget_set_valign(widget, GTK_ALIGN_START);
    gtk_widget_set_size_request(widget, -1, height);
    gtk_widget_set_margin_top(widget, height);
    Animation::start(std::make_unique<Animation>(
        alive_, duration,
        [widget, height](double t) {
          const double eased = 1 - (1 - t) * (1 - t);  // ease-out
          gtk_widget_set_margin_top(widget, static_cast<int>(height * (1 - eased)));
        },
        [widget, done = std::move(done)] {
          gtk_widget_set_valign(widget, GTK_ALIGN_FILL);
          gtk_widget_set_size_request(widget, -1, -1);
          if (done) done();
        }));
  }

  GtkWindow* window() const {
    if (window_) return GTK_WINDOW(window_);
    GtkWidget* top = gtk_widget_get_toplevel(overlay_);
    return GTK_IS_WINDOW(top) ? GTK_WINDOW(top) : nullptr;
  }

 private:
  GtkWidget* makeBar(const ScreenOptions& options) {
    GtkWidget* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    GtkWidget* close =
        gtk_button_new_with_label(options.inNavigationContainer ? "✕" : options.backTitle.c_str());
    GtkWidget* title = gtk_label_new(options.inNavigationContainer ? options.title.c_str() : "");
    GtkWidget* refresh = gtk_button_new_with_label("⟳");
    for (GtkWidget* button : {close, refresh})
      gtk_button_set_relief(GTK_BUTTON(button), GTK_RELIEF_NONE);
    gtk_widget_set_margin_start(close, 16);
    gtk_widget_set_margin_end(refresh, 16);
    gtk_box_pack_start(GTK_BOX(bar), close, FALSE, FALSE, 0);
    gtk_box_set_center_widget(GTK_BOX(bar), title);
    gtk_box_pack_end(GTK_BOX(bar), refresh, FALSE, FALSE, 0);
    g_signal_connect(close, "clicked", G_CALLBACK(+[](GtkButton*, gpointer data) {
                       static_cast<GtkScreen*>(data)->closeRequested();
                     }),
                     this);
    g_signal_connect(refresh, "clicked", G_CALLBACK(+[](GtkButton*, gpointer data) {
                       auto* self = static_cast<GtkScreen*>(data);
                       if (self->refresh_) self->refresh_();
                     }),
                     this);
    // 44 pixels with the separator along the bottom, on an opaque background.
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_set_name(column, kNavigationBarName);
    gtk_widget_set_size_request(column, -1, 44);
    paintBackground(column);
    gtk_box_pack_start(GTK_BOX(column), bar, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(column), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL), FALSE, FALSE,
                       0);
    return column;
  }

  void closeRequested() {
    if (close_) close_();
  }

  std::shared_ptr<ScreenList> list_;
  bool prepared_ = false;  // made off screen, not shown yet
  WebKitWebViewPort webView_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  bool leaving_ = false;  // a dismissal's fade-out runs
  std::vector<std::function<void()>> afterLeaving_;
  GtkWidget* window_ = nullptr;
  GtkWidget* parentOverlay_ = nullptr;
  GtkWidget* overlay_ = nullptr;
  bool ownedOverlay_ = false;  // the embedded first page's, in the host's container
  std::function<void()> close_;
  std::function<void()> refresh_;
};

// GTK starts with the first page, so hosts that never show one need no display.
bool gtkStarted() {
  static const bool started = gtk_init_check(nullptr, nullptr);
  if (!started) g_warning("GTK could not open a display");
  return started;
}

}  // namespace

GtkScreenPresenter::GtkScreenPresenter() : screens_(std::make_shared<std::vector<Screen*>>()) {}

std::vector<Screen*> GtkScreenPresenter::liveScreens() const {
  return *screens_;
}

std::unique_ptr<Screen> GtkScreenPresenter::presentFullScreen(PresentationAnchor* over,
                                                              const ScreenOptions& options) {
  gtkStarted();
  // A desktop has no screens of the host's to anchor on: only offerwall pages are anchors.
  auto* page = dynamic_cast<GtkScreen*>(over);
  GtkWindow* parent = page ? page->window() : nullptr;
  return std::make_unique<GtkScreen>(screens_, parent, options);
}

std::unique_ptr<Screen> GtkScreenPresenter::prepareFullScreen(const ScreenOptions& options) {
  if (!gtkStarted()) return nullptr;
  return std::make_unique<GtkScreen>(screens_, nullptr, options, /*prepared=*/true);
}

bool GtkScreenPresenter::presentPrepared(Screen& prepared, PresentationAnchor* over) {
  auto* page = dynamic_cast<GtkScreen*>(over);
  return static_cast<GtkScreen&>(prepared).show(page ? page->window() : nullptr);
}

std::unique_ptr<Screen> GtkScreenPresenter::embedIn(GtkWidget* container) {
  if (!container || !GTK_IS_CONTAINER(container) || gtk_widget_in_destruction(container))
    return nullptr;
  return std::make_unique<GtkScreen>(screens_, GTK_CONTAINER(container));
}

std::unique_ptr<Screen> GtkScreenPresenter::embedSlidingUp(Screen& parent,
                                                           std::chrono::milliseconds duration,
                                                           std::function<void()> done) {
  auto screen = std::make_unique<GtkScreen>(static_cast<GtkScreen&>(parent));
  screen->slideUp(duration, std::move(done));
  return screen;
}

std::unique_ptr<Screen> GtkScreenPresenter::stackOver(Screen& parent) {
  return std::make_unique<GtkScreen>(static_cast<GtkScreen&>(parent));
}

bool saveScreenshot(Screen& screen, const std::string& path) {
  GtkWindow* window = static_cast<GtkScreen&>(screen).window();
  GdkWindow* drawn = window ? gtk_widget_get_window(GTK_WIDGET(window)) : nullptr;
  if (!drawn) return false;
  GdkPixbuf* pixels = gdk_pixbuf_get_from_window(drawn, 0, 0, gdk_window_get_width(drawn),
                                                 gdk_window_get_height(drawn));
  if (!pixels) return false;
  const bool saved = showsContent(gdk_pixbuf_read_pixels(pixels), gdk_pixbuf_get_width(pixels),
                                  gdk_pixbuf_get_height(pixels),
                                  static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixels)),
                                  gdk_pixbuf_get_n_channels(pixels)) &&
                     gdk_pixbuf_save(pixels, path.c_str(), "png", nullptr, nullptr);
  g_object_unref(pixels);
  return saved;
}

}  // namespace korvane::linux_host
