#pragma once

#include <functional>

#include "korvane/offerwall/offerwall_view_controller.h"

namespace korvane {

// Loads `controller`'s first page (its fields set as for present) in a full-screen page the
// platform keeps off screen: bridge, identification headers and user as a shown page has them.
// Its present() then shows that page as it is, loading nothing again. Until then the page opens
// nothing outside the app and what it posts waits; `lost` runs on the main thread, once, when the
// page ends unseen (it closed itself, its load failed). False when the platform keeps no page off
// screen or there is no address. Main thread only.
bool loadOffScreen(KorvaneOfferwallViewController& controller, std::function<void()> lost);
// Loaded off screen and not presented yet.
bool isOffScreen(const KorvaneOfferwallViewController& controller);

}  // namespace korvane
