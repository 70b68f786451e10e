#pragma once

#include "context/sdk_context.h"

namespace korvane {

class KorvaneSdk;

// The context the facade hands to what it makes: every part answers from the facade's session.
// It follows the facade rather than one session, so that what a host made keeps working when the
// session is replaced (tests start again from a clean session; a process has one).
class FacadeContext final : public SdkContext {
 public:
  explicit FacadeContext(const KorvaneSdk& sdk) : sdk_(sdk) {}

  const PlatformServices& platform() const override;
  std::shared_ptr<NetworkManager> backend() const override;
  std::shared_ptr<DeviceUtils> device() const override;
  std::shared_ptr<Executor> tasks() const override;
  std::shared_ptr<const SessionFacts> session() const override;
  std::shared_ptr<EventTracker> tracker() const override;
  std::shared_ptr<PlacementMessages> placements() const override;
  std::shared_ptr<OfferwallSlots> offerwallSlots() const override;
  std::shared_ptr<PlacementRegistry> placementRegistry() const override;

 private:
  // The facade outlives its context: it is never destroyed.
  const KorvaneSdk& sdk_;
};

}  // namespace korvane
