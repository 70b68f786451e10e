#include <memory>

#include "korvane/linux/curl_http_client.h"
#if KORVANE_WITH_WEBKIT
#include <gtk/gtk.h>

#include "korvane/linux/gtk_person_prompt.h"
#include "korvane/linux/gtk_screens.h"
#endif
#include "korvane/linux/gio_url_opener.h"
#include "korvane/linux/glib_main_thread.h"
#include "korvane/linux/host_lifecycle.h"
#include "korvane/linux/linux_device.h"
#include "korvane/linux/linux_diagnostics.h"
#include "korvane/linux/linux_platform.h"
#include "korvane/linux/linux_reachability.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/linux/system_clock.h"

namespace korvane {
namespace linux_host {

std::shared_ptr<GlibMainThread> processMainThread() {
  static const auto mainThread =
      std::make_shared<GlibMainThread>(nullptr, GlibMainThread::Owner::processMain);
  return mainThread;
}

std::shared_ptr<HostAppLifecycle> hostLifecycle() {
  static const auto lifecycle = std::make_shared<HostAppLifecycle>(processMainThread());
  return lifecycle;
}

std::shared_ptr<LinuxMemoryPressure> memoryPressure() {
  static const auto pressure = std::make_shared<LinuxMemoryPressure>(processMainThread());
  return pressure;
}

PlatformServices makePlatformServices(const std::filesystem::path& dataDirectory) {
  PlatformServices services;
  std::shared_ptr<GlibMainThread> mainThread = processMainThread();
  services.http = std::make_shared<CurlHttpClient>();
  services.userDefaults = std::make_shared<FileKeyValueStore>(dataDirectory / "user_defaults.json");
  services.documents = std::make_shared<FixedDocumentsDirectory>(dataDirectory / "Documents");
  services.mainThread = mainThread;
  services.clock = std::make_shared<SystemClock>();
  services.random = std::make_shared<SystemRandom>();
  services.device = std::make_shared<LinuxDeviceProbe>();
  services.tracking = std::make_shared<LinuxTrackingAuthorization>();
  services.reachability = std::make_shared<LinuxReachability>();
  services.lifecycle = hostLifecycle();
  services.urlOpener = std::make_shared<GioUrlOpener>(mainThread);
  services.diagnostics = std::make_shared<LinuxProcessDiagnostics>();
  services.memoryPressure = memoryPressure();
  services.screens = screenPresenter();
#if KORVANE_WITH_WEBKIT
  services.prompt = std::make_shared<GtkPersonPrompt>();
#endif
  return services;
}

std::shared_ptr<ScreenPresenter> screenPresenter() {
#if KORVANE_WITH_WEBKIT
  static const auto presenter = std::make_shared<GtkScreenPresenter>();
  return presenter;
#else
  return nullptr;
#endif
}

#if KORVANE_WITH_WEBKIT
namespace {

// A weak reference to the host's container: the maker may outlive it.
class WatchedWidget {
 public:
  explicit WatchedWidget(GtkWidget* widget) { g_weak_ref_init(&ref_, widget); }
  ~WatchedWidget() { g_weak_ref_clear(&ref_); }
  WatchedWidget(const WatchedWidget&) = delete;
  WatchedWidget& operator=(const WatchedWidget&) = delete;
  // A strong reference while the widget lives (unref it), else null.
  GtkWidget* take() { return static_cast<GtkWidget*>(g_weak_ref_get(&ref_)); }

 private:
  GWeakRef ref_;
};

}  // namespace

KorvaneOfferwallView::FirstPageMaker offerwallPageIn(GtkWidget* container) {
  auto watched = std::make_shared<WatchedWidget>(container);
  return [watched]() -> std::unique_ptr<Screen> {
    auto* presenter = dynamic_cast<GtkScreenPresenter*>(screenPresenter().get());
    GtkWidget* widget = watched->take();
    if (!widget || !presenter) {
      if (widget) g_object_unref(widget);
      return nullptr;
    }
    std::unique_ptr<Screen> page = presenter->embedIn(widget);
    g_object_unref(widget);
    return page;
  };
}
#else
KorvaneOfferwallView::FirstPageMaker offerwallPageIn(GtkWidget*) {
  return [] { return std::unique_ptr<Screen>(); };
}
#endif

}  // namespace linux_host

PlatformServices platformServicesForProcess() {
  return linux_host::makePlatformServices(linux_host::defaultDataDirectory());
}

}  // namespace korvane
