// The preloaded offerwall in real WebKitGTK windows, against the local backend's request log: a
// warm opening loads nothing, the kept window goes on a memory warning, and the offline page
// loads the offerwall by itself when the network comes back. Runs under Xvfb where there is no
// display.
#include <gtest/gtest.h>

#include "dev_server.h"
#include "fake_platform.h"
#include "korvane/linux/linux_platform.h"
#include "log_capture.h"
#include "webkit_session.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

class PreloadWebTest : public testing::WebKitSession<> {
 protected:
  void SetUp() override {
    testing::WebSessionParts parts;
    parts.networkSession = "PRELOAD";
    parts.dataFolder = "korvane-preload-web";
    parts.userId = "preload-user";
    parts.advertisingId = "6D92078A-8246-4BA4-AE5B-76104861E7DC";
    parts.reachability = reachability_;
    startSession(parts);
  }
  void TearDown() override { endSession(); }

  // Requests for the offerwall web app (its page and its files) since the log was cleared.
  std::size_t offerwallRequests() const {
    std::size_t count = 0;
    for (const devserver::RecordedRequest& request : server_.requests())
      count += request.path.rfind("/offerwall/", 0) == 0 ? 1 : 0;
    return count;
  }
  bool bridgeIn(Screen& page) {
    return pumpUntil([&] { return evaluate(page, "typeof window.KorvaneBridge") == "\"object\""; });
  }

  std::shared_ptr<testing::FakeReachability> reachability_ =
      std::make_shared<testing::FakeReachability>();
};

TEST_F(PreloadWebTest, AWarmOpeningShowsTheKeptWindowAndLoadsNothing) {
  sdk_.preloadOfferwall("home");
  ASSERT_TRUE(pumpUntil([&] { return screens_->offScreen.size() == 1; }));
  Screen& kept = *screens_->offScreen.front();
  ASSERT_TRUE(bridgeIn(kept)) << "the page loads off screen, with its bridge";
  const std::vector<devserver::RecordedRequest> loads = server_.requestsTo("/offerwall/");
  ASSERT_EQ(loads.size(), 1u);
  EXPECT_EQ(loads[0].header("x-korvane-user-id"), "preload-user");
  EXPECT_TRUE(screens_->live.empty()) << "nothing is on screen yet";
  // Off screen until opened: no toplevel of it is visible.
  EXPECT_EQ(evaluate(kept, "document.visibilityState"), "\"hidden\"");

  pumpFor(300ms);  // the page's own files have arrived too
  server_.clearRequests();
  sdk_.openOfferwall(nullptr, "home", callback_, nullptr);
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  EXPECT_EQ(&screens_->live.front()->inner(),
            &static_cast<testing::RecordingScreens::Tracked&>(kept).inner());
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"opened"});
  EXPECT_TRUE(
      pumpUntil([&] { return evaluate(kept, "document.visibilityState") == "\"visible\""; }));
  pumpFor(500ms);
  EXPECT_EQ(offerwallRequests(), 0u) << "the warm opening loaded nothing again";
  EXPECT_EQ(evaluate(kept, "typeof window.KorvaneBridge"), "\"object\"");
}

TEST_F(PreloadWebTest, AMemoryWarningClosesTheKeptWindowAndTheNextOpeningLoads) {
  sdk_.preloadOfferwall("home");
  ASSERT_TRUE(pumpUntil([&] { return screens_->offScreen.size() == 1; }));
  testing::LogCapture log;
  linux_host::memoryPressure()->notifyLowMemory();
  ASSERT_TRUE(pumpUntil([&] { return screens_->offScreen.empty(); }));
  EXPECT_TRUE(log.mentions("Letting the preloaded offerwall go: the system is short of memory"));

  server_.clearRequests();
  sdk_.openOfferwall(nullptr, "home", callback_, nullptr);
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  EXPECT_TRUE(pumpUntil([&] { return !server_.requestsTo("/offerwall/").empty(); }));
}

// Offline at the opening: the SDK's own page, with its close button, until the network is back.
TEST_F(PreloadWebTest, TheOfflinePageLoadsTheOfferwallWhenTheNetworkComesBack) {
  reachability_->set(false);
  server_.clearRequests();
  sdk_.openOfferwall(nullptr, "home", callback_, nullptr);
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  Screen& page = *screens_->live.front();
  ASSERT_TRUE(
      pumpUntil([&] { return evaluate(page, "!!document.querySelector('button')") == "true"; }));
  pumpFor(200ms);
  EXPECT_EQ(offerwallRequests(), 0u);

  reachability_->set(true);
  ASSERT_TRUE(pumpUntil([&] { return server_.requestsTo("/offerwall/").size() == 1; }));
  EXPECT_EQ(server_.requestsTo("/offerwall/")[0].header("x-korvane-user-id"), "preload-user");
  EXPECT_TRUE(bridgeIn(page));
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"opened"});
}

}  // namespace
}  // namespace korvane
