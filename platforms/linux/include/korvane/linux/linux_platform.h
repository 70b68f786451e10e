#pragma once

#include <filesystem>
#include <memory>

#include "korvane/linux/glib_main_thread.h"
#include "korvane/linux/host_lifecycle.h"
#include "korvane/platform/platform_services.h"

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

}  // namespace korvane::linux_host
