#pragma once

#include "korvane/platform/person_prompt.h"

namespace korvane::ios {

// Asks in a UIAlertController presented by the view controller that shows the page (found from
// the web view up the responder chain, then up to whatever it presents). A web view of another
// kind, one in no controller, or a controller in transition is answered no at once.
class UIKitPersonPrompt final : public PersonPrompt {
 public:
  void ask(WebView& over, const PersonQuestion& question,
           std::function<void(bool yes)> answer) override;
};

}  // namespace korvane::ios
