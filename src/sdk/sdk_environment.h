#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "backend/network_manager.h"
#include "context/sdk_context.h"
#include "korvane/platform/platform_services.h"
#include "korvane/util/executor.h"

namespace korvane {

// What one SDK session runs on: the platform, the network manager and two executors.
struct SdkEnvironment {
  PlatformServices platform;
  // The session's own manager: the API service and the session id.
  std::shared_ptr<NetworkManager> network;
  // Asynchronous tasks (requests, immediate events).
  std::shared_ptr<Executor> tasks;
  // The facade's serial queue: validation and login start here, in submission order.
  std::shared_ptr<Executor> serial;
  // Told each step of the start as it is reached, before the step runs; tests end the process
  // there to prove what the next start does. Empty in a host.
  std::function<void(std::string_view step)> startupStep;
};

// The environment a host process gets: its platform layer's services, a new network manager
// with a new session id, and the platform's executors or else a two-thread task pool and a
// one-thread serial queue.
SdkEnvironment defaultSdkEnvironment(PlatformServices platform);

class KorvaneSdk;
class SdkSession;
class EventBatchService;

// The facade's entry points that make host-facing objects (a placement, an offerwall the host
// creates) take the process-wide facade's context here, once, when they make one.
class FacadeAccess {
 public:
  static Context context();
};

// Lets tests and the demo start again from a clean facade and look at its telemetry; not part of
// the public API.
class KorvaneSdkTestAccess {
 public:
  // Replaces the facade's whole state. Only while no SDK call runs.
  static void reset(KorvaneSdk& sdk, SdkEnvironment environment);
  // The current session's event pipeline; null before the first start.
  static std::shared_ptr<EventBatchService> eventBatchService(const KorvaneSdk& sdk);
};

}  // namespace korvane
