// What turns the session off, wholly or in part: the start-up guard's decision at initialize and
// the off switch in the backend's validation answer.
#include "korvane/util/logger.h"
#include "korvane/version.h"
#include "sdk/sdk_session.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneSdk";

std::string inertText() {
  return "KorvaneSDK is inert: its start ended the app " +
         std::to_string(StartupGuard::kInertAfter) +
         " times in a row. It stays off until the app or the SDK is updated";
}

}  // namespace

StartupMode SdkSession::beginStart() {
  const StartupMode mode = guard_.begin("initialize");
  const StartupMode before = startMode_.exchange(mode);
  if (mode == StartupMode::inert) {
    KorvaneLogger::e(kTag, inertText() + ". Initialization refused");
  } else if (mode == StartupMode::safe && before != StartupMode::safe) {
    // Said once: a repeated initialize gets the first decision again.
    KorvaneLogger::w(
        kTag,
        "KorvaneSDK starts in safe mode: its last " + std::to_string(guard_.unfinishedStarts()) +
            " starts ended before finishing (last step: " + guard_.lastStep().value_or("unknown") +
            "). No event-file load, no timers, no tracking prompt this time");
  }
  return mode;
}

void SdkSession::applyServerSwitch(const AppData& app) {
  AppData onlySwitch;
  onlySwitch.sdkEnabled = app.sdkEnabled;
  onlySwitch.disabledFeatures = app.disabledFeatures;
  {
    std::lock_guard lock(switchLock_);
    serverSwitch_ = onlySwitch;
  }
  const bool telemetryOff = turnedOffByServer(app, SdkFeature::telemetry).has_value();
  bool anything = telemetryOff;
  for (SdkFeature feature : {SdkFeature::sdk, SdkFeature::offerwall, SdkFeature::placements}) {
    if (std::optional<std::string> why = turnedOffByServer(app, feature)) {
      anything = true;
      KorvaneLogger::w(kTag, *why);
      if (feature == SdkFeature::sdk) break;  // one line says it all
    }
  }
  anythingOff_.store(anything, std::memory_order_release);
  // A prompt the start scheduled before this answer came would ask the person for an SDK that is
  // off; a later start asks again.
  if (turnedOffByServer(app, SdkFeature::sdk)) device_->stopAsking();
  if (std::shared_ptr<EventBatchService> service = eventBatchService())
    service->setEnabled(!telemetryOff);
  if (telemetryOff && app.sdkEnabled != false)
    KorvaneLogger::w(kTag, "Telemetry is turned off by the server: no event is sent any more");
}

std::optional<Error> SdkSession::refusal(SdkFeature feature) const {
  if (startMode_.load() == StartupMode::inert)
    return toError(KorvaneSdkError::inertAfterCrashes, inertText());
  if (!anythingOff_.load(std::memory_order_acquire)) return std::nullopt;
  std::lock_guard lock(switchLock_);
  std::optional<std::string> why = turnedOffByServer(serverSwitch_, feature);
  if (!why) return std::nullopt;
  return toError(KorvaneSdkError::turnedOffByServer, *why);
}

bool SdkSession::refused(SdkFeature feature, std::string_view what) const {
  std::optional<Error> off = refusal(feature);
  if (!off) return false;
  KorvaneLogger::w(kTag, off->description + ". " + std::string(what));
  return true;
}

void SdkSession::reportSafeModeOnce() {
  if (startMode_.load() != StartupMode::safe || safeModeReported_.exchange(true)) return;
  if (refused(SdkFeature::telemetry, "The safe-mode start is not reported")) return;
  sendImmediately("sdk_safe_mode", "sdk_diagnostic",
                  JsonValue{{"unfinishedStarts", std::to_string(guard_.unfinishedStarts())},
                            {"lastStep", guard_.lastStep().value_or("unknown")},
                            {"sdkVersion", kSdkVersion}},
                  nullptr);
}

}  // namespace korvane
