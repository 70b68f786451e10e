#pragma once

#include <string>

#include "korvane/platform/screen_presenter.h"

namespace korvane::testing {

// A point in a web view's widget, in its pixels from the top-left corner: CSS pixels of the
// page's viewport at the default zoom.
struct ViewPoint {
  double x = 0;
  double y = 0;
};

// A person's click with the primary button at `point` of the WebKitGTK web view on `screen`:
// a pointer motion, a press and a release, made as GDK events of the default seat's pointer and
// delivered through GTK's event pipeline (gtk_main_do_event) to the view's own window, as the
// display server's events are. The page sees a trusted click with a user gesture, which a
// script's element.click() is not. Delivered to the view directly: a widget drawn over the view
// (the custom bar) does not take it. False when the view is not realised and mapped. Main
// thread; the page handles the click when the main context runs next.
bool clickAt(Screen& screen, ViewPoint point);

// Scrolls the first element that matches the CSS `selector` into view and clicks the centre of
// its box as clickAt does. Runs the main context while it asks the page where the element is;
// false when there is none, it has an empty box, or the page did not answer.
bool clickElement(Screen& screen, const std::string& selector);

// Runs `script` in the main frame of the page on `screen` as the page's own script runs: without
// a user gesture. WebKit runs the scripts a host evaluates as a person's action (a link such a
// script clicks counts as clicked by a person), so the script goes through a MessageChannel,
// across which no gesture is carried. Returns at once; the script runs once the main context
// has run.
void runAsPageScript(Screen& screen, const std::string& script);

}  // namespace korvane::testing
