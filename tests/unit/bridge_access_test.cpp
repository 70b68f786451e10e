// Who may use the bridge: origins in one normal form, the decision table over fake web views,
// trust handed to the pages an offerwall opens, the app's own origins and its opt-out; and which
// addresses may leave the SDK for the system.
#include <gtest/gtest.h>

#include <algorithm>

#include "korvane/offerwall/offerwall_view.h"
#include "offerwall/outside_opening.h"
#include "signed_in_sdk.h"
#include "util/url_text.h"

namespace korvane {
namespace {

using testing::FakePresenter;

TEST(WebOrigin, OneNormalFormForAddressesAndReportedOrigins) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"https://hub.example/wall?x=1#top", "https://hub.example"},
      {"HTTPS://Hub.Example:443/", "https://hub.example"},
      {"http://hub.example:80", "http://hub.example"},
      {"http://hub.example:443", "http://hub.example:443"},
      {"https://hub.example:8443", "https://hub.example:8443"},
      {"http://127.0.0.1:08080/x", "http://127.0.0.1:8080"},
      {"https://hub.example:", "https://hub.example"},
      {"http://[::1]:8080/", "http://[::1]:8080"},
      {"myapp://offers/list", "myapp://offers"},
      {"https://hub.example?q", "https://hub.example"},
      {"null", std::nullopt},
      {"", std::nullopt},
      {"about:blank", std::nullopt},
      {"data:text/html,<b>x</b>", std::nullopt},
      {"file:///tmp/x.html", std::nullopt},
      {"javascript:alert(1)", std::nullopt},
      {"https://", std::nullopt},
      {"//hub.example", std::nullopt},
      {"https://user:pw@hub.example/", std::nullopt},
      {"https://evil.example\\@hub.example/", std::nullopt},
      {"https://hub.example%2eevil/", std::nullopt},
      {"https://hub example/", std::nullopt},
      {"https://h\xC3\xBC"
       "b.example/",
       std::nullopt},
      {"https://hub.example:65536", std::nullopt},
      {"https://hub.example:8o", std::nullopt},
      {"https://[::1/", std::nullopt},
  };
  for (const auto& [text, origin] : cases) EXPECT_EQ(url::origin(text), origin) << text;
}

TEST(WebOrigin, TheAppsOriginsAreKeptInNormalFormAndThePolicyIsOnByDefault) {
  testing::LogCapture log;
  const KorvaneSdkConfig plain = KorvaneSdkConfig::Builder("k", "s").build();
  EXPECT_TRUE(plain.bridgeOriginPolicyEnabled());
  EXPECT_TRUE(plain.trustedOrigins().empty());
  const KorvaneSdkConfig config = KorvaneSdkConfig::Builder("k", "s")
                                      .addTrustedOrigin("https://Offers.Example.com/any/path")
                                      .addTrustedOrigin("https://offers.example.com:443")
                                      .addTrustedOrigin("offers.example.com")
                                      .addTrustedOrigin("http://127.0.0.1:8080")
                                      .setBridgeOriginPolicyEnabled(false)
                                      .build();
  EXPECT_EQ(config.trustedOrigins(),
            (std::vector<std::string>{"https://offers.example.com", "http://127.0.0.1:8080"}));
  EXPECT_FALSE(config.bridgeOriginPolicyEnabled());
  EXPECT_TRUE(log.contains(
      "[W/KorvaneSdkConfig] Ignoring trusted origin that names no origin: offers.example.com"));
}

TEST(OutsideOpening, WebAndStoreAddressesForTheBrowserAppSchemesOnlyWhenAnAppIsAskedFor) {
  const struct {
    const char* url;
    bool browser;
    bool app;
  } cases[] = {
      {"https://example.com/deal", true, true},
      {"HTTP://example.com", true, true},
      {"itms-apps://apps.apple.com/app/id1", true, true},
      {"kakaotalk://open", false, true},
      {"mailto:someone@example.com", false, true},
      {"tel:+821012345678", false, true},
      {"file:///etc/passwd", false, false},
      {"File:///etc/passwd", false, false},
      {"javascript:alert(1)", false, false},
      {"data:text/html,hi", false, false},
      {"about:blank", false, false},
      {"blob:https://example.com/1", false, false},
      {"view-source:https://example.com", false, false},
      {"smb://server/share", false, false},
      {"sftp://server/home", false, false},
      {"x-gvfs-private://x", false, false},
      {"korvane://close", false, false},
      {"not a url", false, false},
      {"", false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(mayOpenOutside(c.url, OutsideOpening::browser), c.browser) << c.url;
    EXPECT_EQ(mayOpenOutside(c.url, OutsideOpening::app), c.app) << c.url;
  }
}

// Every message type that does more than close or reload its own page; each is posted with data
// that would make it act.
const char* const kPowerfulMessages[] = {
    R"({"type":"openWebView","data":{"url":"https://hub.example/sub"}})",
    R"({"type":"closeOpenWebView","data":{"url":"https://hub.example/other"}})",
    R"({"type":"externalOpenBrowser","data":{"url":"https://example.com/deal"}})",
    R"({"type":"trackEvent","data":{"eventName":"tap"}})",
    R"({"type":"openAdjoeOfferwall","data":{"placementId":"p"}})",
    R"({"type":"checkAppInstalled","data":{"identifier":"someapp://open"}})",
    R"({"type":"quizCompleted","data":{}})",
    R"({"type":"quizStarted","data":{}})",
    R"({"type":"missionCompleted","data":{"missionId":"m1"}})",
    R"({"type":"missionProgressed","data":{"missionId":"m1"}})",
    R"({"type":"missionRefreshed","data":{}})",
    R"({"type":"getUserInfo"})",
    R"({"type":"customEvent","data":{"eventType":"reward"}})",
    R"({"type":"dataRequest","data":{"requestId":"req_1_a","requestType":"points"}})",
    R"({"type":"teleport"})",
};

class AskedEvents final : public OfferwallEventCallback {
 public:
  void onCustomEvent(const std::string& type, const JsonValue&) override { heard.push_back(type); }
  std::optional<JsonValue> onDataRequest(const std::string& id, const std::string&,
                                         const JsonValue&) override {
    heard.push_back(id);
    return JsonValue{{"points", 1}};
  }
  std::vector<std::string> heard;
};

class BridgeAccessTest : public testing::SignedInSdk {
 protected:
  void SetUp() override {
    SignedInSdk::SetUp();
    KorvaneOfferwallViewController::setEventCallback(events_);
  }
  // A root page in the quiz context, so that the quiz messages act too.
  std::shared_ptr<KorvaneOfferwallViewController> present(const std::string& url) {
    auto controller = KorvaneOfferwallViewController::create();
    controller->baseUrl = url;
    controller->contextType = "quiz";
    controller->present();
    settle();
    return controller;
  }
  std::size_t refusals() const {
    std::size_t count = 0;
    for (const std::string& line : log_.messages())
      count += line.find("🚫 Bridge message '") != std::string::npos;
    return count;
  }
  // Whether a powerful message from the sender got through: something native happened.
  bool honoured(FakePresenter::FakeScreen& page, const char* body, bool mainFrame,
                const std::string& origin) {
    const std::size_t scripts = page.view.scripts.size();
    const std::size_t screens = presenter_->made;
    const std::size_t opened = fake_.urlOpener->opened.size();
    const std::size_t heard = events_->heard.size();
    log_.clear();
    page.view.postFrom(body, mainFrame, origin);
    settle();
    const bool acted = page.view.scripts.size() > scripts ||
                       static_cast<std::size_t>(presenter_->made) > screens ||
                       fake_.urlOpener->opened.size() > opened || events_->heard.size() > heard ||
                       log_.mentions("Event tracked from WebView") ||
                       log_.mentions("Opening adjoe offerwall") || log_.mentions("Mission") ||
                       log_.mentions("Quiz") || log_.mentions("Unknown message type") ||
                       log_.mentions("[missionRefreshed]");
    EXPECT_EQ(refusals(), acted ? 0u : 1u) << body << " from " << origin;
    return acted;
  }

  std::shared_ptr<AskedEvents> events_ = std::make_shared<AskedEvents>();
};

// The table: a trusted origin's main frame gets everything; any other origin, an opaque one and
// every sub frame (even of a trusted origin) get only "close", and each refusal is
// one warning naming the type and the origin.
TEST_F(BridgeAccessTest, OnlyATrustedOriginsMainFrameGetsMoreThanTheHarmlessMessages) {
  const struct {
    const char* sender;
    bool mainFrame;
    const char* origin;
    bool trusted;
  } senders[] = {
      {"the hub", true, "https://hub.example", true},
      {"the address the offerwall opened", true, "https://partner.example", true},
      {"the same origin spelled otherwise", true, "HTTPS://Partner.Example:443", true},
      {"another origin", true, "https://evil.example", false},
      {"the hub on another port", true, "https://hub.example:8443", false},
      {"the hub over http", true, "http://hub.example", false},
      {"an opaque origin", true, "", false},
      {"a reported \"null\"", true, "null", false},
      {"a sub frame of the hub", false, "https://hub.example", false},
      {"a cross-origin sub frame", false, "https://ads.example", false},
  };
  for (const auto& sender : senders) {
    SCOPED_TRACE(sender.sender);
    for (const char* body : kPowerfulMessages) {
      auto root = present("https://partner.example/wall");
      EXPECT_EQ(honoured(screen(0), body, sender.mainFrame, sender.origin), sender.trusted) << body;
      root->closeOfferwall();
      settle();
      ASSERT_TRUE(presenter_->live.empty());
    }
  }
  EXPECT_TRUE(
      log_.contains("[W/KorvaneOfferwallViewController] 🚫 Bridge message 'teleport' "
                    "refused: sent from a sub frame (origin https://ads.example)"));
  auto root = present("https://partner.example/wall");
  log_.clear();
  screen(0).view.postFrom(R"({"type":"getUserInfo"})", true, "");
  screen(0).view.postFrom(R"({"type":"getUserInfo"})", true, "https://evil.example");
  settle();
  EXPECT_EQ(log_.messages(),
            (std::vector<std::string>{
                "[D/KorvaneOfferwallViewController] Received webkit message from korvaneNative",
                "[D/KorvaneOfferwallViewController] 📨 Received message from WebView: "
                "{\"type\":\"getUserInfo\"}",
                "[D/KorvaneOfferwallViewController] ✅ Parsed message - type: 'getUserInfo', "
                "data: {}",
                "[W/KorvaneOfferwallViewController] 🚫 Bridge message 'getUserInfo' refused: "
                "origin (opaque) is not trusted",
                "[D/KorvaneOfferwallViewController] Received webkit message from korvaneNative",
                "[D/KorvaneOfferwallViewController] 📨 Received message from WebView: "
                "{\"type\":\"getUserInfo\"}",
                "[D/KorvaneOfferwallViewController] ✅ Parsed message - type: 'getUserInfo', "
                "data: {}",
                "[W/KorvaneOfferwallViewController] 🚫 Bridge message 'getUserInfo' refused: "
                "origin https://evil.example is not trusted"}));
}

// Any sender may close its own page. "retry" reloads the offerwall's address without the user's
// identification, so it comes only from a trusted main frame or the SDK's own offline page.
TEST_F(BridgeAccessTest, AnySenderMayCloseItsOwnPageRetryComesFromTheWallOrTheOfflinePage) {
  const struct {
    const char* sender;
    bool mainFrame;
    const char* origin;
    bool offlinePageShown;
    bool retries;
  } senders[] = {
      {"the trusted page", true, "https://hub.example", false, true},
      {"the offline page", true, "", true, true},
      {"an opaque page the wall went to", true, "", false, false},
      {"another origin", true, "https://evil.example", false, false},
      {"another origin once the offline page was up", true, "https://evil.example", true, false},
      {"a frame of the trusted page", false, "https://hub.example", false, false},
      {"a frame over the offline page", false, "", true, false},
  };
  for (const auto& sender : senders) {
    SCOPED_TRACE(sender.sender);
    fake_.reachability->connected = !sender.offlinePageShown;
    auto root = present("https://hub.example/");
    fake_.reachability->connected = true;
    testing::FakeWebView& view = screen(0).view;
    ASSERT_EQ(view.htmlLoads.size(), sender.offlinePageShown ? 1u : 0u);
    if (!sender.offlinePageShown) {
      view.delegate.lock()->didFinishNavigation();
      view.delegate.lock()->decidePolicy({"data:text/html,x", true});
    }
    const std::size_t loads = view.loads.size();
    log_.clear();
    view.postFrom(R"({"type":"retry"})", sender.mainFrame, sender.origin);
    settle();
    EXPECT_EQ(view.loads.size(), loads + (sender.retries ? 1u : 0u));
    EXPECT_EQ(refusals(), sender.retries ? 0u : 1u);
    root->closeOfferwall();
    settle();
  }

  KorvaneOfferwallViewController::setOfferwallCallback(callback_);
  KorvaneOfferwallViewController::setHasFiredOnClosed(false);
  auto root = present("https://hub.example/");
  screen(0).view.post(R"({"type":"openWebView","data":{"url":"https://evil.example/landing"}})");
  settle();
  ASSERT_EQ(presenter_->live.size(), 2u);
  log_.clear();
  callback_->heard.clear();
  screen(1).view.postFrom(R"({"type":"close"})", false, "https://ads.example");
  settle();
  EXPECT_EQ(presenter_->live.size(), 1u) << "the inner page closed, the root stays";
  EXPECT_TRUE(callback_->heard.empty());
  screen(0).view.postFrom(R"({"type":"close"})", true, "");
  settle();
  EXPECT_TRUE(presenter_->live.empty());
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});
  EXPECT_EQ(refusals(), 0u);
}

// The rule holds on every road to the system's URL opener: the bridge's browser and app checks,
// links the navigation policy sends out, and the facade's external browser.
TEST_F(BridgeAccessTest, OnlyAllowedSchemesReachTheSystem) {
  auto root = present("https://hub.example/");
  FakePresenter::FakeScreen& page = screen(0);
  page.view.post(R"({"type":"externalOpenBrowser","data":{"url":"file:///etc/passwd"}})");
  page.view.post(R"({"type":"externalOpenBrowser","data":{"url":"kakaotalk://open"}})");
  page.view.post(R"({"type":"checkAppInstalled","data":{"identifier":"smb://server/share"}})");
  auto delegate = page.view.delegate.lock();
  ASSERT_TRUE(delegate);
  EXPECT_EQ(delegate->decidePolicy({"blob:https://hub.example/1", true}), NavigationPolicy::cancel);
  settle();
  EXPECT_TRUE(fake_.urlOpener->opened.empty());
  for (const char* url : {"file:///etc/passwd", "kakaotalk://open", "smb://server/share",
                          "blob:https://hub.example/1"}) {
    EXPECT_TRUE(log_.contains(
        std::string("[W/KorvaneOfferwallViewController] 🚫 Not handing this URL to the system "
                    "(scheme not allowed): ") +
        url))
        << url;
  }
  ASSERT_EQ(page.view.scripts.size(), 1u);
  EXPECT_NE(page.view.scripts[0].find("\"installed\": false"), std::string::npos);

  page.view.post(R"({"type":"checkAppInstalled","data":{"identifier":"kakaotalk://open"}})");
  EXPECT_EQ(
      delegate->decidePolicy({"kakaotalk://chat", true, FrameFacts{true, "https://hub.example"}}),
      NavigationPolicy::cancel);
  EXPECT_EQ(sdk_.openExternalBrowser("file:///tmp/x.html", "p"), false);
  EXPECT_EQ(sdk_.openExternalBrowser("https://example.com/deal", "p"), true);
  settle();
  EXPECT_EQ(fake_.urlOpener->opened,
            (std::vector<std::string>{"https://example.com/deal", "kakaotalk://open",
                                      "kakaotalk://chat"}));
}

// The identification headers go to the offerwall address's origin only: a redirect of that load
// to another origin is stopped and loaded again without them; the same origin, sub frames and
// anything after the load finished pass.
TEST_F(BridgeAccessTest, IdentificationHeadersStayWithTheOfferwallsOrigin) {
  auto root = present("https://hub.example/");
  FakePresenter::FakeScreen& page = screen(0);
  ASSERT_EQ(page.view.loads.size(), 1u);
  ASSERT_FALSE(page.view.loads[0].headers.empty());
  auto delegate = page.view.delegate.lock();
  ASSERT_TRUE(delegate);
  EXPECT_EQ(delegate->decidePolicy({page.view.loads[0].url, true}), NavigationPolicy::allow);
  EXPECT_EQ(delegate->decidePolicy({"https://HUB.example:443/next", true}),
            NavigationPolicy::allow);
  EXPECT_EQ(delegate->decidePolicy({"https://ads.example/frame", false}), NavigationPolicy::allow);
  EXPECT_EQ(delegate->decidePolicy({"https://cdn.example/wall?x=1", true}),
            NavigationPolicy::cancel);
  settle();
  ASSERT_EQ(page.view.loads.size(), 2u);
  EXPECT_EQ(page.view.loads[1].url, "https://cdn.example/wall?x=1");
  EXPECT_TRUE(page.view.loads[1].headers.empty());
  EXPECT_EQ(delegate->decidePolicy({"https://cdn.example/wall?x=1", true}), NavigationPolicy::allow)
      << "the plain load goes through";
  EXPECT_TRUE(
      log_.contains("[I/KorvaneOfferwallViewController] Offerwall address redirected to "
                    "another origin, loading it without the identification headers: "
                    "https://cdn.example/wall?x=1"));

  auto second = present("https://hub.example/");
  auto next = screen(1).view.delegate.lock();
  next->didFinishNavigation();
  EXPECT_EQ(next->decidePolicy({"https://elsewhere.example/", true}), NavigationPolicy::allow)
      << "a later navigation carries no headers";
}

// A reload sends again the headers its page was loaded with, so it is judged as the composed
// load is: where the address now redirects to another origin, the reload goes there without
// them. Two addresses without an origin are not the same origin.
TEST_F(BridgeAccessTest, AReloadTakesTheIdentificationToTheComposedOriginOnly) {
  const struct {
    const char* address;
    const char* redirect;
    const char* reloadedBy;
  } cases[] = {
      {"https://hub.example/", "https://cdn.example/wall", "the refresh control"},
      {"https://hub.example/", "https://cdn.example/wall", "the web content process ending"},
      {"https:hub.example/wall", "https://x@evil.example/", "the refresh control"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.address) + " reloaded by " + c.reloadedBy);
    auto root = present(c.address);
    FakePresenter::FakeScreen& page = screen(0);
    auto delegate = page.view.delegate.lock();
    ASSERT_EQ(page.view.loads.size(), 1u);
    ASSERT_FALSE(page.view.loads[0].headers.empty());
    if (url::origin(c.address)) {
      ASSERT_EQ(delegate->decidePolicy({page.view.loads[0].url, true, {}, true}),
                NavigationPolicy::allow);
      delegate->didFinishNavigation();
      if (std::string_view(c.reloadedBy) == "the refresh control") {
        page.refresh();
      } else {
        delegate->webContentProcessDidTerminate();
      }
      ASSERT_EQ(page.view.reloads, 1);
      EXPECT_EQ(delegate->decidePolicy({page.view.loads[0].url, true, {}, true}),
                NavigationPolicy::allow)
          << "the reload of the composed address";
    }
    EXPECT_EQ(delegate->decidePolicy({c.redirect, true, {}, true}), NavigationPolicy::cancel);
    settle();
    ASSERT_EQ(page.view.loads.size(), 2u);
    EXPECT_EQ(page.view.loads[1].url, c.redirect);
    EXPECT_TRUE(page.view.loads[1].headers.empty());
    root->closeOfferwall();
    settle();
  }
}

// What the SDK writes into a page carries its own check: it runs only in a document of an origin
// the page trusts (the advertising id) or of the sender's origin (replies), as that document's
// location says when the script runs, whatever the web view came to show in between.
TEST_F(BridgeAccessTest, WhatIsWrittenIntoAPageRunsOnlyInTheDocumentsItIsFor) {
  const auto guardOf = [](const std::string& script) {
    return script.substr(0, script.find(") {\n") + 1);
  };
  const std::string trusted =
      "if (location.origin === \"https://hub.example\" || location.origin === "
      "\"https://partner.example\")";
  auto root = present("https://partner.example/wall");
  testing::FakeWebView& view = screen(0).view;
  for (const char* then : {"", "https://ads.example/landing", "https://hub.example/"}) {
    SCOPED_TRACE(then);
    if (*then) view.follow(then);
    view.scripts.clear();
    view.delegate.lock()->didFinishNavigation();
    settle();
    std::vector<std::string> ifa;
    for (const std::string& script : view.scripts)
      if (script.find("KorvaneConfig.ifa") != std::string::npos) ifa.push_back(script);
    ASSERT_EQ(ifa.size(), 1u);
    EXPECT_EQ(guardOf(ifa[0]), trusted);
  }
  // An inner page is the offerwall's too, under the same check.
  view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/sub"}})");
  settle();
  testing::FakeWebView& inner = screen(1).view;
  inner.delegate.lock()->didFinishNavigation();
  settle();
  const auto innerIfa = std::find_if(inner.scripts.begin(), inner.scripts.end(), [](auto& s) {
    return s.find("KorvaneConfig.ifa") != std::string::npos;
  });
  ASSERT_NE(innerIfa, inner.scripts.end());
  EXPECT_EQ(guardOf(*innerIfa), trusted);
  const char* const asks[] = {
      R"({"type":"getUserInfo"})",
      R"({"type":"dataRequest","data":{"requestId":"req_1","requestType":"points"}})",
      R"({"type":"checkAppInstalled","data":{"identifier":"someapp://x"}})",
  };
  for (const char* ask : asks) {
    view.scripts.clear();
    view.postFrom(ask, true, "HTTPS://Partner.Example:443");
    settle();
    ASSERT_EQ(view.scripts.size(), 1u) << ask;
    EXPECT_EQ(guardOf(view.scripts[0]), "if (location.origin === \"https://partner.example\")")
        << ask;
  }
}

// A server redirect of the offerwall's own load keeps the bridge when it stays with the same
// site: http upgraded to https, a leading "www." added or dropped, default ports only. Anything
// else stays untrusted, with one warning naming the origin and how an app trusts it.
TEST_F(BridgeAccessTest, RedirectsOfTheOfferwallsOwnLoadToTheSameSiteKeepTheBridge) {
  const struct {
    const char* address;
    std::vector<const char*> hops;  // the server's redirects, in order
    bool trusted;                   // the last hop's origin
  } cases[] = {
      {"http://partner.example/wall", {"https://partner.example/wall"}, true},
      {"http://partner.example:80/wall", {"https://partner.example:443/wall"}, true},
      {"https://partner.example/wall", {"https://www.partner.example/wall"}, true},
      {"https://www.partner.example/wall", {"https://partner.example/wall"}, true},
      {"http://partner.example/wall", {"https://www.partner.example/"}, true},
      {"http://partner.example/wall",
       {"https://partner.example/wall", "https://www.partner.example/wall"},
       true},
      {"http://www.partner.example/wall", {"http://partner.example/wall"}, true},
      {"https://partner.example/wall", {"http://partner.example/wall"}, false},
      {"https://partner.example/wall", {"https://clicks.example/r"}, false},
      {"https://partner.example/wall", {"https://api.partner.example/"}, false},
      {"https://partner.example/wall", {"https://www.www.partner.example/"}, false},
      {"https://partner.example/wall", {"https://wwwpartner.example/"}, false},
      {"https://www.partner.example/wall", {"https://www.example/"}, false},
      {"https://partner.example/wall", {"https://partner.example:8443/"}, false},
      {"http://partner.example:8080/wall", {"https://partner.example:8080/"}, false},
      {"http://partner.example:8080/wall", {"https://partner.example/"}, false},
      {"https://partner.example/wall",
       {"https://clicks.example/r", "https://www.clicks.example/r"},
       false},
  };
  for (const auto& c : cases) {
    const std::string target = c.hops.back();
    const std::string origin = *url::origin(target);
    SCOPED_TRACE(std::string(c.address) + " -> " + target);
    auto root = present(c.address);
    testing::FakeWebView& view = screen(0).view;
    log_.clear();
    for (const char* hop : c.hops) {
      view.follow(hop);
      settle();
    }
    ASSERT_EQ(url::origin(*view.currentUrl()), origin);
    EXPECT_EQ(log_.contains("[W/KorvaneOfferwallViewController] 🚫 Offerwall address redirected "
                            "to origin " +
                            origin +
                            ", which is not trusted: its pages get only \"close\" "
                            "from the bridge. An app that trusts it adds it with "
                            "KorvaneSdkConfig::Builder::addTrustedOrigin(\"" +
                            origin + "\") (-addTrustedOrigin: in Objective-C)"),
              !c.trusted);
    view.delegate.lock()->didFinishNavigation();
    EXPECT_EQ(honoured(screen(0), R"({"type":"getUserInfo"})", true, origin), c.trusted);
    EXPECT_TRUE(honoured(screen(0), R"({"type":"getUserInfo"})", true, *url::origin(c.address)))
        << "the address it left stays trusted";
    root->closeOfferwall();
    settle();
  }

  // Only the offerwall's own load: a page it opens, redirected the same way, gains nothing.
  auto root = present("https://partner.example/wall");
  screen(0).view.delegate.lock()->didFinishNavigation();
  screen(0).view.post(R"({"type":"openWebView","data":{"url":"http://shop.partner.example/"}})");
  settle();
  ASSERT_EQ(presenter_->live.size(), 2u);
  screen(1).view.follow("https://shop.partner.example/");
  settle();
  EXPECT_FALSE(
      honoured(screen(1), R"({"type":"getUserInfo"})", true, "https://shop.partner.example"));
}

// Inner pages, replacements and the embedded view's stack trust what their offerwall trusts:
// a page-given address brings no trust of its own.
TEST_F(BridgeAccessTest, PagesAnOfferwallOpensInheritItsTrust) {
  auto root = present("https://partner.example/wall");
  FakePresenter::FakeScreen& wall = screen(0);
  wall.view.post(R"({"type":"openWebView","data":{"url":"https://evil.example/landing"}})");
  settle();
  ASSERT_EQ(presenter_->live.size(), 2u);
  EXPECT_FALSE(honoured(screen(1), R"({"type":"getUserInfo"})", true, "https://evil.example"));
  EXPECT_TRUE(honoured(screen(1), R"({"type":"getUserInfo"})", true, "https://partner.example"))
      << "the opener's origin is still trusted in the inner page";
  screen(1).view.postFrom(
      R"({"type":"closeOpenWebView","data":{"url":"https://evil.example/next"}})", true,
      "https://partner.example");
  settle();
  ASSERT_EQ(presenter_->live.size(), 3u);
  EXPECT_FALSE(honoured(screen(2), R"({"type":"getUserInfo"})", true, "https://evil.example"));
  EXPECT_TRUE(honoured(screen(2), R"({"type":"getUserInfo"})", true, "https://hub.example"));

  auto view = KorvaneOfferwallView::create();
  view->setEventCallback(events_);
  view->loadOfferwall("https://partner.example/embedded", "u1", "key", "home");
  settle();
  FakePresenter::FakeScreen& first = *presenter_->live.back();
  first.view.post(R"({"type":"openWebView","data":{"url":"https://evil.example/pushed"}})");
  settle();
  ASSERT_EQ(view->stackSize(), 2u);
  FakePresenter::FakeScreen& pushed = *presenter_->live.back();
  EXPECT_FALSE(honoured(pushed, R"({"type":"getUserInfo"})", true, "https://evil.example"));
  EXPECT_TRUE(honoured(pushed, R"({"type":"getUserInfo"})", true, "https://partner.example"));
}

// adjoe's PlaytimeWeb is a third party's offerwall: opened like any other, it gets only the
// harmless messages unless the app trusts it.
class AdjoeTrustTest : public BridgeAccessTest {
 protected:
  AppData appData() const override {
    AppData app = SignedInSdk::appData();
    app.adjoeEnabled = true;
    app.adjoeOfferwallUrl = "https://playtime.adjoe.example/wall";
    return app;
  }
};

TEST_F(AdjoeTrustTest, AdjoesPlaytimeWebIsNotTrustedByBeingOpened) {
  sdk_.openAdjoeOfferwall(nullptr, "p", nullptr);
  settle();
  ASSERT_EQ(presenter_->live.size(), 1u);
  ASSERT_EQ(screen(0).view.loads.at(0).url.rfind("https://playtime.adjoe.example/wall?", 0), 0u);
  EXPECT_FALSE(
      honoured(screen(0), R"({"type":"getUserInfo"})", true, "https://playtime.adjoe.example"));
  EXPECT_TRUE(honoured(screen(0), R"({"type":"getUserInfo"})", true, "https://hub.example"));
}

class AppTrustedOriginTest : public BridgeAccessTest {
 protected:
  KorvaneSdkConfig config() const override {
    return KorvaneSdkConfig::Builder("key", "secret")
        .addTrustedOrigin("https://playtime.adjoe.example")
        .addTrustedOrigin("https://offers.example.com")
        .build();
  }
  AppData appData() const override {
    AppData app = SignedInSdk::appData();
    app.adjoeOfferwallUrl = "https://playtime.adjoe.example/wall";
    return app;
  }
};

TEST_F(AppTrustedOriginTest, OriginsTheAppAddsAreTrustedEverywhere) {
  auto root = present("https://playtime.adjoe.example/wall");
  EXPECT_TRUE(
      honoured(screen(0), R"({"type":"getUserInfo"})", true, "https://playtime.adjoe.example"));
  EXPECT_TRUE(honoured(screen(0), R"({"type":"getUserInfo"})", true, "https://offers.example.com"));
  EXPECT_FALSE(
      honoured(screen(0), R"({"type":"getUserInfo"})", false, "https://offers.example.com"))
      << "sub frames stay limited";
}

class PolicyOffTest : public BridgeAccessTest {
 protected:
  KorvaneSdkConfig config() const override {
    return KorvaneSdkConfig::Builder("key", "secret").setBridgeOriginPolicyEnabled(false).build();
  }
};

TEST_F(PolicyOffTest, WithThePolicyOffEveryFrameGetsEveryMessage) {
  for (const char* body : kPowerfulMessages) {
    auto root = present("https://hub.example/");
    EXPECT_TRUE(honoured(screen(0), body, false, "")) << body;
    root->closeOfferwall();
    settle();
  }
  auto root = present("https://hub.example/");
  testing::FakeWebView& view = screen(0).view;
  view.postFrom(R"({"type":"getUserInfo"})", false, "https://ads.example");
  view.delegate.lock()->didFinishNavigation();
  settle();
  for (const std::string& script : view.scripts)
    EXPECT_EQ(script.find("location.origin"), std::string::npos) << "no document is singled out";
}

}  // namespace
}  // namespace korvane
