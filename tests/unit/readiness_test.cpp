// The start's status, its retries and whether an offerwall can show: the facade over fakes, with
// a manual main thread and clock and a scripted backend.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "facade_environments.h"
#include "fake_platform.h"
#include "korvane/linux/linux_storage.h"
#include "korvane/sdk/korvane_sdk.h"
#include "log_capture.h"
#include "manual_executor.h"
#include "scripted_api.h"
#include "sdk/sdk_environment.h"
#include "sdk/validation_retry.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;
using Reason = SdkFailureReason;
using Unavailable = OfferwallUnavailableReason;

ValidateAppResponse validAnswer(std::string offerwallUrl = "https://hub.example/offerwall") {
  AppData app;
  app.appKey = "key";
  app.korvaneHubUrl = std::move(offerwallUrl);
  return ValidateAppResponse{true, app, std::nullopt};
}

Error networkError() {
  return Error{Error::kUrlLoadingDomain, -1009, "The Internet connection appears to be offline.",
               "NetworkError"};
}
Error serverError() {
  return Error{"ApiService", 503, "HTTP 503 error", "NSError", {{"response", "503"}}};
}
Error undecodable() {
  return Error{"NSCocoaErrorDomain", 4864, "The data couldn't be read.", "DecodingError"};
}

std::string shown(const SdkStatus& s) {
  return std::string(rawValue(s.state)) + (s.reason ? std::string(":") + rawValue(*s.reason) : "");
}
std::string shown(const OfferwallAvailability& a) {
  return a.unavailable ? rawValue(*a.unavailable) : "ready";
}

class ReadinessTest : public ::testing::Test {
 public:
  void SetUp() override {
    std::filesystem::remove_all(documents_);
    fake_.random->setUnit(0.999);  // backoff at its ceiling
    KorvaneSdkTestAccess::reset(sdk_,
                                testing::fakeEnvironment(fake_, documents_, api_, tasks_, serial_));
  }
  void TearDown() override {
    statusHeard_.reset();
    availabilityHeard_.reset();
    testing::idleFacade(sdk_);
    std::filesystem::remove_all(documents_);
  }
  void settle() {
    while (serial_->runAll() + tasks_->runAll() + fake_.mainThread->runUntilIdle() > 0) {
    }
  }
  // Moves the main thread's time on, running what falls due and what that starts.
  void wait(std::chrono::milliseconds span) {
    fake_.mainThread->advance(span);
    settle();
  }
  std::size_t answer(const Result<ValidateAppResponse>& a) {
    const std::size_t n = api_->answerValidation(a);
    settle();
    return n;
  }
  void observe() {
    statusHeard_ = sdk_.observeStatus([this](const SdkStatus& s) {
      EXPECT_TRUE(fake_.mainThread->isCurrent());
      statuses_.push_back(shown(s));
    });
    availabilityHeard_ = sdk_.observeOfferwallAvailability(
        "home", [this](const OfferwallAvailability& a) { availabilities_.push_back(shown(a)); });
    settle();
  }
  void loginAs(const std::string& userId) {
    sdk_.login(KorvaneSdkUser(userId));
    settle();
  }

  KorvaneSdk& sdk_ = KorvaneSdk::shared();
  testing::LogCapture log_{LogLevel::none};
  testing::FakePlatform fake_;
  std::shared_ptr<testing::ScriptedApi> api_ = std::make_shared<testing::ScriptedApi>();
  std::shared_ptr<testing::ManualExecutor> tasks_ = std::make_shared<testing::ManualExecutor>();
  std::shared_ptr<testing::ManualExecutor> serial_ = std::make_shared<testing::ManualExecutor>();
  KorvaneSdkConfig config_ = KorvaneSdkConfig::Builder("key", "secret").build();
  std::vector<std::string> statuses_;
  std::vector<std::string> availabilities_;
  Subscription statusHeard_;
  Subscription availabilityHeard_;
  std::filesystem::path documents_ =
      std::filesystem::temp_directory_path() / ("korvane-readiness-" + std::to_string(::getpid()));
};

// Each kind of validation outcome: the status and availability it leaves, what the completion
// heard, and whether validation is tried again.
TEST_F(ReadinessTest, EachValidationOutcomeSetsItsStatusAndOnlyRefusedKeysAreFinal) {
  struct Case {
    const char* name;
    Result<ValidateAppResponse> answer;
    const char* status;
    const char* availability;
    bool retried;
  };
  const Case cases[] = {
      {"validated", validAnswer(), "ready", "no_user", false},
      {"validated without an offerwall address", validAnswer(""), "ready", "no_offerwall_address",
       false},
      {"keys refused", ValidateAppResponse{false, std::nullopt, "Invalid app key or secret"},
       "failed:refused_keys", "validation_failed", false},
      {"no network", networkError(), "failed:network", "validation_failed", true},
      {"server failing", serverError(), "failed:server", "validation_failed", true},
      {"answer unreadable", undecodable(), "failed:malformed_answer", "validation_failed", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TearDown();
    SetUp();
    statuses_.clear();
    availabilities_.clear();
    observe();
    std::vector<std::string> completions;
    sdk_.initialize(config_, [&](const SdkStatus& s) { completions.push_back(shown(s)); });
    settle();
    ASSERT_EQ(answer(c.answer), 1u);
    EXPECT_EQ(statuses_, (std::vector<std::string>{"not_started", "validating", c.status}));
    EXPECT_EQ(completions, std::vector<std::string>{c.status});
    EXPECT_EQ(shown(sdk_.offerwallAvailability("home")), c.availability);
    EXPECT_EQ(availabilities_.back(), c.availability);

    wait(std::chrono::seconds(static_cast<int>(ValidationRetry::kMaxDelaySeconds)));
    EXPECT_EQ(answer(validAnswer()), c.retried ? 1u : 0u);
    if (c.retried) {
      EXPECT_EQ(shown(sdk_.status()), "ready");
      EXPECT_EQ(completions.size(), 1u) << "the completion hears the first outcome only";
    }
    if (!c.retried && std::string_view(c.status) != "ready") {
      sdk_.initialize(config_);  // the app corrects its keys
      settle();
      EXPECT_EQ(answer(validAnswer()), 1u);
      EXPECT_EQ(shown(sdk_.status()), "ready");
    }
  }
}

// The backoff doubles from 2 s to its ceiling; the network coming back tries at once; a new
// initialize from the app tries at once and starts the backoff over.
TEST_F(ReadinessTest, AFailedValidationIsTriedAgainOnBackoffTheNetworkAndTheAppsCall) {
  sdk_.initialize(config_);
  settle();
  ASSERT_EQ(answer(networkError()), 1u);
  for (double ceiling : {2.0, 4.0, 8.0, 16.0}) {
    SCOPED_TRACE(ceiling);
    wait(std::chrono::milliseconds(static_cast<int>(ceiling * 1000) - 50));
    EXPECT_EQ(answer(networkError()), 0u) << "not before the ceiling";
    wait(50ms);
    EXPECT_EQ(answer(networkError()), 1u);
  }
  fake_.reachability->set(true);
  settle();
  EXPECT_EQ(answer(serverError()), 1u) << "the network came back";
  fake_.reachability->set(true);
  settle();
  EXPECT_EQ(answer(serverError()), 0u) << "one attempt per failure";

  sdk_.initialize(config_);
  settle();
  EXPECT_EQ(answer(serverError()), 1u) << "the app asked again";
  wait(2000ms);
  EXPECT_EQ(answer(validAnswer()), 1u) << "the backoff started over";
  EXPECT_EQ(shown(sdk_.status()), "ready");
  EXPECT_TRUE(sdk_.isInitialized());
}

// Availability names the first reason that holds; observers hear each change once, and nothing
// after their subscription ends.
TEST_F(ReadinessTest, AvailabilityFollowsTheStartTheUserAndTheNetwork) {
  observe();
  sdk_.initialize(config_);
  settle();
  answer(validAnswer());
  loginAs("alice");
  fake_.reachability->set(false);
  settle();
  fake_.reachability->set(false);  // the path changed, still offline: nothing new to say
  settle();
  fake_.reachability->set(true);
  settle();
  sdk_.logout();
  settle();
  EXPECT_EQ(availabilities_, (std::vector<std::string>{"not_initialized", "no_user", "ready",
                                                       "offline", "ready", "no_user"}));
  availabilityHeard_.reset();
  loginAs("bob");
  EXPECT_EQ(availabilities_.size(), 6u);
  EXPECT_TRUE(sdk_.offerwallAvailability("home").isReady());
}

// An opening refused while validation has failed says why in onError.
TEST_F(ReadinessTest, AnOpeningRefusedAfterAFailedValidationNamesTheReason) {
  struct Recorder final : OfferwallCallback {
    void onOpened() override {}
    void onClosed() override {}
    void onError(const std::string& message) override { errors.push_back(message); }
    void onRewardEarned(int) override {}
    std::vector<std::string> errors;
  };
  auto recorder = std::make_shared<Recorder>();
  sdk_.openOfferwall(nullptr, "home", recorder);
  sdk_.initialize(config_);
  settle();
  answer(networkError());
  sdk_.openOfferwall(nullptr, "home", recorder);
  settle();
  ASSERT_EQ(recorder->errors.size(), 2u);
  EXPECT_EQ(recorder->errors[0], "SDK not initialized. Please initialize the SDK first.");
  EXPECT_EQ(recorder->errors[1],
            std::string("SDK not initialized. Please initialize the SDK first. Validation failed "
                        "(network): ") +
                describe(SdkFailureReason::network));
}

// A refused start (an empty key) and a duplicate one answer at once.
TEST_F(ReadinessTest, RefusedAndDuplicateStartsAnswerTheirCompletionAtOnce) {
  std::vector<std::string> heard;
  sdk_.initialize(KorvaneSdkConfig::Builder("", "secret").build(),
                  [&](const SdkStatus& s) { heard.push_back(shown(s) + " " + s.message); });
  settle();
  sdk_.initialize(KorvaneSdkConfig::Builder("", "secret").build(),
                  [&](const SdkStatus& s) { heard.push_back(shown(s) + " " + s.message); });
  settle();
  sdk_.initialize(config_);
  settle();
  answer(validAnswer());
  sdk_.initialize(config_, [&](const SdkStatus& s) { heard.push_back(shown(s)); });
  settle();
  EXPECT_EQ(heard,
            (std::vector<std::string>{
                "failed:refused_keys App Key cannot be empty. Initialization failed.",
                "failed:refused_keys App Key cannot be empty. Initialization failed.", "ready"}));
}

// A configuration that waits for consent asks, reads and sends nothing until the app says the
// person agreed; a withdrawal stops it all again, and a new yes starts it again.
TEST_F(ReadinessTest, AConfigurationThatWaitsForConsentStartsOnConsentAndStopsOnWithdrawal) {
  fake_.tracking->currentStatus = tracking_status::kAuthorized;
  const auto waits = KorvaneSdkConfig::Builder("key", "secret").setWaitsForConsent(true).build();
  const auto advertisingId = [this] {
    std::string id;
    sdk_.getAdvertisingId([&](std::string value) { id = std::move(value); });
    return id;
  };
  const auto sentNothing = [this] {
    return api_->singleEvents().empty() && api_->batches().empty();
  };
  sdk_.initialize(waits);
  sdk_.trackEvent(EventType::missionClicked, "mission");
  sdk_.flushEvents();
  wait(10s);
  EXPECT_EQ(answer(validAnswer()), 0u) << "no validation request";
  EXPECT_EQ(fake_.tracking->reads, 0);
  EXPECT_EQ(fake_.tracking->prompts, 0);
  EXPECT_TRUE(sentNothing());
  EXPECT_EQ(shown(sdk_.status()), "not_started");

  sdk_.setConsent(true);
  settle();
  ASSERT_EQ(answer(validAnswer()), 1u);
  EXPECT_TRUE(sdk_.isInitialized());
  EXPECT_EQ(advertisingId(), fake_.tracking->identifier);

  sdk_.setConsent(false);
  settle();
  EXPECT_FALSE(sdk_.isInitialized());
  EXPECT_EQ(shown(sdk_.status()), "not_started");
  EXPECT_EQ(advertisingId(), "00000000-0000-0000-0000-000000000000");
  const int reads = fake_.tracking->reads;
  const std::size_t batches = api_->batches().size();
  sdk_.trackEvent(EventType::missionClicked, "mission");
  sdk_.flushEvents();
  fake_.lifecycle->send(AppLifecycleEvent::didBecomeActive);
  wait(60s);
  EXPECT_EQ(api_->batches().size(), batches);
  EXPECT_EQ(fake_.tracking->reads, reads);

  sdk_.setConsent(true);
  settle();
  EXPECT_EQ(answer(validAnswer()), 1u) << "started again";
}

// The SDK shows the tracking prompt unless the app owns it; then the SDK reads the identifier
// once the app's own prompt has allowed it, at the next activation.
TEST_F(ReadinessTest, TheAppMayOwnTheTrackingPrompt) {
  for (const bool sdkAsks : {true, false}) {
    SCOPED_TRACE(sdkAsks ? "the SDK asks" : "the app asks");
    TearDown();
    fake_ = testing::FakePlatform();
    SetUp();
    sdk_.initialize(
        KorvaneSdkConfig::Builder("key", "secret").setAsksForTrackingPermission(sdkAsks).build());
    wait(10s);
    EXPECT_EQ(fake_.tracking->prompts, sdkAsks ? 1 : 0);
    if (sdkAsks) continue;
    fake_.tracking->currentStatus = tracking_status::kAuthorized;  // the app's prompt said yes
    fake_.lifecycle->send(AppLifecycleEvent::didBecomeActive);
    settle();
    std::string id;
    sdk_.getAdvertisingId([&](std::string value) { id = std::move(value); });
    EXPECT_EQ(id, fake_.tracking->identifier);
    EXPECT_EQ(fake_.tracking->prompts, 0);
  }
}

}  // namespace
}  // namespace korvane
