#include "offerwall/offerwall_availability.h"

namespace korvane::offerwall {

OfferwallAvailability availability(const SessionFacts& session, const Reachability* reachability) {
  const auto unavailable = [](OfferwallUnavailableReason reason) {
    return OfferwallAvailability{reason};
  };
  if (session.refusal(SdkFeature::offerwall))
    return unavailable(OfferwallUnavailableReason::disabledByServer);
  // A refusal counts as validated (isInitialized), yet the status says it failed.
  if (session.status().state == SdkState::failed)
    return unavailable(OfferwallUnavailableReason::validationFailed);
  if (!session.isInitialized()) return unavailable(OfferwallUnavailableReason::notInitialized);
  const std::optional<AppData> app = session.validatedAppData();
  if (!app || app->korvaneHubUrl.empty())
    return unavailable(OfferwallUnavailableReason::noOfferwallAddress);
  if (!session.currentUser()) return unavailable(OfferwallUnavailableReason::noUser);
  if (reachability && !reachability->isConnected())
    return unavailable(OfferwallUnavailableReason::offline);
  return {};
}

}  // namespace korvane::offerwall
