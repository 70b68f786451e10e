#pragma once

#include <string>

#include "placements/placement_support.h"

namespace korvane::launch {

// KorvaneSdk::openOfferwallWithUrl on the main thread, with the opening's callbacks spelled out
// (an opening a page asks for returns the callbacks it replaces when it ends).
void openOfferwallWithUrl(const std::string& url, const std::string& placementId,
                          PresentationAnchor* presenting,
                          const placements::OpeningCallbacks& callbacks, bool showNavigationBar,
                          bool useNativeNavigationBar);

}  // namespace korvane::launch
