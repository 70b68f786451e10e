#pragma once

#include <string>
#include <string_view>

namespace korvane {

// What VoiceOver reads for the offerwall's bar controls: words only, never the glyphs a visible
// title carries ("< 뒤로" is read "뒤로", not "less than, 뒤로").
struct ControlLabels {
  std::string close;
  std::string reload;
  std::string back;
};

// The labels for a bar whose back button shows `backTitle`.
ControlLabels controlLabels(std::string_view backTitle);

// A button title without the arrow glyphs and blanks around its words; empty when it has none.
std::string spokenTitle(std::string_view title);

}  // namespace korvane
