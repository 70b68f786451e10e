// Page messages, whatever a page posts: parsing, the sender check and dispatch for both hosts
// must never crash, and every action they schedule runs against a host that answers everything.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fake_platform.h"
#include "korvane/sdk/korvane_sdk.h"
#include "offerwall/bridge_dispatcher.h"
#include "sdk/sdk_environment.h"

namespace {

using namespace korvane;

class AnsweringEvents final : public OfferwallEventCallback {
 public:
  void onCustomEvent(const std::string&, const JsonValue&) override {}
  std::optional<JsonValue> onDataRequest(const std::string&, const std::string&,
                                         const JsonValue& params) override {
    return params;
  }
};

class NullHost final : public BridgeHost {
 public:
  void openPage(const std::string&) override {}
  void closePage() override {}
  void retry() override {}
  void replacePage(const std::string&) override {}
  void replacePageWithoutUrl() override {}
  void openAdjoeOfferwall(const std::string&,
                          std::shared_ptr<OfferwallCallback> callback) override {
    callback->onError("fuzz");
  }
  void evaluate(const std::string&, std::function<void(Result<std::string>)> done) override {
    if (done) done(std::string("null"));
  }
  std::shared_ptr<OfferwallEventCallback> eventCallback() const override { return events; }
  bool isSubPage() const override { return false; }
  std::string contextType() const override { return "quiz"; }
  std::optional<std::string> quizId() const override { return "q"; }
  bool showsOfflinePage() const override { return false; }
  std::shared_ptr<OfferwallEventCallback> events = std::make_shared<AnsweringEvents>();
};

// The facade's context on the fake platform, without placements to reach.
class WithoutPlacements final : public SdkContext {
 public:
  explicit WithoutPlacements(Context inner) : inner_(std::move(inner)) {}
  const PlatformServices& platform() const override { return inner_->platform(); }
  std::shared_ptr<NetworkManager> backend() const override { return inner_->backend(); }
  std::shared_ptr<DeviceUtils> device() const override { return inner_->device(); }
  std::shared_ptr<Executor> tasks() const override { return inner_->tasks(); }
  std::shared_ptr<const SessionFacts> session() const override { return inner_->session(); }
  std::shared_ptr<EventTracker> tracker() const override { return inner_->tracker(); }
  std::shared_ptr<PlacementMessages> placements() const override { return nullptr; }
  std::shared_ptr<OfferwallSlots> offerwallSlots() const override {
    return inner_->offerwallSlots();
  }
  std::shared_ptr<PlacementRegistry> placementRegistry() const override { return nullptr; }

 private:
  Context inner_;
};

struct World {
  testing::FakePlatform fake;
  std::shared_ptr<NullHost> host = std::make_shared<NullHost>();
  std::shared_ptr<BridgeDispatcher> controller;
  std::shared_ptr<BridgeDispatcher> embedded;
  World() {
    // Every log line is built (they quote page data), then dropped.
    KorvaneLogger::setLogLevel(LogLevel::verbose);
    KorvaneLogger::setLineWriter([](std::string_view) {});
    SdkEnvironment environment;
    environment.platform = fake.services();
    KorvaneSdkTestAccess::reset(KorvaneSdk::shared(), std::move(environment));
    const auto trust =
        std::make_shared<const BridgeTrust>(BridgeTrust{true, {"https://hub.example"}});
    auto context = std::make_shared<WithoutPlacements>(FacadeAccess::context());
    controller =
        std::make_shared<BridgeDispatcher>(BridgeHostKind::controller, "C", host, context, trust);
    embedded =
        std::make_shared<BridgeDispatcher>(BridgeHostKind::embeddedView, "E", host, context, trust);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static World world;
  const std::string body(reinterpret_cast<const char*>(data), size);
  // A trusted page gets every type; an ad frame inside it only the harmless ones.
  world.controller->receive({"korvaneNative", body, true, true, "https://hub.example"});
  world.embedded->receive({"KorVane", body, true, true, "https://hub.example"});
  world.controller->receive({"korvaneNative", body, true, false, "https://ads.example"});
  world.fake.mainThread->advance(std::chrono::seconds(3));  // runs the app-check fallbacks too
  return 0;
}
