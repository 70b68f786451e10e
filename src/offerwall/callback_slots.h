#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/offerwall/offerwall_callback.h"
#include "korvane/offerwall/offerwall_view_controller.h"

namespace korvane {

// What an opening installed in the full-screen offerwall's shared slots, and which opening it
// is. Main thread only.
struct OfferwallOpening {
  std::shared_ptr<OfferwallCallback> callback;
  std::shared_ptr<OfferwallEventCallback> eventCallback;
  bool hasFiredOnClosed = false;
  std::uint64_t generation = 0;
};

// What is installed now.
OfferwallOpening currentOfferwallOpening();
// Puts back what an opening had installed (one the platform refused, one a page opened ending).
void restoreOfferwallOpening(const OfferwallOpening& opening);
// A page asked for `controller`'s opening over its own offerwall, which stays on screen under it:
// when the new opening ends, `opener` is put back and that offerwall goes on reporting to its app.
// Set before presenting.
void returnToOpenerWhenEnded(KorvaneOfferwallViewController& controller, OfferwallOpening opener);
// Runs `then` at once when no offerwall page is closing; otherwise on the main thread once every
// closing page has left the screen, since a page presented now would be presented over the
// closing one and taken down with it.
void whenNoOfferwallIsClosing(std::function<void()> then);

}  // namespace korvane
