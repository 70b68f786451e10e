#import "ports/ios_platform.h"

#include "korvane/platform/sdk_defaults.h"
#import "ports/att_tracking_authorization.h"
#import "ports/dispatch_executor.h"
#import "ports/dispatch_main_thread.h"
#import "ports/exception_diagnostics.h"
#import "ports/sc_network_reachability.h"
#import "ports/system_sources.h"
#import "ports/uikit_app_lifecycle.h"
#import "ports/uikit_background_time.h"
#import "ports/uikit_device_probe.h"
#import "ports/uikit_memory_pressure.h"
#import "ports/url_session_http_client.h"
#import "ports/user_defaults_store.h"
#import "web/uikit_person_prompt.h"
#import "web/uikit_screens.h"

namespace korvane {
namespace ios {

PlatformServices makePlatformServices() {
  PlatformServices services;
  services.http = std::make_shared<UrlSessionHttpClient>();
  services.userDefaults = std::make_shared<SdkDefaultsStore>(UserDefaultsStore::sdkSuite(),
                                                             UserDefaultsStore::appStandard());
  services.documents = std::make_shared<AppDocumentsDirectory>();
  services.mainThread = std::make_shared<DispatchMainThread>();
  services.clock = std::make_shared<SystemClock>();
  services.random = std::make_shared<SecureRandom>();
  services.device = std::make_shared<UIKitDeviceProbe>();
  services.tracking = std::make_shared<AttTrackingAuthorization>();
  services.reachability = std::make_shared<SCNetworkReachabilityProbe>();
  services.lifecycle = std::make_shared<UIKitAppLifecycle>();
  services.memoryPressure = std::make_shared<UIKitMemoryPressure>();
  services.urlOpener = std::make_shared<UIKitUrlOpener>();
  services.diagnostics = std::make_shared<ExceptionDiagnostics>();
  services.screens = std::make_shared<UIKitScreenPresenter>();
  services.prompt = std::make_shared<UIKitPersonPrompt>();
  services.backgroundTime = std::make_shared<UIKitBackgroundTime>();
  services.tasks = DispatchQueueExecutor::tasks();
  services.serial = DispatchQueueExecutor::serial();
  return services;
}

}  // namespace ios

PlatformServices platformServicesForProcess() {
  return ios::makePlatformServices();
}

}  // namespace korvane
