#pragma once

#include <string>

namespace korvane {

// Page scripts that find the page's inner scrolling element (probing the centre, the top and the
// bottom of the viewport, at most 20 ancestors each) and save or restore its offset. The
// document's own scroll is deliberately left alone.
const std::string& saveScrollScript();           // answers the offset, or 0
std::string restoreScrollScript(double offset);  // answers "restored:<offset>" or "not_found"

}  // namespace korvane
