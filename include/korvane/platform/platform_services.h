#pragma once

#include <memory>

#include "korvane/platform/app_lifecycle.h"
#include "korvane/platform/background_time.h"
#include "korvane/platform/clock.h"
#include "korvane/platform/device_probe.h"
#include "korvane/platform/http_client.h"
#include "korvane/platform/main_thread.h"
#include "korvane/platform/memory_pressure.h"
#include "korvane/platform/person_prompt.h"
#include "korvane/platform/process_diagnostics.h"
#include "korvane/platform/random_source.h"
#include "korvane/platform/reachability.h"
#include "korvane/platform/screen_presenter.h"
#include "korvane/platform/storage.h"
#include "korvane/platform/tracking_authorization.h"
#include "korvane/platform/url_opener.h"
#include "korvane/util/executor.h"

namespace korvane {

// Everything the core needs from the platform it runs on. A platform layer fills all of it;
// tests fill what the code under test uses.
struct PlatformServices {
  std::shared_ptr<HttpClient> http;
  std::shared_ptr<KeyValueStore> userDefaults;
  std::shared_ptr<DocumentsDirectory> documents;
  std::shared_ptr<MainThread> mainThread;
  std::shared_ptr<Clock> clock;
  std::shared_ptr<RandomSource> random;
  std::shared_ptr<DeviceProbe> device;
  std::shared_ptr<TrackingAuthorization> tracking;
  std::shared_ptr<Reachability> reachability;
  std::shared_ptr<AppLifecycle> lifecycle;
  std::shared_ptr<UrlOpener> urlOpener;
  std::shared_ptr<ScreenPresenter> screens;
  // Asks the person before a page sends them to another app or the browser unasked.
  std::shared_ptr<PersonPrompt> prompt;
  std::shared_ptr<ProcessDiagnostics> diagnostics;
  // Optional: when the system runs short of memory (the kept offerwall page goes then).
  std::shared_ptr<MemoryPressure> memoryPressure;
  // Optional: where the core's background work runs (asynchronous tasks; the facade's serial
  // queue). A platform whose system calls need per-task cleanup (iOS autorelease pools) gives
  // its own; when empty the core runs its own threads.
  std::shared_ptr<Executor> tasks;
  std::shared_ptr<Executor> serial;
  // Optional: time to finish a send when the app leaves the foreground (iOS background tasks).
  std::shared_ptr<BackgroundTime> backgroundTime;
};

// The services KorvaneSdk::shared() runs on, asked for once, when the facade is first used.
// Defined by the platform library the application links (one per process).
PlatformServices platformServicesForProcess();

}  // namespace korvane
