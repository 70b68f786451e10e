#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "fake_platform.h"
#include "korvane/linux/linux_platform.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/sdk/korvane_sdk.h"
#include "korvane/util/executor.h"
#include "sdk/sdk_environment.h"

// The environments the tests put the process-wide facade on.
namespace korvane::testing {

// The fakes' services with the event file in `documents`, a network manager over `api`, and the
// test's own executors.
inline SdkEnvironment fakeEnvironment(const FakePlatform& fake,
                                      const std::filesystem::path& documents,
                                      std::shared_ptr<ApiService> api,
                                      std::shared_ptr<Executor> tasks,
                                      std::shared_ptr<Executor> serial) {
  SdkEnvironment environment;
  environment.platform = fake.services();
  environment.platform.documents = std::make_shared<linux_host::FixedDocumentsDirectory>(documents);
  environment.network = std::make_shared<NetworkManager>("SESSION-1");
  environment.network->initialize(std::move(api));
  environment.tasks = std::move(tasks);
  environment.serial = std::move(serial);
  return environment;
}

// The Linux host's real services over `data`, on the test's main loop, with real executors.
inline SdkEnvironment linuxEnvironment(const std::filesystem::path& data,
                                       std::shared_ptr<MainThread> mainThread,
                                       const std::string& networkName) {
  SdkEnvironment environment;
  environment.platform = linux_host::makePlatformServices(data);
  environment.platform.mainThread = std::move(mainThread);
  environment.network = std::make_shared<NetworkManager>(networkName);
  environment.tasks = std::make_shared<ThreadPoolExecutor>(2);
  environment.serial = std::make_shared<ThreadPoolExecutor>(1);
  return environment;
}

// Puts the facade on services nobody drives, so that nothing of the test's session runs on.
inline void idleFacade(KorvaneSdk& sdk, PlatformServices platform = FakePlatform().services()) {
  SdkEnvironment idle;
  idle.platform = std::move(platform);
  KorvaneSdkTestAccess::reset(sdk, std::move(idle));
}

}  // namespace korvane::testing
