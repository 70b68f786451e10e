// Who may send the person out of the app (another app, the App Store): the document that asked,
// as the engine reports it, a person's touch on the page, or the person's yes. The same rules are
// fed what WebKitGTK reports and, through the iOS port's own translation, what WebKit on iOS
// reports: link activation for a script's click, "other" for a tapped button's script, the
// pending address as the web view's URL.
#include <gtest/gtest.h>

#include "offerwall/outside_opening.h"
#include "signed_in_sdk.h"
#include "web/navigation_facts.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;
using ios::IosNavigationFacts;
using ios::IosNavigationType;
using testing::FakePresenter;

constexpr const char* kHub = "https://hub.example";

class OutsideOpeningTest : public testing::SignedInSdk {
 protected:
  void SetUp() override {
    SignedInSdk::SetUp();
    reopen();
  }
  // A fresh offerwall page: nothing refused on it yet.
  void reopen() {
    if (root_) root_->closeOfferwall();
    settle();
    root_ = KorvaneOfferwallViewController::create();
    root_->baseUrl = std::string(kHub) + "/wall";
    root_->present();
    settle();
    ASSERT_EQ(presenter_->live.size(), 1u);
    delegate()->didFinishNavigation();
    settle();
  }
  void TearDown() override {
    root_->closeOfferwall();
    settle();
    SignedInSdk::TearDown();
  }
  testing::FakeWebView& view() { return screen(0).view; }
  std::shared_ptr<WebViewDelegate> delegate() { return screen(0).view.delegate.lock(); }
  // A navigation of the page to `url`, asked for as the engine says; every such one is cancelled.
  void navigate(const NavigationAction& action) {
    EXPECT_EQ(delegate()->decidePolicy(action), NavigationPolicy::cancel) << action.url;
    settle();
  }
  std::size_t warningsWith(std::string_view fragment) const {
    std::size_t n = 0;
    for (const std::string& line : log_.messages()) n += line.find(fragment) != std::string::npos;
    return n;
  }
  std::vector<std::string>& opened() { return fake_.urlOpener->opened; }

  std::shared_ptr<KorvaneOfferwallViewController> root_;
};

NavigationAction askedBy(std::string url, std::optional<FrameFacts> source) {
  return NavigationAction{std::move(url), true, std::move(source)};
}

// Each asker on each road out: the trusted page's own main-frame document opens at once; anything
// else asks the person, and only a yes opens.
TEST_F(OutsideOpeningTest, TheTrustedMainFrameOpensAtOnceAnythingElseAsksThePerson) {
  const struct {
    const char* asker;
    std::optional<FrameFacts> source;
    bool atOnce;
    const char* reason;
  } askers[] = {
      {"the trusted page's main frame", FrameFacts{true, kHub}, true, ""},
      {"the trusted origin spelled otherwise", FrameFacts{true, "HTTPS://Hub.Example:443"}, true,
       ""},
      {"a sub frame of the trusted origin", FrameFacts{false, kHub}, false,
       "it comes from a sub frame (origin https://hub.example)"},
      {"another origin's main frame", FrameFacts{true, "https://ads.example"}, false,
       "origin https://ads.example is not trusted"},
      {"an opaque main frame", FrameFacts{true, ""}, false, "origin (opaque) is not trusted"},
      {"an asker the engine does not name", std::nullopt, false,
       "the web engine does not say which page asked"},
  };

  const char* const addresses[] = {"kakaotalk://chat/room", "itms-apps://apps.apple.com/app/id1",
                                   "https://apps.apple.com/app/id1"};
  for (const auto& asker : askers) {
    for (const char* url : addresses) {
      for (const bool window : {false, true}) {
        for (const bool yes : {false, true}) {
          SCOPED_TRACE(std::string(asker.asker) + ", " + url + (window ? ", new window" : "") +
                       (yes ? ", the person says yes" : ", the person says no"));
          reopen();
          opened().clear();
          fake_.prompt->asked.clear();
          fake_.prompt->yes = yes;
          log_.clear();
          const NavigationAction action = askedBy(url, asker.source);
          if (window) {
            delegate()->requestNewWindow(action);
            settle();
          } else {
            navigate(action);
          }
          EXPECT_EQ(fake_.prompt->asked.size(), asker.atOnce ? 0u : 1u);
          const bool opens = asker.atOnce || yes;
          EXPECT_EQ(opened(), opens ? std::vector<std::string>{url} : std::vector<std::string>{});
          if (!asker.atOnce) {
            EXPECT_EQ(warningsWith(std::string(": address without a person's touch: ") +
                                   asker.reason + "; asking the person"),
                      1u);
          }
        }
      }
    }
  }
}

TEST_F(OutsideOpeningTest, TheQuestionNamesWhereThePersonWouldGo) {
  const PersonQuestion store = outsideOpeningQuestion("itms-apps://apps.apple.com/app/id1");
  EXPECT_EQ(store.title, "App Store에서 여시겠습니까?");
  EXPECT_EQ(outsideOpeningQuestion("https://apps.apple.com/app/id1").message, store.message);
  const PersonQuestion app = outsideOpeningQuestion("KakaoTalk://chat");
  EXPECT_EQ(app.message, "이 페이지가 다른 앱(kakaotalk:)을 열려고 합니다.");
  EXPECT_EQ(app.confirm, "열기");
  EXPECT_EQ(app.cancel, "취소");
}

// A touch on the page lets one opening by anyone go within its window: the tap on an offer whose
// tracker and landing page send the person to the store. Not later, and not twice.
TEST_F(OutsideOpeningTest, ATouchLetsOneOpeningGoWithinItsWindow) {
  const std::optional<FrameFacts> landing = FrameFacts{true, "https://landing.example"};
  const struct {
    std::chrono::milliseconds after;
    bool opens;
  } cases[] = {{0ms, true}, {9'999ms, true}, {10'000ms, true}, {10'001ms, false}, {60s, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.after.count());
    reopen();
    opened().clear();
    fake_.prompt->asked.clear();
    delegate()->personTouched();
    fake_.clock->advance(c.after);
    navigate(askedBy("itms-apps://apps.apple.com/app/id1", landing));
    EXPECT_EQ(opened().size(), c.opens ? 1u : 0u);
    EXPECT_EQ(fake_.prompt->asked.size(), c.opens ? 0u : 1u);
    // The touch is spent: the next one asks.
    fake_.prompt->asked.clear();
    navigate(askedBy("someapp://again", landing));
    EXPECT_EQ(fake_.prompt->asked.size(), c.opens ? 1u : 0u) << "after a no, the page waits";
  }
  // An address that may never leave is refused first and spends no touch.
  reopen();
  opened().clear();
  delegate()->personTouched();
  navigate(askedBy("smb://server/share", landing));
  navigate(askedBy("itms-apps://apps.apple.com/app/id1", landing));
  EXPECT_EQ(opened(), std::vector<std::string>{"itms-apps://apps.apple.com/app/id1"});
}

// One question at a time; a no holds until the person touches the page; without a platform to
// ask, nothing unasked opens.
TEST_F(OutsideOpeningTest, ThePersonIsAskedOneQuestionAtATime) {
  const std::optional<FrameFacts> ad = FrameFacts{false, "https://ads.example"};
  fake_.prompt->holds = true;
  navigate(askedBy("someapp://first", ad));
  navigate(askedBy("someapp://second", ad));
  ASSERT_EQ(fake_.prompt->asked.size(), 1u);
  EXPECT_EQ(warningsWith("; the person is being asked about another address"), 1u);
  fake_.prompt->held.front()(true);
  settle();
  EXPECT_EQ(opened(), std::vector<std::string>{"someapp://first"});

  fake_.prompt->held.clear();
  navigate(askedBy("someapp://third", ad));
  ASSERT_EQ(fake_.prompt->held.size(), 1u);
  fake_.prompt->held.front()(false);
  settle();
  EXPECT_TRUE(log_.mentions("The person chose not to open someapp://third"));
  navigate(askedBy("otherapp://fourth", ad));
  EXPECT_EQ(fake_.prompt->asked.size(), 2u) << "not asked again after a no";
  EXPECT_EQ(warningsWith("; the person said no and has not touched the page since"), 1u);
  // A refused scheme stays refused; after a touch the person is asked about it again, and only
  // a yes opens it. The touch is not spent on opening it.
  navigate(askedBy("someapp://again", ad));
  EXPECT_EQ(warningsWith("🚫 Not opening a someapp: address: the person said no to someapp: "
                         "addresses on this page"),
            1u);
  delegate()->personTouched();
  navigate(askedBy("someapp://again", ad));
  ASSERT_EQ(fake_.prompt->asked.size(), 3u);
  fake_.prompt->held.back()(false);
  settle();
  navigate(askedBy("otherapp://declined", ad));
  EXPECT_EQ(fake_.prompt->asked.size(), 3u);
  delegate()->personTouched();
  navigate(askedBy("otherapp://touched", ad));
  EXPECT_EQ(opened().back(), "otherapp://touched");
  fake_.clock->advance(11s);
  navigate(askedBy("thirdapp://fifth", ad));
  EXPECT_EQ(fake_.prompt->asked.size(), 4u) << "after the touch the page may ask again";

  // The page closes while the question is open: the late answer opens nothing.
  auto late = std::move(fake_.prompt->held.back());
  root_->closeOfferwall();
  settle();
  late(true);
  settle();
  EXPECT_EQ(opened().back(), "otherapp://touched");
}

class NoPromptTest : public OutsideOpeningTest {
 protected:
  void SetUp() override {
    fake_.prompt = nullptr;
    OutsideOpeningTest::SetUp();
  }
};

TEST_F(NoPromptTest, WithoutAWayToAskNothingUnaskedOpens) {
  navigate(askedBy("someapp://x", std::nullopt));
  EXPECT_TRUE(opened().empty());
  EXPECT_EQ(warningsWith("; there is no one to ask"), 1u);
  navigate(askedBy("someapp://y", FrameFacts{true, kHub}));
  EXPECT_EQ(opened(), std::vector<std::string>{"someapp://y"});
}

// WebKit on iOS, as its port reports it: every navigation through the port's translation of
// WKNavigationAction, the person's touches from its recogniser, and the web view's URL the
// pending address while a load is under way.
class IosSignalsTest : public OutsideOpeningTest {
 protected:
  void decide(const IosNavigationFacts& facts) {
    delegate()->decidePolicy(translator_.translate(facts));
    settle();
  }
  void window(const IosNavigationFacts& facts) {
    delegate()->requestNewWindow(translator_.translate(facts));
    settle();
  }
  ios::IosNavigationTranslator translator_;
};

TEST_F(IosSignalsTest, AScriptedClickIsNoTouchAndATappedButtonsScriptIsOne) {
  const FrameFacts ad{false, "https://ads.example"};
  const FrameFacts landing{true, "https://landing.example"};
  // A script's click on a link in an ad frame, and on the landing page: link activation.
  decide({"hostileapp://click", IosNavigationType::linkActivated, false, ad});
  decide({"itms-apps://apps.apple.com/app/id9", IosNavigationType::linkActivated, true, landing});
  EXPECT_TRUE(opened().empty());
  EXPECT_EQ(fake_.prompt->asked.size(), 1u) << "the second waits for a touch after the no";

  // The person taps the landing page's "Install" button; its script sets the location: "other".
  delegate()->personTouched();
  fake_.clock->advance(300ms);
  decide({"itms-apps://apps.apple.com/app/id1", IosNavigationType::other, true, landing});
  EXPECT_EQ(opened(), std::vector<std::string>{"itms-apps://apps.apple.com/app/id1"});

  // A tapped button that calls window.open: WebKit asks for a window, with no target frame.
  delegate()->personTouched();
  window({"https://apps.apple.com/app/id2", IosNavigationType::other, false, landing});
  EXPECT_EQ(opened().back(), "https://apps.apple.com/app/id2");
  EXPECT_EQ(fake_.prompt->asked.size(), 1u);
}

TEST_F(IosSignalsTest, AnUntrustedDocumentIsJudgedAsItselfWhileTheTrustedAddressLoads) {
  // An untrusted page shown; the trusted address is loading, and the web view's URL says so.
  ASSERT_EQ(view().follow("https://evil.example/landing"), NavigationPolicy::allow);
  view().followed = std::string(kHub) + "/wall";
  ASSERT_EQ(view().currentUrl(), std::string(kHub) + "/wall");
  decide({"hostileapp://frame", IosNavigationType::other, false,
          FrameFacts{false, "https://evil.example"}});
  decide({"hostileapp://location", IosNavigationType::other, true,
          FrameFacts{true, "https://evil.example"}});
  EXPECT_TRUE(opened().empty());
  // The trusted wall's own script sends the person to the store at once.
  decide({"itms-apps://apps.apple.com/app/id1", IosNavigationType::other, true,
          FrameFacts{true, kHub}});
  EXPECT_EQ(opened(), std::vector<std::string>{"itms-apps://apps.apple.com/app/id1"});
}

TEST(IosNavigationTranslator, OnlyTheAskedLoadAndItsMainFrameDecisionsUntilCommitAreTheSdks) {
  ios::IosNavigationTranslator translator;
  const FrameFacts page{true, kHub};
  EXPECT_FALSE(translator.translate({"https://hub.example/a", IosNavigationType::other, true, page})
                   .fromSdk);
  translator.asked("https://hub.example/wall");
  EXPECT_FALSE(
      translator.translate({"https://ads.example/f", IosNavigationType::other, false, page})
          .fromSdk)
      << "a frame of the old page";
  EXPECT_TRUE(
      translator.translate({"https://hub.example/wall", IosNavigationType::other, true, page})
          .fromSdk);
  EXPECT_TRUE(
      translator.translate({"https://cdn.example/wall", IosNavigationType::other, true, page})
          .fromSdk)
      << "its server's redirect";
  translator.settled();
  const NavigationAction later = translator.translate(
      {"https://hub.example/next", IosNavigationType::linkActivated, true, page});
  EXPECT_FALSE(later.fromSdk);
  EXPECT_EQ(ios::originText("https", "hub.example", 0), kHub);
  EXPECT_EQ(ios::originText("https", "", 0), "");
  EXPECT_EQ(ios::originText("http", "127.0.0.1", 8080), "http://127.0.0.1:8080");
}

}  // namespace
}  // namespace korvane
