// The preloaded offerwall: one page loaded off screen that the next opening of its placement
// shows as it is, let go of when it may no longer be shown; and the offline page giving way to
// the offerwall when the network comes back.
#include <gtest/gtest.h>

#include <functional>

#include "offerwall/warm_offerwall.h"
#include "signed_in_sdk.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;
using testing::FakePresenter;
using testing::RecordingCallback;

std::optional<std::string> header(const WebRequest& request, const std::string& name) {
  for (const auto& [key, value] : request.headers)
    if (key == name) return value;
  return std::nullopt;
}

class PreloadTest : public testing::SignedInSdk {
 public:
  FakePresenter& presenter() { return *presenter_; }

 protected:
  // The page loaded off screen by a preload of "home".
  FakePresenter::FakeScreen& preloadHome() {
    sdk_.preloadOfferwall("home");
    settle();
    EXPECT_EQ(presenter_->live.size(), 1u);
    return screen(0);
  }
  std::shared_ptr<RecordingCallback> open(const std::string& placementId) {
    auto heard = std::make_shared<RecordingCallback>();
    sdk_.openOfferwall(nullptr, placementId, heard, nullptr);
    settle();
    return heard;
  }
};

TEST_F(PreloadTest, TheNextOpeningShowsTheKeptPageAndLoadsNothingAgain) {
  FakePresenter::FakeScreen& kept = preloadHome();
  EXPECT_FALSE(kept.shown);
  ASSERT_EQ(kept.view.loads.size(), 1u);
  const WebRequest& load = kept.view.loads.front();
  EXPECT_EQ(load.url.rfind("https://hub.example/", 0), 0u) << load.url;
  EXPECT_EQ(header(load, "x-korvane-user-id"), "u1");
  EXPECT_EQ(header(load, "x-korvane-app-key"), "key");
  EXPECT_FALSE(kept.view.handlers.empty()) << "the bridge's handler is registered off screen";

  // A second preload of the same placement keeps the page it has.
  sdk_.preloadOfferwall("home");
  settle();
  EXPECT_EQ(presenter_->made, 1);

  auto heard = open("home");
  EXPECT_EQ(heard->heard, std::vector<std::string>{"opened"});
  EXPECT_EQ(presenter_->made, 1) << "no new page was made";
  EXPECT_EQ(presenter_->shownPrepared, 1);
  EXPECT_TRUE(kept.shown);
  EXPECT_EQ(kept.view.loads.size(), 1u) << "nothing was loaded again";
  EXPECT_TRUE(log_.mentions("Showing the preloaded offerwall of placement home"));

  // It is an offerwall like any other: its close button ends the opening once.
  kept.close();
  settle();
  EXPECT_EQ(heard->heard, (std::vector<std::string>{"opened", "closed"}));
  EXPECT_TRUE(presenter_->live.empty());

  // The page was used up: the next opening loads a new one.
  open("home");
  EXPECT_EQ(presenter_->made, 2);
  EXPECT_EQ(screen(0).view.loads.size(), 1u);
}

TEST_F(PreloadTest, AnotherPlacementOpensANewPageAndTheKeptOneWaits) {
  FakePresenter::FakeScreen& kept = preloadHome();
  open("store");
  EXPECT_EQ(presenter_->made, 2);
  EXPECT_FALSE(kept.shown);
  screen(1).close();
  settle();
  open("home");
  EXPECT_TRUE(kept.shown);
  EXPECT_EQ(presenter_->made, 2);
}

// Each way a kept page goes: it is destroyed at once, and the next opening loads anew.
struct Release {
  const char* name;
  std::function<void(PreloadTest&, testing::FakePlatform&, KorvaneSdk&)> act;
  const char* logged;
};

class PreloadReleaseTest : public PreloadTest, public ::testing::WithParamInterface<Release> {};

TEST_P(PreloadReleaseTest, TheKeptPageGoesAndTheNextOpeningLoadsAgain) {
  preloadHome();
  GetParam().act(*this, fake_, sdk_);
  settle();
  EXPECT_TRUE(presenter_->live.empty()) << "the kept page is destroyed";
  EXPECT_TRUE(
      log_.mentions(std::string("Letting the preloaded offerwall go: ") + GetParam().logged))
      << ::testing::PrintToString(log_.messages());
  if (!sdk_.isLoggedIn()) sdk_.login(KorvaneSdkUser("u1"));
  settle();
  open("home");
  ASSERT_EQ(presenter_->live.size(), 1u);
  EXPECT_EQ(presenter_->made, 2);
  EXPECT_EQ(presenter_->shownPrepared, 0);
  EXPECT_EQ(screen(0).view.loads.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Ways, PreloadReleaseTest,
    ::testing::Values(
        Release{"logout", [](auto&, auto&, KorvaneSdk& sdk) { sdk.logout(); },
                "the user logged out"},
        Release{"userChange",
                [](auto&, auto&, KorvaneSdk& sdk) { sdk.login(KorvaneSdkUser("u2")); },
                "another user logged in"},
        Release{"staleness",
                [](auto&, testing::FakePlatform& fake, auto&) { fake.mainThread->advance(10min); },
                "it was kept for 10 minutes"},
        Release{"memoryWarning",
                [](auto&, testing::FakePlatform& fake, auto&) { fake.memoryPressure->warn(); },
                "the system is short of memory"},
        Release{"pagePostedClose",
                [](PreloadTest& test, auto&, auto&) {
                  test.presenter().live.at(0)->view.postFrom(R"({"type":"close"})", false,
                                                             "https://ads.example");
                },
                "its load failed or it closed itself"},
        Release{"pageClosedItself",
                [](PreloadTest& test, auto&, auto&) {
                  test.presenter().live.at(0)->view.follow("korvane://close");
                },
                "its load failed or it closed itself"}),
    [](const auto& each) { return std::string(each.param.name); });

TEST_F(PreloadTest, WhatDoesNotChangeTheUserOrOutliveTheLimitKeepsThePage) {
  FakePresenter::FakeScreen& kept = preloadHome();
  sdk_.login(KorvaneSdkUser("u1"));  // the same user again
  fake_.mainThread->advance(9min);
  settle();
  open("home");
  EXPECT_TRUE(kept.shown);
  EXPECT_EQ(presenter_->made, 1);
}

// The clock says the page is old even when its timer has not run (a device asleep, a main thread
// busy): the opening checks the age itself.
TEST_F(PreloadTest, AnOpeningRefusesAPageOlderThanTheLimitWhateverItsTimer) {
  preloadHome();
  fake_.clock->advance(11min);
  open("home");
  EXPECT_EQ(presenter_->shownPrepared, 0);
  EXPECT_EQ(presenter_->made, 2);
  EXPECT_TRUE(log_.mentions("Letting the preloaded offerwall go: it was kept for 10 minutes"));
}

TEST_F(PreloadTest, WithoutAPlatformThatKeepsPagesOffScreenOpeningsLoadAsBefore) {
  presenter_->keepsNone = true;
  sdk_.preloadOfferwall("home");
  settle();
  EXPECT_TRUE(presenter_->live.empty());
  EXPECT_TRUE(log_.mentions("keeps no offerwall page off screen"));
  auto heard = open("home");
  EXPECT_EQ(heard->heard, std::vector<std::string>{"opened"});
  EXPECT_EQ(screen(0).view.loads.size(), 1u);
}

TEST_F(PreloadTest, APreloadIsRefusedAsAnOpeningIsWithoutAUser) {
  sdk_.logout();
  settle();
  sdk_.preloadOfferwall("home");
  settle();
  EXPECT_TRUE(presenter_->live.empty());
  EXPECT_TRUE(log_.mentions("User not logged in"));
}

// A page off screen is judged by the rules a shown one is, and besides sends nobody out of the
// app: nobody sees it.
TEST_F(PreloadTest, AKeptPageObeysTheTrustRulesAndOpensNothingUnseen) {
  FakePresenter::FakeScreen& kept = preloadHome();
  kept.view.follow("https://hub.example/offers");
  const std::size_t scriptsBefore = kept.view.scripts.size();
  kept.view.postFrom(R"({"type":"getUserInfo"})", true, "https://hub.example");
  kept.view.postFrom(R"({"type":"getUserInfo"})", true, "https://evil.example");
  kept.view.postFrom(R"({"type":"getUserInfo"})", false, "https://hub.example");
  // An offer's store link, as if tapped: even a touch does not count for a page nobody sees.
  if (auto delegate = kept.view.delegate.lock()) delegate->personTouched();
  EXPECT_EQ(kept.view.follow("itms-apps://apps.apple.com/app/id1"), NavigationPolicy::cancel);
  settle();
  EXPECT_TRUE(fake_.urlOpener->opened.empty());
  EXPECT_TRUE(fake_.prompt->asked.empty());
  EXPECT_TRUE(log_.mentions("the page is kept off screen, nobody sees it"));
  EXPECT_EQ(kept.view.scripts.size(), scriptsBefore) << "messages wait for the page to show";

  open("home");
  // Shown, its messages are judged as a fresh page's are: the hub's main frame is answered, the
  // others refused with the same warnings.
  EXPECT_EQ(kept.view.scripts.size(), scriptsBefore + 1);
  EXPECT_TRUE(
      log_.mentions("Bridge message 'getUserInfo' refused: origin https://evil.example "
                    "is not trusted"));
  EXPECT_TRUE(log_.mentions("Bridge message 'getUserInfo' refused: sent from a sub frame"));
  // And now a touch lets the store open as it does on any shown page.
  if (auto delegate = kept.view.delegate.lock()) delegate->personTouched();
  kept.view.follow("itms-apps://apps.apple.com/app/id1");
  settle();
  EXPECT_EQ(fake_.urlOpener->opened,
            std::vector<std::string>{"itms-apps://apps.apple.com/app/id1"});
}

TEST_F(PreloadTest, AKeptPageThatCannotBeShownIsReportedAsAnyRefusedOpening) {
  preloadHome();
  presenter_->refuseShowing = true;
  auto heard = open("home");
  EXPECT_EQ(heard->heard,
            std::vector<std::string>{"error:Failed to open offerwall: it could not be presented"});
}

// The offline page reloads the offerwall by itself when the network comes back; until then it
// stays, with its close control.
TEST_F(PreloadTest, TheOfflinePageLoadsTheOfferwallWhenTheNetworkComesBack) {
  const std::size_t othersListening = fake_.reachability->observerCount();  // the event batches
  fake_.reachability->set(false);
  auto heard = open("home");
  ASSERT_EQ(presenter_->live.size(), 1u);
  FakePresenter::FakeScreen& page = screen(0);
  ASSERT_EQ(page.view.htmlLoads.size(), 1u);
  EXPECT_TRUE(page.view.loads.empty());
  EXPECT_NE(page.view.htmlLoads[0].find("close"), std::string::npos);
  EXPECT_EQ(fake_.reachability->observerCount(), othersListening + 1);

  fake_.reachability->set(false);  // a change that is no way back
  settle();
  EXPECT_TRUE(page.view.loads.empty());

  fake_.reachability->set(true);
  settle();
  ASSERT_EQ(page.view.loads.size(), 1u);
  EXPECT_EQ(page.view.loads[0].url.rfind("https://hub.example/", 0), 0u);
  EXPECT_EQ(header(page.view.loads[0], "x-korvane-user-id"), "u1") << "the composed load again";
  EXPECT_EQ(fake_.reachability->observerCount(), othersListening)
      << "it stops listening once it reloaded";
  EXPECT_TRUE(static_cast<bool>(page.close));
  page.close();
  settle();
  EXPECT_EQ(heard->heard, (std::vector<std::string>{"opened", "closed"}));
}

// The network came back between the failed check and the offline page going in: no change is
// left to hear, and the page must not wait for one.
TEST_F(PreloadTest, ANetworkBackBeforeTheOfflinePageWentInLoadsTheOfferwall) {
  fake_.reachability->set(false);
  sdk_.openOfferwall(nullptr, "home", callback_, nullptr);
  fake_.reachability->set(true);
  settle();
  ASSERT_EQ(presenter_->live.size(), 1u);
  EXPECT_EQ(screen(0).view.htmlLoads.size(), 1u);
  EXPECT_EQ(screen(0).view.loads.size(), 1u);
}

// A load that failed on a working network path shows the offline page and waits for the path to
// change: reloading at once would go round without end against a server that drops connections.
TEST_F(PreloadTest, AnOfflinePageAfterAFailedLoadWaitsForTheNextChange) {
  open("home");
  FakePresenter::FakeScreen& page = screen(0);
  if (auto delegate = page.view.delegate.lock())
    delegate->didFailNavigation(
        Error{"NSURLErrorDomain", -1005, "The network connection was lost."}, true);
  settle();
  ASSERT_EQ(page.view.htmlLoads.size(), 1u);
  EXPECT_EQ(page.view.loads.size(), 1u);
  fake_.reachability->set(true);
  settle();
  EXPECT_EQ(page.view.loads.size(), 2u);
}

TEST_F(PreloadTest, AnOfflinePageTheNetworkNeverReturnsToListensNoLongerThanItLives) {
  const std::size_t othersListening = fake_.reachability->observerCount();
  fake_.reachability->set(false);
  open("home");
  EXPECT_EQ(fake_.reachability->observerCount(), othersListening + 1);
  screen(0).close();
  settle();
  EXPECT_TRUE(presenter_->live.empty());
  EXPECT_EQ(fake_.reachability->observerCount(), othersListening);
  fake_.reachability->set(true);
  settle();
}

}  // namespace
}  // namespace korvane
