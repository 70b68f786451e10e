#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "dev_server.h"
#include "fake_platform.h"
#include "korvane/linux/glib_main_thread.h"
#include "korvane/linux/linux_device.h"
#include "korvane/linux/linux_platform.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/sdk/korvane_sdk.h"
#include "page_driver.h"
#include "recording_screens.h"
#include "sdk/sdk_environment.h"
#include "signed_in_sdk.h"

namespace korvane::testing {

// What a suite's session is made of beyond what every web suite shares.
struct WebSessionParts {
  std::string networkSession;  // the session id of the SDK's requests
  std::string dataFolder;      // under the temporary directory; the process id is appended
  std::string userId;          // logged in
  std::string advertisingId;   // the tracking the person allowed
  std::shared_ptr<UrlOpener> opener;
  std::shared_ptr<OfferwallEventCallback> events;
  std::shared_ptr<Reachability> reachability = std::make_shared<FakeReachability>();
  // The person, asked before a page opens something unasked.
  std::shared_ptr<PersonPrompt> prompt = std::make_shared<FakePersonPrompt>();
};

// The SDK on the Linux platform with real WebKitGTK screens, validated by and logged in to a
// local backend, with the host's offerwall callbacks installed; the test's thread runs the GLib
// main loop whenever it pumps. `Base` is the gtest fixture kind (Test, TestWithParam<...>).
template <typename Base = ::testing::Test>
class WebKitSession : public Base {
 protected:
  // From SetUp; check HasFatalFailure() after it.
  void startSession(WebSessionParts parts) {
    ASSERT_NE(server_.start(), 0);
    userId_ = parts.userId;
    data_ = std::filesystem::temp_directory_path() /
            (parts.dataFolder + "-" + std::to_string(::getpid()));
    std::filesystem::remove_all(data_);
    SdkEnvironment environment;
    environment.platform = linux_host::makePlatformServices(data_);
    environment.platform.mainThread = mainThread_;
    environment.platform.tracking = std::make_shared<linux_host::LinuxTrackingAuthorization>(
        tracking_status::kAuthorized, parts.advertisingId);
    environment.platform.urlOpener = parts.opener;
    environment.platform.reachability = parts.reachability;
    environment.platform.prompt = parts.prompt;
    environment.platform.screens = screens_;
    environment.platform.lifecycle = nullptr;
    environment.network = std::make_shared<NetworkManager>(parts.networkSession);
    environment.tasks = std::make_shared<ThreadPoolExecutor>(2);
    environment.serial = std::make_shared<ThreadPoolExecutor>(1);
    KorvaneSdkTestAccess::reset(sdk_, std::move(environment));
    sdk_.initialize(KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret")
                        .setApiBaseUrl(server_.baseUrl())
                        .build());
    ASSERT_TRUE(pumpUntil([&] { return sdk_.isInitialized(); }));
    sdk_.login(KorvaneSdkUser(userId_, KorvaneSdkUser::Gender::male, 1990));
    ASSERT_TRUE(pumpUntil([&] { return sdk_.isLoggedIn(); }));
    KorvaneOfferwallViewController::setOfferwallCallback(callback_);
    KorvaneOfferwallViewController::setEventCallback(parts.events);
    KorvaneOfferwallViewController::setHasFiredOnClosed(false);
  }

  // From TearDown: closes what is open and leaves the SDK idle on a fake platform.
  void endSession() {
    // Closing the root dismisses everything above it.
    if (!screens_->live.empty() && screens_->live.front()->close) screens_->live.front()->close();
    pumpUntil([&] { return screens_->live.empty(); }, std::chrono::seconds(3));
    KorvaneOfferwallViewController::setOfferwallCallback(nullptr);
    KorvaneOfferwallViewController::setEventCallback(nullptr);
    SdkEnvironment idle;
    idle.platform = FakePlatform().services();
    KorvaneSdkTestAccess::reset(sdk_, std::move(idle));
    pumpFor(std::chrono::milliseconds(50));
    std::filesystem::remove_all(data_);
  }

  // The demo's page driver runs the GLib main context for both.
  bool pumpUntil(const std::function<bool()>& done,
                 std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
    return demo::pumpUntil(done, timeout);
  }
  void pumpFor(std::chrono::milliseconds duration) { demo::pumpFor(duration); }

  // Evaluates `script` in the page on `screen` and waits for its JSON result.
  std::string evaluate(Screen& screen, const std::string& script) {
    std::optional<std::string> result;
    screen.webView().evaluateJavaScript(script, [&](Result<std::string> r) {
      result = r ? r.value() : "error:" + r.error().description;
    });
    pumpUntil([&] { return result.has_value(); }, std::chrono::seconds(5));
    return result.value_or("timed out");
  }

  // An offerwall controller for the page at `path` on the backend, for the session's user; not
  // presented yet.
  std::shared_ptr<KorvaneOfferwallViewController> offerwallFor(const std::string& path) {
    auto controller = KorvaneOfferwallViewController::create();
    controller->baseUrl = server_.baseUrl() + path;
    controller->userId = userId_;
    controller->appKey = "demo-app-key";
    controller->placementId = "home";
    return controller;
  }
  RecordingScreens::Tracked& screen(std::size_t index) { return *screens_->live.at(index); }

  KorvaneSdk& sdk_ = KorvaneSdk::shared();
  devserver::DevServer server_;
  std::shared_ptr<linux_host::GlibMainThread> mainThread_ =
      std::make_shared<linux_host::GlibMainThread>();
  std::shared_ptr<RecordingScreens> screens_ = std::make_shared<RecordingScreens>();
  std::shared_ptr<RecordingCallback> callback_ = std::make_shared<RecordingCallback>();
  std::filesystem::path data_;

 private:
  std::string userId_;
};

}  // namespace korvane::testing
