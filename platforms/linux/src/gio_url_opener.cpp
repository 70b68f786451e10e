#include "korvane/linux/gio_url_opener.h"

#include <gio/gio.h>

namespace korvane::linux_host {

GioUrlOpener::GioUrlOpener(std::shared_ptr<MainThread> mainThread)
    : mainThread_(std::move(mainThread)) {}

bool GioUrlOpener::canOpen(const std::string& url) const {
  char* scheme = g_uri_parse_scheme(url.c_str());
  if (!scheme) return false;
  GAppInfo* handler = g_app_info_get_default_for_uri_scheme(scheme);
  g_free(scheme);
  if (!handler) return false;
  g_object_unref(handler);
  return true;
}

void GioUrlOpener::open(const std::string& url, std::function<void(bool)> completion) {
  mainThread_->post([url, completion = std::move(completion)] {
    GError* error = nullptr;
    const bool opened = g_app_info_launch_default_for_uri(url.c_str(), nullptr, &error);
    if (error) g_error_free(error);
    if (completion) completion(opened);
  });
}

}  // namespace korvane::linux_host
