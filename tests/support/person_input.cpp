#include "person_input.h"

#include <gtk/gtk.h>

#include <chrono>
#include <memory>
#include <optional>
#include <thread>

#include "korvane/linux/webkit_web_view.h"
#include "korvane/util/json_value.h"

namespace korvane::testing {
namespace {

// One event of the default seat's pointer at `point` of `widget`, handed to GTK as the display
// server's own would be.
void deliver(GtkWidget* widget, GdkEventType type, ViewPoint point, guint state) {
  GdkWindow* window = gtk_widget_get_window(widget);
  GdkDevice* pointer =
      gdk_seat_get_pointer(gdk_display_get_default_seat(gdk_display_get_default()));
  double x = point.x;
  double y = point.y;
  // A widget without a window of its own has its allocation's origin in its parent's window.
  if (!gtk_widget_get_has_window(widget)) {
    GtkAllocation allocation;
    gtk_widget_get_allocation(widget, &allocation);
    x += allocation.x;
    y += allocation.y;
  }
  int rootX = 0;
  int rootY = 0;
  gdk_window_get_root_coords(window, static_cast<int>(x), static_cast<int>(y), &rootX, &rootY);
  const guint32 time = static_cast<guint32>(g_get_monotonic_time() / 1000);

  GdkEvent* event = gdk_event_new(type);
  if (type == GDK_MOTION_NOTIFY) {
    GdkEventMotion& motion = event->motion;
    motion.window = GDK_WINDOW(g_object_ref(window));
    motion.time = time;
    motion.x = x;
    motion.y = y;
    motion.x_root = rootX;
    motion.y_root = rootY;
    motion.state = state;
  } else {
    GdkEventButton& button = event->button;
    button.window = GDK_WINDOW(g_object_ref(window));
    button.time = time;
    button.x = x;
    button.y = y;
    button.x_root = rootX;
    button.y_root = rootY;
    button.button = GDK_BUTTON_PRIMARY;
    button.state = state;
  }
  gdk_event_set_device(event, pointer);
  gdk_event_set_source_device(event, pointer);
  gtk_main_do_event(event);
  gdk_event_free(event);
}

GtkWidget* viewWidget(Screen& screen) {
  auto* port = dynamic_cast<linux_host::WebKitWebViewPort*>(&screen.webView());
  return port ? port->widget() : nullptr;
}

// The page's answer to `script` as JSON text; nothing when it failed or took over five seconds.
std::optional<std::string> ask(Screen& screen, const std::string& script) {
  auto answer = std::make_shared<std::optional<Result<std::string>>>();
  screen.webView().evaluateJavaScript(script,
                                      [answer](Result<std::string> r) { *answer = std::move(r); });
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!answer->has_value() && std::chrono::steady_clock::now() < until) {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  if (!answer->has_value() || !**answer) return std::nullopt;
  return (**answer).value();
}

}  // namespace

bool clickAt(Screen& screen, ViewPoint point) {
  GtkWidget* widget = viewWidget(screen);
  if (!widget || !gtk_widget_get_realized(widget) || !gtk_widget_get_mapped(widget)) return false;
  deliver(widget, GDK_MOTION_NOTIFY, point, 0);
  deliver(widget, GDK_BUTTON_PRESS, point, 0);
  deliver(widget, GDK_BUTTON_RELEASE, point, GDK_BUTTON1_MASK);
  return true;
}

bool clickElement(Screen& screen, const std::string& selector) {
  const std::string quoted =
      JsonValue(selector).dump(-1, ' ', false, JsonValue::error_handler_t::replace);
  const std::optional<std::string> answer =
      ask(screen, "(function() { var e = document.querySelector(" + quoted +
                      "); if (!e) return null; e.scrollIntoView({ block: 'center' });"
                      " var r = e.getBoundingClientRect(); if (!r.width || !r.height) return null;"
                      " return [r.left + r.width / 2, r.top + r.height / 2]; })()");
  if (!answer) return false;
  const JsonValue centre = JsonValue::parse(*answer, nullptr, false);
  if (!centre.is_array() || centre.size() != 2 || !centre[0].is_number() || !centre[1].is_number())
    return false;
  return clickAt(screen, {centre[0].get<double>(), centre[1].get<double>()});
}

void runAsPageScript(Screen& screen, const std::string& script) {
  screen.webView().evaluateJavaScript(
      "(function() { var hop = new MessageChannel(); hop.port1.onmessage = function() {\n" +
          script + "\n}; hop.port2.postMessage(0); })()",
      nullptr);
}

}  // namespace korvane::testing
