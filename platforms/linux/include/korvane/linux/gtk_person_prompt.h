#pragma once

#include "korvane/platform/person_prompt.h"

namespace korvane::linux_host {

// Asks in a modal GTK message dialog over the window that shows the page (a WebKitGTK web view
// of this layer's). A web view of another kind, or one in no window, is answered no at once; a
// dialog closed by the window manager or left by its page's window is no.
class GtkPersonPrompt final : public PersonPrompt {
 public:
  void ask(WebView& over, const PersonQuestion& question,
           std::function<void(bool yes)> answer) override;
};

}  // namespace korvane::linux_host
