#include "sdk/facade_context.h"

#include "korvane/sdk/korvane_sdk.h"
#include "sdk/sdk_session.h"

namespace korvane {

const PlatformServices& FacadeContext::platform() const {
  // The facade keeps its session until it replaces it, which no SDK call overlaps.
  return sdk_.session()->environment().platform;
}

std::shared_ptr<NetworkManager> FacadeContext::backend() const {
  return sdk_.session()->environment().network;
}

std::shared_ptr<DeviceUtils> FacadeContext::device() const {
  return sdk_.session()->device();
}

std::shared_ptr<Executor> FacadeContext::tasks() const {
  return sdk_.session()->environment().tasks;
}

std::shared_ptr<const SessionFacts> FacadeContext::session() const {
  return sdk_.session();
}

std::shared_ptr<EventTracker> FacadeContext::tracker() const {
  return sdk_.session();
}

std::shared_ptr<PlacementMessages> FacadeContext::placements() const {
  return sdk_.session()->placementRegistry();
}

std::shared_ptr<OfferwallSlots> FacadeContext::offerwallSlots() const {
  return sdk_.session()->offerwallSlots();
}

std::shared_ptr<PlacementRegistry> FacadeContext::placementRegistry() const {
  return sdk_.session()->placementRegistry();
}

}  // namespace korvane
