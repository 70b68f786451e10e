// The facade's readiness entry points: the start's status and whether an offerwall can show.
#include "korvane/sdk/korvane_sdk.h"
#include "offerwall/offerwall_availability.h"
#include "sdk/sdk_session.h"

namespace korvane {

Status KorvaneSdk::initialize(ApplicationHandle application, const KorvaneSdkConfig& sdkConfig,
                              std::function<void(const SdkStatus&)> completion) {
  return session()->initialize(std::move(application), sdkConfig, std::move(completion));
}

void KorvaneSdk::setConsent(bool given) {
  session()->setConsent(given);
}

SdkStatus KorvaneSdk::status() const {
  return session()->status();
}

Subscription KorvaneSdk::observeStatus(std::function<void(const SdkStatus&)> observer) {
  return session()->observeStatus(std::move(observer));
}

// Every placement is judged alike for now; the placement is named so that a per-placement
// switch from the backend can answer here without changing the call.
OfferwallAvailability KorvaneSdk::offerwallAvailability(const std::string&) const {
  const std::shared_ptr<SdkSession> current = session();
  return offerwall::availability(*current, current->environment().platform.reachability.get());
}

Subscription KorvaneSdk::observeOfferwallAvailability(
    const std::string& placementId, std::function<void(const OfferwallAvailability&)> observer) {
  // Each observation remembers what it last said, and speaks only when that changes.
  struct Said {
    std::mutex lock;
    std::optional<OfferwallAvailability> last;
  };
  auto said = std::make_shared<Said>();
  auto tell = [this, placementId, observer, said] {
    const OfferwallAvailability now = offerwallAvailability(placementId);
    {
      std::lock_guard lock(said->lock);
      if (said->last == now) return;
      said->last = now;
    }
    observer(now);
  };
  const std::shared_ptr<SdkSession> current = session();
  return current->startingWith(current->observeReadinessChanges(tell), tell);
}

}  // namespace korvane
