#pragma once

#include <filesystem>
#include <memory>

#include "korvane/linux/glib_main_thread.h"
#include "korvane/linux/host_lifecycle.h"
#include "korvane/linux/linux_memory_pressure.h"
#include "korvane/offerwall/offerwall_view.h"
#include "korvane/platform/platform_services.h"

typedef struct _GtkWidget GtkWidget;

namespace korvane::linux_host {

// Every port on Linux: libcurl, files under `dataDirectory` (user defaults, Documents/), the
// default GLib main context on the process's first thread, the host-reported lifecycle.
PlatformServices makePlatformServices(const std::filesystem::path& dataDirectory);

// The process's first thread as the main thread (default GLib main context). Process-wide.
std::shared_ptr<GlibMainThread> processMainThread();
// The screens of the offerwall (nothing when built without WebKitGTK). Process-wide.
std::shared_ptr<ScreenPresenter> screenPresenter();
// The lifecycle the host reports to (window hidden or shown, quitting). Process-wide.
std::shared_ptr<HostAppLifecycle> hostLifecycle();
// The memory warnings the SDK hears: GIO's, and the host's own through notifyLowMemory().
// Process-wide.
std::shared_ptr<LinuxMemoryPressure> memoryPressure();

// Where the embeddable offerwall shows: `container` is a GtkContainer the host placed in its own
// layout (a GtkBox, a GtkGrid cell, a GtkStack page), and the offerwall's pages fill it:
//   auto view = KorvaneOfferwallView::create(linux_host::offerwallPageIn(box));
// The container is not kept alive: once the host has destroyed it, a load reports that the view
// is gone. Main thread only; without WebKitGTK the view makes no page.
KorvaneOfferwallView::FirstPageMaker offerwallPageIn(GtkWidget* container);

}  // namespace korvane::linux_host
