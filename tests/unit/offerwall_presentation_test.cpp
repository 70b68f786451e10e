// The offerwall's openings and closings on screens that keep UIKit's presentation rules:
// transitions take time, dismissals asked for during one are dropped, presentations can be
// refused, and dismissing a low page takes the pages above it along.
#include <gtest/gtest.h>

#include "signed_in_sdk.h"
#include "uikit_rules_presenter.h"

namespace korvane {
namespace {

using testing::RecordingCallback;
using testing::UIKitRulesPresenter;

constexpr const char* kRefused = "error:Failed to open offerwall: it could not be presented";

class OfferwallPresentationTest : public testing::SignedInSdk {
 public:
  std::shared_ptr<ScreenPresenter> screens() const override { return uikit_; }

  // Runs queued work and every transition it starts, until the screen is still.
  void settleScreens() {
    settle();
    while (uikit_->inTransition()) {
      uikit_->endTransitions();
      settle();
    }
  }
  UIKitRulesPresenter::Page& page(std::size_t i) { return *uikit_->stack.at(i); }
  std::size_t count(const std::string& entry) const {
    return static_cast<std::size_t>(
        std::count(uikit_->journal.begin(), uikit_->journal.end(), entry));
  }
  // Opens the offerwall through the facade, with its own callback.
  std::shared_ptr<RecordingCallback> open() {
    auto heard = std::make_shared<RecordingCallback>();
    sdk_.openOfferwall(nullptr, "home", heard, nullptr);
    settle();
    return heard;
  }
  std::size_t eventsNamed(const std::string& name) {
    std::size_t n = 0;
    for (const TrackEventRequest& event : deliveredEvents()) n += event.name == name ? 1 : 0;
    return n;
  }

  std::shared_ptr<UIKitRulesPresenter> uikit_ = std::make_shared<UIKitRulesPresenter>();
};

// A close that arrives while the page is still being presented happens once the presentation
// has ended, however it was asked for; the page never stays up.
TEST_F(OfferwallPresentationTest, ACloseDuringThePresentationHappensWhenItEnds) {
  struct Case {
    const char* name;
    std::string url;  // the page's address; empty for none
    std::function<void(KorvaneOfferwallViewController&, UIKitRulesPresenter::Page&)> close;
    std::vector<std::string> heard;
  };
  const Case cases[] = {
      {"a controller without an address",
       "",
       [](auto&, auto&) {},
       {"error:Failed to load offerwall: No URL provided"}},
      {"the page posts close",
       "https://hub.example/",
       [](auto&, auto& page) { page.view.post(R"({"type":"close"})"); },
       {"closed"}},
      {"the page loads korvane://close",
       "https://hub.example/",
       [](auto&, auto& page) {
         page.view.delegate.lock()->decidePolicy({"korvane://close", true});
       },
       {"closed"}},
      {"the app closes it",
       "https://hub.example/",
       [](auto& controller, auto&) { controller.closeOfferwall(); },
       {"closed"}},
      {"its close button",
       "https://hub.example/",
       [](auto&, auto& page) { page.close(); },
       {"closed"}},
  };
  for (const Case& c : cases) {
    auto heard = std::make_shared<RecordingCallback>();
    KorvaneOfferwallViewController::setOfferwallCallback(heard);
    KorvaneOfferwallViewController::setHasFiredOnClosed(false);
    auto controller = KorvaneOfferwallViewController::create();
    if (!c.url.empty()) controller->baseUrl = c.url;
    ASSERT_TRUE(controller->present()) << c.name;
    settle();
    ASSERT_TRUE(uikit_->inTransition()) << c.name;
    c.close(*controller, page(0));
    settle();
    EXPECT_EQ(uikit_->stack.size(), 1u) << c.name << ": still being presented";

    settleScreens();
    EXPECT_TRUE(uikit_->stack.empty()) << c.name;
    EXPECT_FALSE(controller->isPresented()) << c.name;
    EXPECT_EQ(heard->heard, c.heard) << c.name;
    EXPECT_EQ(count("page" + std::to_string(uikit_->made - 1) + " destroyed"), 1u) << c.name;
  }
}

// A close asked for twice while the page is presented is asked of the platform once more only
// after the transition, and onClosed is heard once.
TEST_F(OfferwallPresentationTest, RepeatedClosesDuringThePresentationEndItOnce) {
  auto controller = KorvaneOfferwallViewController::create();
  controller->baseUrl = "https://hub.example/";
  ASSERT_TRUE(controller->present());
  controller->closeOfferwall();
  page(0).view.post(R"({"type":"close"})");
  controller->closeOfferwall();
  settle();
  EXPECT_EQ(count("page0 dismissal dropped: a transition is in progress"), 1u);
  settleScreens();
  EXPECT_TRUE(uikit_->stack.empty());
  EXPECT_EQ(count("page0 dismissing"), 1u);
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});
}

// Openings the platform refuses report onError, show nothing, keep nothing alive, and leave the
// opening on screen (if any) its callback and its closing.
TEST_F(OfferwallPresentationTest, RefusedOpeningsReportAnErrorAndLeaveTheShownOneAlone) {
  // Opened while the app's screen is not in a window yet (from its viewDidLoad).
  uikit_->appInWindow = false;
  auto early = open();
  EXPECT_EQ(early->heard, std::vector<std::string>{kRefused});
  EXPECT_EQ(count("page0 refused"), 1u);
  EXPECT_TRUE(uikit_->stack.empty());
  EXPECT_EQ(eventsNamed("offerwall_opened"), 0u);
  uikit_->appInWindow = true;

  // Opened twice quickly: the second arrives during the first one's presentation.
  auto first = open();
  auto second = open();
  EXPECT_EQ(second->heard, std::vector<std::string>{kRefused});
  ASSERT_EQ(uikit_->stack.size(), 1u);
  EXPECT_EQ(KorvaneOfferwallViewController::offerwallCallback(), first);
  settleScreens();
  page(0).close();
  settleScreens();
  EXPECT_EQ(first->heard, (std::vector<std::string>{"opened", "closed"}));
  EXPECT_EQ(second->heard, std::vector<std::string>{kRefused}) << "not the first one's closing";
  EXPECT_EQ(eventsNamed("offerwall_opened"), 1u);

  // Opened while the last opening's dismissal still animates: it waits for that page to go.
  auto third = open();
  settleScreens();
  page(0).close();
  settle();
  ASSERT_TRUE(uikit_->inTransition());
  auto during = open();
  EXPECT_TRUE(during->heard.empty());
  settleScreens();
  EXPECT_EQ(third->heard, (std::vector<std::string>{"opened", "closed"}));
  EXPECT_EQ(during->heard, std::vector<std::string>{"opened"});
  ASSERT_EQ(uikit_->stack.size(), 1u);
  page(0).close();
  settleScreens();
  EXPECT_EQ(during->heard, (std::vector<std::string>{"opened", "closed"}));

  // Every refused page went at once; every page shown is still alive or went through a close.
  for (const char* refused : {"page0", "page2"})
    EXPECT_EQ(count(std::string(refused) + " refused"), 1u) << refused;
  for (const char* destroyed : {"page1", "page3", "page4"})
    EXPECT_EQ(count(std::string(destroyed) + " destroyed"), 1u) << destroyed;
}

// An app that opens the offerwall again from onClosed gets a new offerwall that stays: it is
// presented once the closing one has left the screen, however that one was closed.
TEST_F(OfferwallPresentationTest, AnOfferwallOpenedFromOnClosedStaysOnScreen) {
  class Reopening final : public OfferwallCallback {
   public:
    Reopening(KorvaneSdk& sdk, std::shared_ptr<RecordingCallback> next)
        : sdk_(sdk), next_(std::move(next)) {}
    void onOpened() override { heard.push_back("opened"); }
    void onClosed() override {
      heard.push_back("closed");
      sdk_.openOfferwall(nullptr, "again", next_, nullptr);
    }
    void onError(const std::string& message) override { heard.push_back("error:" + message); }
    void onRewardEarned(int) override {}
    std::vector<std::string> heard;

   private:
    KorvaneSdk& sdk_;
    std::shared_ptr<RecordingCallback> next_;
  };
  using Closing = std::function<void(OfferwallPresentationTest&)>;
  const std::pair<const char*, Closing> closings[] = {
      {"its close button", [](auto& t) { t.page(0).close(); }},
      {"its page posts close", [](auto& t) { t.page(0).view.post(R"({"type":"close"})"); }},
      {"its page loads korvane://close",
       [](auto& t) { t.page(0).view.delegate.lock()->decidePolicy({"korvane://close", true}); }},
      {"the close button over an inner page",
       [](auto& t) {
         t.page(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/a"}})");
         t.settleScreens();
         t.page(0).close();
       }},
      {"the app dismisses it", [](auto& t) { EXPECT_TRUE(t.uikit_->appDismisses(t.page(0))); }},
  };
  for (const auto& [name, close] : closings) {
    SCOPED_TRACE(name);
    auto next = std::make_shared<RecordingCallback>();
    auto first = std::make_shared<Reopening>(sdk_, next);
    sdk_.openOfferwall(nullptr, "home", first, nullptr);
    settleScreens();
    ASSERT_EQ(uikit_->stack.size(), 1u);
    close(*this);
    settleScreens();
    EXPECT_EQ(first->heard, (std::vector<std::string>{"opened", "closed"}));
    EXPECT_EQ(next->heard, std::vector<std::string>{"opened"});
    ASSERT_EQ(uikit_->stack.size(), 1u);
    EXPECT_EQ(KorvaneOfferwallViewController::offerwallCallback(), next);
    page(0).close();
    settleScreens();
    EXPECT_TRUE(uikit_->stack.empty());
    EXPECT_EQ(next->heard, (std::vector<std::string>{"opened", "closed"}));
  }
  EXPECT_EQ(eventsNamed("offerwall_opened"), 2 * std::size(closings));
}

// An inner page the page asks for while its own presentation runs is refused by the platform and
// asked for again once the presentation has ended.
TEST_F(OfferwallPresentationTest, AnInnerPageAskedForDuringATransitionOpensWhenItEnds) {
  auto controller = KorvaneOfferwallViewController::create();
  controller->baseUrl = "https://hub.example/";
  ASSERT_TRUE(controller->present());
  settle();
  page(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/a"}})");
  settle();
  EXPECT_EQ(count("page1 refused"), 1u);
  EXPECT_TRUE(KorvaneOfferwallViewController::activeSubControllers().empty());
  settleScreens();
  ASSERT_EQ(uikit_->stack.size(), 2u);
  EXPECT_EQ(page(1).view.loads.at(0).url, "https://hub.example/a");
  EXPECT_EQ(KorvaneOfferwallViewController::activeSubControllers().size(), 1u);
  controller->closeOfferwall();
  settleScreens();
  EXPECT_TRUE(uikit_->stack.empty());
}

// A closing page whose dismissal never reports its end holds the openings that wait for it only
// for a bounded time: the next opening still ends in onOpened.
TEST_F(OfferwallPresentationTest, AnOpeningWaitsForAClosingPageWhoseDismissalIsLostOnlySoLong) {
  auto first = open();
  settleScreens();
  uikit_->dropDismissalCompletions = true;
  page(0).close();
  settleScreens();
  ASSERT_TRUE(uikit_->stack.empty());
  EXPECT_EQ(first->heard, (std::vector<std::string>{"opened", "closed"}));
  uikit_->dropDismissalCompletions = false;
  auto next = open();
  settleScreens();
  EXPECT_TRUE(next->heard.empty()) << "it waits for the closing page";
  fake_.mainThread->advance(std::chrono::seconds(3));
  settleScreens();
  EXPECT_EQ(next->heard, std::vector<std::string>{"opened"});
  ASSERT_EQ(uikit_->stack.size(), 1u);
  EXPECT_TRUE(log_.mentions("A closing offerwall page has not left the screen"));
  page(0).close();
  settleScreens();
  EXPECT_EQ(next->heard, (std::vector<std::string>{"opened", "closed"}));
}

// However the pages of an opening leave together (the app dismisses a low one, the close button
// takes the inner pages first), none outlives it and onClosed is heard once.
TEST_F(OfferwallPresentationTest, PagesLeavingTogetherAllEnd) {
  using Ending = std::function<void(OfferwallPresentationTest&)>;
  const std::pair<const char*, Ending> endings[] = {
      {"the app dismisses the first page",
       [](auto& t) { EXPECT_TRUE(t.uikit_->appDismisses(t.page(0))); }},
      {"the app dismisses it without animation",
       [](auto& t) { EXPECT_TRUE(t.uikit_->appDismisses(t.page(0), false)); }},
      {"the app dismisses the middle page, then the first",
       [](auto& t) {
         EXPECT_TRUE(t.uikit_->appDismisses(t.page(1)));
         t.settleScreens();
         EXPECT_TRUE(t.uikit_->appDismisses(t.page(0)));
       }},
      {"the first page's close button", [](auto& t) { t.page(0).close(); }},
      {"the top page's close, then the first page's",
       [](auto& t) {
         t.page(2).view.post(R"({"type":"close"})");
         t.settleScreens();
         t.page(0).close();
       }},
  };
  for (const auto& [name, end] : endings) {
    auto heard = open();
    settleScreens();
    page(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/a"}})");
    settleScreens();
    page(1).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/b"}})");
    settleScreens();
    ASSERT_EQ(uikit_->stack.size(), 3u) << name;
    const int made = uikit_->made;
    end(*this);
    settleScreens();
    EXPECT_TRUE(uikit_->stack.empty()) << name;
    for (int i = made - 3; i < made; ++i)
      EXPECT_EQ(count("page" + std::to_string(i) + " destroyed"), 1u) << name << " page" << i;
    EXPECT_TRUE(KorvaneOfferwallViewController::activeSubControllers().empty()) << name;
    EXPECT_EQ(heard->heard, (std::vector<std::string>{"opened", "closed"})) << name;
  }
  EXPECT_EQ(eventsNamed("offerwall_closed"), std::size(endings));
}

}  // namespace
}  // namespace korvane
