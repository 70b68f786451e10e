#include "korvane/util/control_labels.h"

#include <array>

namespace korvane {
namespace {

// Glyphs titles use as arrows or decoration, in UTF-8: read aloud they are noise.
constexpr std::array<std::string_view, 9> kGlyphs = {" ", "<", ">", "\t", "‹", "›", "«", "»", "←"};

bool dropLeading(std::string_view& text) {
  for (std::string_view glyph : kGlyphs) {
    if (text.substr(0, glyph.size()) == glyph) {
      text.remove_prefix(glyph.size());
      return true;
    }
  }
  return false;
}

bool dropTrailing(std::string_view& text) {
  for (std::string_view glyph : kGlyphs) {
    if (text.size() >= glyph.size() && text.substr(text.size() - glyph.size()) == glyph) {
      text.remove_suffix(glyph.size());
      return true;
    }
  }
  return false;
}

}  // namespace

std::string spokenTitle(std::string_view title) {
  while (dropLeading(title)) {
  }
  while (dropTrailing(title)) {
  }
  return std::string(title);
}

ControlLabels controlLabels(std::string_view backTitle) {
  std::string back = spokenTitle(backTitle);
  return ControlLabels{"닫기", "새로고침", back.empty() ? std::string("뒤로") : back};
}

}  // namespace korvane
