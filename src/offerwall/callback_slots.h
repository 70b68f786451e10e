#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

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

// One offerwall is shown at a time, so its callbacks and close flag are shared by every
// controller of a session. The session owns them (the context hands them out); a controller keeps
// the slots of the context it was made with, so another session's controllers never reach them.
// Main thread only.
class OfferwallSlots {
 public:
  std::shared_ptr<OfferwallCallback> offerwallCallback;
  std::shared_ptr<OfferwallEventCallback> eventCallback;
  bool hasFiredOnClosed = false;
  // Counts the openings, so that one ending late (its dismissal still fading) leaves a newer
  // opening's callback alone; `currentOpening` is the one whose callbacks are installed.
  std::uint64_t openings = 0;
  std::uint64_t currentOpening = 0;
  std::vector<Weak<KorvaneOfferwallViewController>> activeSubControllers;
  // Presented controllers stay alive until they are dismissed.
  std::vector<std::shared_ptr<KorvaneOfferwallViewController>> presented;
  // Pages closing (from the start of their close until they have left the screen), and the
  // openings waiting for them to be gone.
  std::vector<std::weak_ptr<OfferwallControllerImpl>> closing;
  std::vector<std::function<void()>> afterClosing;

  // What is installed now.
  OfferwallOpening opening() const;
  // Puts back what an opening had installed (one the platform refused, one a page opened
  // ending).
  void restore(const OfferwallOpening& opening);
  // Runs `then` at once when no offerwall page is closing; otherwise on the main thread once
  // every closing page has left the screen, since a page presented now would be presented over
  // the closing one and taken down with it.
  void whenNoneClosing(std::function<void()> then);
  // The session that owns the slots has ended: lets go of its pages and of the openings waiting
  // for them, so they end too (they hold the slots, so nothing else would). Main thread.
  void release();
};

// The slots `controller` was made with.
OfferwallSlots& slotsOf(const KorvaneOfferwallViewController& controller);
// A page asked for `controller`'s opening over its own offerwall, which stays on screen under it:
// when the new opening ends, `opener` is put back and that offerwall goes on reporting to its app.
// Set before presenting.
void returnToOpenerWhenEnded(KorvaneOfferwallViewController& controller, OfferwallOpening opener);

}  // namespace korvane
