#include "korvane/linux/linux_reachability.h"

#include <gio/gio.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <memory>

namespace korvane::linux_host {
namespace {

using Observer = std::function<void(bool)>;

bool anInterfaceIsUp() {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) return false;
  bool connected = false;
  for (ifaddrs* entry = list; entry && !connected; entry = entry->ifa_next) {
    connected = entry->ifa_addr && (entry->ifa_flags & IFF_UP) &&
                (entry->ifa_flags & IFF_RUNNING) && !(entry->ifa_flags & IFF_LOOPBACK);
  }
  ::freeifaddrs(list);
  return connected;
}

void onNetworkChanged(GNetworkMonitor*, gboolean, gpointer observer) {
  (*static_cast<Observer*>(observer))(anInterfaceIsUp());
}

// GObject frees the observer once the handler is gone and no emission still runs it.
void releaseObserver(gpointer observer, GClosure*) {
  std::unique_ptr<Observer>(static_cast<Observer*>(observer));
}

}  // namespace

bool LinuxReachability::isConnected() const {
  return anInterfaceIsUp();
}

Subscription LinuxReachability::subscribe(std::function<void(bool)> observer) {
  GNetworkMonitor* monitor = g_network_monitor_get_default();
  if (!monitor || !observer) return Subscription();
  g_object_ref(monitor);
  auto held = std::make_unique<Observer>(std::move(observer));
  const gulong handler =
      g_signal_connect_data(monitor, "network-changed", G_CALLBACK(onNetworkChanged),
                            held.release(), releaseObserver, GConnectFlags{});
  return Subscription([monitor, handler] {
    g_signal_handler_disconnect(monitor, handler);
    g_object_unref(monitor);
  });
}

}  // namespace korvane::linux_host
