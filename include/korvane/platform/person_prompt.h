#pragma once

#include <functional>
#include <string>

#include "korvane/platform/web_view.h"

namespace korvane {

// A yes-or-no question for the person, in the system's own words and controls.
struct PersonQuestion {
  std::string title;
  std::string message;
  std::string confirm;  // the button that says yes
  std::string cancel;   // the button that says no
};

// Asks the person natively, over the page that `over` shows (an alert on iOS, a dialog on the
// desktop). Main thread only. `answer` runs once, on the main thread: true only when the person
// chose `confirm`; dismissing the question any other way is no. A platform that cannot ask
// answers no at once.
class PersonPrompt {
 public:
  virtual ~PersonPrompt() = default;
  virtual void ask(WebView& over, const PersonQuestion& question,
                   std::function<void(bool yes)> answer) = 0;
};

}  // namespace korvane
