// The offerwall container's rules over fake web views and screens.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <thread>

#include "fake_platform.h"
#include "fake_screens.h"
#include "korvane/offerwall/offerwall_view.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/sdk/korvane_sdk.h"
#include "log_capture.h"
#include "manual_executor.h"
#include "offerwall/bridge_dispatcher.h"
#include "offerwall/bridge_scripts.h"
#include "offerwall/navigation_policy.h"
#include "offerwall/offerwall_url.h"
#include "script_shape.h"
#include "scripted_api.h"
#include "sdk/sdk_environment.h"
#include "signed_in_sdk.h"

namespace korvane {
namespace {

using testing::FakePresenter;
using testing::RecordingCallback;

TEST(OfferwallUrl, ItemsInOrderKeepingTheBaseQueryAndQuizItemsOnlyForTheController) {
  OfferwallDevice device{"DEV", "17.4", "iPhone14,2", 1170, 2532, "SESS", 1763716500123};
  const std::string tail =
      "device_id=DEV&platform=iOS&os_version=17.4&device_model=iPhone14,2&"
      "device_manufacturer=Apple&screen_width=1170&screen_height=2532&sdk_version=1.0.52-rc.2&"
      "session_id=SESS&timestamp=1763716500123";
  struct Case {
    const char* name;
    OfferwallPage page;
    bool controller;
    std::optional<std::string> expected;
  };
  OfferwallPage full;
  full.baseUrl = "https://hub.example/wall?tab=offers#top";
  full.userId = "u 1";
  full.appKey = "key";
  full.placementId = "home";
  OfferwallPage quiz = full;
  quiz.baseUrl = "https://hub.example/quiz";
  quiz.contextType = "quiz";
  quiz.quizId = "q7";
  quiz.quizTitle = "Daily quiz";
  OfferwallPage bare;
  bare.baseUrl = "https://hub.example/";
  bare.placementId = "";
  bare.advertisingId = "";
  OfferwallPage broken;
  broken.baseUrl = "not a url";
  const std::vector<Case> cases = {
      {"kept query and fragment", full, true,
       "https://hub.example/wall?tab=offers&user_id=u%201&app_key=key&placement_id=home&ifa="
       "00000000-0000-0000-0000-000000000000&" +
           tail + "#top"},
      {"quiz in the controller", quiz, true,
       "https://hub.example/quiz?user_id=u%201&app_key=key&placement_id=home&ifa="
       "00000000-0000-0000-0000-000000000000&quiz_id=q7&quiz_title=Daily%20quiz&context=quiz&" +
           tail},
      {"quiz in the embedded view", quiz, false,
       "https://hub.example/quiz?user_id=u%201&app_key=key&placement_id=home&ifa="
       "00000000-0000-0000-0000-000000000000&" +
           tail},
      {"nothing optional", bare, true, "https://hub.example/?" + tail},
      {"not a url", broken, true, std::nullopt},
  };
  testing::LogCapture log;
  for (const Case& c : cases)
    EXPECT_EQ(composeOfferwallUrl(c.page, device, c.controller), c.expected) << c.name;
  EXPECT_TRUE(
      log.contains("[E/KorvaneOfferwallViewController] Failed to parse offerwall base URL"));

  const WebRequest withAll = offerwallRequest("https://x/", full);
  EXPECT_EQ(withAll.headers,
            (HttpHeaders{{"x-korvane-app-key", "key"},
                         {"x-korvane-user-id", "u 1"},
                         {"x-korvane-advertising-id", "00000000-0000-0000-0000-000000000000"}}));
  EXPECT_EQ(withAll.timeout, std::chrono::seconds(60));
  EXPECT_TRUE(offerwallRequest("https://x/", bare).headers.empty());
}

TEST(NavigationPolicy, DecisionsInTheirOrderAndFailureResponses) {
  const std::pair<const char*, NavigationDecision> cases[] = {
      {"korvane://close", NavigationDecision::closeOfferwall},
      {"https://hub.example/?next=korvane://close", NavigationDecision::closeOfferwall},
      {"ITMS-APPS://apps.apple.com/app/id1", NavigationDecision::openAppStore},
      {"https://apps.apple.com/kr/app/id1", NavigationDecision::openUniversalLink},
      {"http://apps.apple.com/kr/app/id1", NavigationDecision::allow},
      {"https://APPS.apple.com:443/kr/app/id1", NavigationDecision::openUniversalLink},
      {"https://hub.example/go?to=https://apps.apple.com/app/id1", NavigationDecision::allow},
      {"https://apps.apple.com.evil.example/app/id1", NavigationDecision::allow},
      {"https://hub.example/offers", NavigationDecision::allow},
      {"about:blank", NavigationDecision::allow},
      {"data:text/html,hi", NavigationDecision::allow},
      {"file:///tmp/x.html", NavigationDecision::allow},
      {"kakaotalk://open", NavigationDecision::openWithSystem},
      {"mailto:someone@example.com", NavigationDecision::openWithSystem},
  };
  for (const auto& [url, decision] : cases) EXPECT_EQ(decideNavigation(url), decision) << url;

  const std::pair<long, LoadFailureResponse> failures[] = {
      {-999, LoadFailureResponse::ignore},           {-1009, LoadFailureResponse::showOfflinePage},
      {-1005, LoadFailureResponse::showOfflinePage}, {-1001, LoadFailureResponse::showOfflinePage},
      {-1004, LoadFailureResponse::reportError},     {-1, LoadFailureResponse::reportError},
  };
  for (const auto& [code, response] : failures)
    EXPECT_EQ(respondToLoadFailure(code), response) << code;
}

TEST(BridgeMessage, OnlyStringBodiesWithATextTypeFromTheBridgesNames) {
  struct Case {
    ScriptMessage message;
    std::optional<std::string> type;
    JsonValue data;
  };
  const std::vector<Case> cases = {
      {{"korvaneNative", R"({"type":"close"})", true}, "close", JsonValue::object()},
      {{"KorVane", R"({"type":"openWebView","data":{"url":"u"}})", true},
       "openWebView",
       {{"url", "u"}}},
      {{"KorvaneBridge", R"({"type":"x","data":[1]})", true}, "x", JsonValue::object()},
      {{"other", R"({"type":"close"})", true}, std::nullopt, {}},
      {{"korvaneNative", R"({"type":"close"})", false}, std::nullopt, {}},
      {{"korvaneNative", "not json", true}, std::nullopt, {}},
      {{"korvaneNative", R"({"data":{}})", true}, std::nullopt, {}},
      {{"korvaneNative", R"({"type":7})", true}, std::nullopt, {}},
      {{"korvaneNative", R"(["close"])", true}, std::nullopt, {}},
      {{"korvaneNative", "", true}, std::nullopt, {}},
  };
  testing::LogCapture log;
  for (const Case& c : cases) {
    const auto parsed = parseBridgeMessage(c.message, BridgeHostKind::controller, "T");
    ASSERT_EQ(parsed.has_value(), c.type.has_value()) << c.message.body;
    if (!parsed) continue;
    EXPECT_EQ(parsed->type, *c.type);
    EXPECT_EQ(parsed->data, c.data);
  }
  EXPECT_TRUE(log.contains("[E/T] ❌ Failed to parse JS message: not json"));
}

TEST(BridgeScripts, RepliesAreTheDocumentedTexts) {
  EXPECT_EQ(appInstalledResultJson(true, "app://x"),
            "{\n    \"installed\": true,\n    \"identifier\": \"app://x\"\n}");
  EXPECT_EQ(advertisingIdScript("ABC"),
            "if(window.KorvaneConfig) { window.KorvaneConfig.ifa = 'ABC'; }");
  EXPECT_EQ(
      userInfoReplyScript(JsonValue{{"userId", "u"}}),
      "if (window.onUserInfoReceived) {\n    window.onUserInfoReceived({\"userId\":\"u\"});\n}");
  EXPECT_NE(dataResponseScript("req_1_a", JsonValue{{"k", 1}})
                .value_or("")
                .find("var callback = window._korvane_callback_req_1_a;"),
            std::string::npos);
  EXPECT_NE(offlinePageHtml().find("JSON.stringify({ type: 'close' })"), std::string::npos);
}

// The bridge kit's mock host injects korvane_bridge.js as it reads it, without its final line
// break; the SDK injects what the build compiled in from the same file, and the two must agree.
TEST(BridgeScripts, TheInjectedBridgeIsItsSourceFileAsTheMockHostReadsIt) {
  std::ifstream file(KORVANE_BRIDGE_SCRIPT_FILE, std::ios::binary);
  ASSERT_TRUE(file) << KORVANE_BRIDGE_SCRIPT_FILE;
  std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (text.ends_with("\r\n"))
    text.resize(text.size() - 2);
  else if (text.ends_with('\n'))
    text.pop_back();
  EXPECT_EQ(korvaneBridgeScript(), text);
  EXPECT_TRUE(korvaneBridgeScript().starts_with("window.KorvaneBridge = {"));
}

// The shape check reads scripts the way a JavaScript engine does, so the injections the replies
// once let through are caught.
TEST(BridgeScripts, TheShapeCheckCatchesInjections) {
  const struct {
    const char* script;
    const char* pattern;
    testing::ScriptHoles holes;
  } injected[] = {
      {"if(window.KorvaneConfig) { window.KorvaneConfig.ifa = ''; alert(1); ''; }",
       testing::kAdvertisingIdPattern,
       {"", "'; alert(1); '", {}}},
      {"if(window.KorvaneConfig) { window.KorvaneConfig.ifa = 'a'; }//'; }",
       testing::kAdvertisingIdPattern,
       {"", "a", {}}},
      {"if (window.onUserInfoReceived) { window.onUserInfoReceived({\"a\":1}, alert(1)); }",
       testing::kUserInfoReplyPattern,
       {"", "", {{"a", 1}}}},
      {"if (window.onUserInfoReceived) { window.onUserInfoReceived(`${alert(1)}`); }",
       testing::kUserInfoReplyPattern,
       {"", "", "x"}},
      {"if (window.onUserInfoReceived) { window.onUserInfoReceived('a\xE2\x80\xA8'); }",
       testing::kUserInfoReplyPattern,
       {"", "", "a\xE2\x80\xA8"}},
  };
  for (const auto& c : injected)
    EXPECT_FALSE(testing::matchesScriptPattern(c.script, c.pattern, c.holes)) << c.script;
  EXPECT_TRUE(testing::matchesScriptPattern(
      "if (window.onUserInfoReceived) {\n    "
      "window.onUserInfoReceived({\"a\":[1,-2.5e3,\"\\u00e9\"]});\n}",
      testing::kUserInfoReplyPattern, {"", "", {{"a", {1, -2500.0, "\xC3\xA9"}}}}));
}

// Whatever a page sends, a reply is the intended call and nothing else: names that are not
// plain identifiers get no script, everything else stays inside string literals.
TEST(BridgeScripts, HostilePageTextNeverLeavesItsLiteral) {
  const std::string names[] = {"onResult",      "_cb$1", "x;alert(1)//", "a.b",      "a b",
                               "1abc",          "",      "\\u0061",      "\xD0\xB0", "x'y",
                               "x\xE2\x80\xA8y"};
  const std::string identifiers[] = {"app://x",
                                     "\"');alert(1);//",
                                     "</script><script>alert(1)</script>",
                                     "line\nbreak\r\t",
                                     "sep\xE2\x80\xA8par\xE2\x80\xA9",
                                     "bad\xFF\xFEutf8",
                                     std::string("nul\0x", 5),
                                     "\\'\\\"`${x}`"};
  for (const std::string& name : names) {
    for (const std::string& identifier : identifiers) {
      for (const bool installed : {true, false}) {
        const std::optional<std::string> script =
            appInstalledReplyScript(name, installed, identifier);
        ASSERT_EQ(script.has_value(), isPlainIdentifier(name)) << name;
        if (!script) continue;
        const JsonValue result = JsonValue::parse(appInstalledResultJson(installed, identifier));
        std::string why;
        EXPECT_TRUE(testing::matchesScriptPattern(*script, testing::kAppInstalledReplyPattern,
                                                  {name, "", result}, &why))
            << name << " / " << identifier << ": " << why;
      }
    }
  }
  EXPECT_EQ(JsonValue::parse(appInstalledResultJson(false, "a\xFF"))["identifier"], "a\xEF\xBF\xBD")
      << "bytes that are not UTF-8 are replaced, not thrown over";
  EXPECT_EQ(JsonValue::parse(appInstalledResultJson(true, "\"');x"))["identifier"], "\"');x");

  const JsonValue response{{"text", "'\"</script>\xE2\x80\xA8\xFF"}, {"n", -1.5}};
  const JsonValue delivered{{"text", "'\"</script>\xE2\x80\xA8\xEF\xBF\xBD"}, {"n", -1.5}};
  for (const char* id : {"req_1700000000000_k3j5x9q2a", "$", "9", "a-b", "a;b", "", "a b", "a.b"}) {
    const std::optional<std::string> script = dataResponseScript(id, response);
    ASSERT_EQ(script.has_value(), isIdentifierSafe(id)) << id;
    if (!script) continue;
    std::string why;
    EXPECT_TRUE(testing::matchesScriptPattern(*script, testing::kDataResponsePattern,
                                              {id, "", delivered}, &why))
        << id << ": " << why;
  }

  std::string why;
  EXPECT_TRUE(testing::matchesScriptPattern(
      userInfoReplyScript(
          {{"userId", "u\xE2\x80\xA9\xC3"}, {"gender", "\");alert(1);(\""}, {"birthYear", 1990}}),
      testing::kUserInfoReplyPattern,
      {"",
       "",
       {{"userId", "u\xE2\x80\xA9\xEF\xBF\xBD"},
        {"gender", "\");alert(1);(\""},
        {"birthYear", 1990}}},
      &why))
      << why;
  for (const std::string id : {"6D92078A-8246-4BA4-AE5B-76104861E7DC", "'; alert(1); '",
                               "back\\slash\n", "\xE2\x80\xA8"}) {
    EXPECT_TRUE(testing::matchesScriptPattern(advertisingIdScript(id),
                                              testing::kAdvertisingIdPattern, {"", id, {}}, &why))
        << id << ": " << why;
  }
}

// The container over a fake platform with an initialised SDK and a logged-in user.
class OfferwallTest : public testing::SignedInSdk {
 protected:
  std::shared_ptr<KorvaneOfferwallViewController> present(const std::string& url) {
    auto controller = KorvaneOfferwallViewController::create();
    controller->baseUrl = url;
    controller->present();
    settle();
    return controller;
  }
};

TEST_F(OfferwallTest, TheRootReportsOnClosedOnceAndInnerPagesNever) {
  auto root = present("https://hub.example/");
  EXPECT_FALSE(root->present()) << "a page shown already is not presented again";
  ASSERT_EQ(presenter_->made, 1);
  ASSERT_EQ(screen(0).view.loads.size(), 1u);
  EXPECT_EQ(screen(0).view.handlers, std::vector<std::string>{"korvaneNative"});
  EXPECT_EQ(screen(0).view.userScripts, std::vector<std::string>{postMessagePolyfillScript()});

  screen(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/sub"}})");
  settle();
  ASSERT_EQ(presenter_->live.size(), 2u);
  EXPECT_EQ(screen(1).view.loads.at(0).url, "https://hub.example/sub");
  EXPECT_TRUE(screen(1).view.loads.at(0).headers.empty());
  screen(1).view.post(R"({"type":"close"})");
  settle();
  EXPECT_EQ(presenter_->live.size(), 1u);
  EXPECT_TRUE(callback_->heard.empty());

  screen(0).view.post(R"({"type":"close"})");
  settle();
  root->closeOfferwall();
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});
  EXPECT_TRUE(log_.contains(
      "[D/KorvaneOfferwallViewController] onClosed already fired, ignoring duplicate"));
  EXPECT_FALSE(KorvaneOfferwallViewController::offerwallCallback()) << "cleared as the root left";

  // A new opening with a callback starts a new once-only rule.
  auto again = std::make_shared<RecordingCallback>();
  KorvaneOfferwallViewController::setOfferwallCallback(again);
  KorvaneOfferwallViewController::setHasFiredOnClosed(false);
  auto second = present("https://hub.example/");
  second->closeOfferwall();
  second->closeOfferwall();
  EXPECT_EQ(again->heard, std::vector<std::string>{"closed"});
}

// However the first page closes, the pages over it leave first, last opened first: a platform
// whose dismissal does not take them along (GTK's windows) keeps none on screen.
TEST_F(OfferwallTest, ClosingTheFirstPageDismissesInnerPagesLastFirst) {
  using Closing = std::function<void(FakePresenter::FakeScreen&)>;
  const std::pair<const char*, Closing> closings[] = {
      {"its close button", [](auto& root) { root.close(); }},
      {"its page posts close", [](auto& root) { root.view.post(R"({"type":"close"})"); }},
      {"its page loads korvane://close",
       [](auto& root) { root.view.delegate.lock()->decidePolicy({"korvane://close", true}); }},
  };
  for (const auto& [name, close] : closings) {
    SCOPED_TRACE(name);
    KorvaneOfferwallViewController::setOfferwallCallback(callback_);
    KorvaneOfferwallViewController::setHasFiredOnClosed(false);
    callback_->heard.clear();
    presenter_->made = 0;
    auto root = present("https://hub.example/");
    screen(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/a"}})");
    settle();
    screen(1).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/b"}})");
    settle();
    ASSERT_EQ(KorvaneOfferwallViewController::activeSubControllers().size(), 2u);
    presenter_->journal.clear();
    close(screen(0));
    settle();
    EXPECT_EQ(presenter_->journal,
              (std::vector<std::string>{"screen2 dismissed", "screen2 destroyed",
                                        "screen1 dismissed", "screen1 destroyed",
                                        "screen0 dismissed animated", "screen0 destroyed"}));
    EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});
    EXPECT_TRUE(KorvaneOfferwallViewController::activeSubControllers().empty());
  }
  sdk_.flushEvents();
  settle();
  std::size_t closed = 0;
  for (const EventBatch& batch : api_->batches())
    for (const TrackEventRequest& e : batch.events) closed += e.name == "offerwall_closed";
  EXPECT_EQ(closed, 1u) << "the close button records the closing";
}

TEST_F(OfferwallTest, ClosingAReplacementClosesThePageItReplaced) {
  auto root = present("https://hub.example/");
  screen(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/a"}})");
  settle();
  screen(1).view.post(R"({"type":"closeOpenWebView","data":{"url":"https://hub.example/b"}})");
  screen(1).view.post(R"({"type":"closeOpenWebView","data":{"url":"https://hub.example/c"}})");
  settle();
  ASSERT_EQ(presenter_->live.size(), 3u) << "one replacement slides in at a time";
  ASSERT_TRUE(presenter_->pendingSlide);
  presenter_->pendingSlide();
  EXPECT_EQ(screen(2).view.loads.at(0).url, "https://hub.example/b");
  presenter_->journal.clear();
  screen(2).view.post(R"({"type":"close"})");
  settle();
  EXPECT_EQ(presenter_->journal,
            (std::vector<std::string>{"screen1 dismissed animated", "screen2 dismissed",
                                      "screen2 destroyed", "screen1 destroyed"}));
  EXPECT_EQ(presenter_->live.size(), 1u) << "the root stays";
  EXPECT_TRUE(callback_->heard.empty());
}

// However an opening whose first page replaced itself ends, onClosed is heard exactly once.
TEST_F(OfferwallTest, AReplacedFirstPageReportsOnClosedOnceWhicheverWayItEnds) {
  using Ending = std::function<void(FakePresenter::FakeScreen & root,
                                    FakePresenter::FakeScreen & replacement)>;
  const std::pair<const char*, Ending> endings[] = {
      {"the replacement's close message",
       [](auto&, auto& replacement) { replacement.view.post(R"({"type":"close"})"); }},
      {"the replacement's close button", [](auto&, auto& replacement) { replacement.close(); }},
      {"the replacement navigating to korvane://close",
       [](auto&, auto& replacement) {
         replacement.view.delegate.lock()->decidePolicy({"korvane://close", true});
       }},
      {"the first page's close button", [](auto& root, auto&) { root.close(); }},
      {"the window closed",
       [](auto& root, auto&) {
         std::function<void()> handler = root.dismissed;
         handler();
       }},
  };
  for (const auto& [name, end] : endings) {
    auto heard = std::make_shared<RecordingCallback>();
    KorvaneOfferwallViewController::setOfferwallCallback(heard);
    KorvaneOfferwallViewController::setHasFiredOnClosed(false);
    auto root = present("https://hub.example/");
    screen(0).view.post(R"({"type":"closeOpenWebView","data":{"url":"https://hub.example/b"}})");
    settle();
    ASSERT_EQ(presenter_->live.size(), 2u) << name;
    presenter_->pendingSlide();
    end(screen(0), screen(1));
    settle();
    EXPECT_EQ(heard->heard, std::vector<std::string>{"closed"}) << name;
    EXPECT_TRUE(presenter_->live.empty()) << name;
  }
}

// An opening started while the last one's dismissal still runs keeps its callback, and inner
// pages report their load failures like the first page.
TEST_F(OfferwallTest, CallbacksBelongToTheirOpening) {
  auto first = present("https://hub.example/");
  presenter_->holdDismissals = true;
  first->closeOfferwall();
  ASSERT_EQ(presenter_->heldDismissals.size(), 1u) << "the first opening is still fading out";
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});

  auto next = std::make_shared<RecordingCallback>();
  KorvaneOfferwallViewController::setHasFiredOnClosed(false);
  KorvaneOfferwallViewController::setOfferwallCallback(next);
  auto second = present("https://hub.example/");
  presenter_->holdDismissals = false;
  auto ended = std::move(presenter_->heldDismissals);
  for (auto& done : ended) done();
  ASSERT_EQ(KorvaneOfferwallViewController::offerwallCallback(), next);

  screen(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/sub"}})");
  settle();
  ASSERT_EQ(presenter_->live.size(), 2u);
  screen(1).view.delegate.lock()->didFailNavigation(
      Error{Error::kUrlLoadingDomain, -1004, "Could not connect"}, false);
  second->closeOfferwall();
  EXPECT_EQ(next->heard, (std::vector<std::string>{
                             "error:Failed to load offerwall: Could not connect", "closed"}));
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});

  // A callback set after the page is shown belongs to the opening shown.
  auto third = present("https://hub.example/");
  auto late = std::make_shared<RecordingCallback>();
  KorvaneOfferwallViewController::setHasFiredOnClosed(false);
  KorvaneOfferwallViewController::setOfferwallCallback(late);
  third->closeOfferwall();
  EXPECT_EQ(late->heard, std::vector<std::string>{"closed"});
}

// What platforms whose pages are their own objects (iOS view controllers and views) rely on: a
// page the app presented itself, a page the app took away itself, and a stack whose first page
// the platform makes inside the app's view.
TEST_F(OfferwallTest, PagesThePlatformShowsOrTakesAwayItself) {
  auto hosted = KorvaneOfferwallViewController::create();
  hosted->baseUrl = "https://hub.example/";
  hosted->showNavigationBar = true;
  ScreenOptions asked;
  hosted->attachScreen([&](const ScreenOptions& options) {
    asked = options;
    return std::make_unique<FakePresenter::FakeScreen>(*presenter_, "hosted");
  });
  settle();
  EXPECT_EQ(asked.backTitle, "< 뒤로");
  EXPECT_FALSE(asked.inNavigationContainer);
  EXPECT_EQ(asked.controller.lock(), hosted);
  ASSERT_EQ(presenter_->made, 0) << "nothing presented: the platform showed it";
  ASSERT_EQ(screen(0).view.loads.size(), 1u);
  EXPECT_NE(screen(0).view.loads[0].url.find("&device_id="), std::string::npos) << "composed";

  screen(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/sub"}})");
  settle();
  ASSERT_EQ(KorvaneOfferwallViewController::activeSubControllers().size(), 1u);
  auto takeAway = [](FakePresenter::FakeScreen& page) {
    std::function<void()> handler = page.dismissed;  // the screen goes while the handler runs
    handler();
  };
  takeAway(screen(1));  // the app took the inner page away
  EXPECT_TRUE(KorvaneOfferwallViewController::activeSubControllers().empty());
  EXPECT_TRUE(callback_->heard.empty()) << "inner pages never report onClosed";

  takeAway(screen(0));  // and then the offerwall itself
  hosted->closeOfferwall();
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});
  EXPECT_FALSE(KorvaneOfferwallViewController::offerwallCallback());
  EXPECT_TRUE(presenter_->live.empty());
  sdk_.flushEvents();
  settle();
  ASSERT_FALSE(api_->batches().empty());
  EXPECT_EQ(api_->batches().back().events.back().name, "offerwall_closed");

  const std::pair<const char*, const char*> titles[] = {
      {"https://www.partner.example/wall", "partner.example"},
      {"https://user@www.partner.example:8443/", "partner.example"},
      {"https://[2001:db8::1]:8443/wall", "2001:db8::1"},
  };
  for (const auto& [address, title] : titles) {
    auto native = KorvaneOfferwallViewController::create();
    native->baseUrl = address;
    native->useNativeNavigationBar = true;
    native->present();
    EXPECT_EQ(presenter_->lastOptions.title, title);
    EXPECT_TRUE(presenter_->lastOptions.inNavigationContainer);
    EXPECT_TRUE(presenter_->lastOptions.backTitle.empty());
  }

  int firstPages = 0;
  auto view = KorvaneOfferwallView::create([&]() -> std::unique_ptr<Screen> {
    ++firstPages;
    return std::make_unique<FakePresenter::FakeScreen>(*presenter_, "in the app's view");
  });
  auto viewCallback = std::make_shared<RecordingCallback>();
  view->setCallback(viewCallback);
  view->loadOfferwall("https://hub.example/", "u1", "key", "home");
  settle();
  EXPECT_EQ(firstPages, 1);
  EXPECT_EQ(presenter_->made, 4) << "only the inner page and the native-bar controllers";
  log_.clear();
  presenter_->live.back()->view.post(R"({"type":"quizCompleted","data":{}})");
  settle();
  EXPECT_TRUE(log_.contains("[D/KorvaneOfferwallView] Quiz completed"));
  EXPECT_FALSE(log_.mentions("[iOS SDK - WebView]")) << "the controller's lines are its own";
  auto gone = KorvaneOfferwallView::create([] { return std::unique_ptr<Screen>(); });
  gone->setCallback(viewCallback);
  gone->loadOfferwall("https://hub.example/", "u1", "key", "home");
  EXPECT_EQ(
      viewCallback->heard,
      (std::vector<std::string>{"opened", "error:Failed to load offerwall: the view is gone"}));
}

// A layout framework asks the embedded view for its placement at every update: the view loads a
// placement once, reports nothing while it is being asked, and tries again after a refusal once
// the SDK can load it.
TEST_F(OfferwallTest, EmbeddedPlacementLoadsOnceAndReportsLater) {
  auto view = KorvaneOfferwallView::create([&]() -> std::unique_ptr<Screen> {
    return std::make_unique<FakePresenter::FakeScreen>(*presenter_, "in the app's view");
  });
  auto heard = std::make_shared<RecordingCallback>();
  view->setCallback(heard);
  const auto placementCalls = [&] {
    std::vector<std::string> calls;
    for (const std::string& call : api_->contentCalls())
      if (call.rfind("getPlacementUrl", 0) == 0) calls.push_back(call);
    return calls;
  };
  api_->placementUrlAnswer = PlacementUrlResponse{true, "https://hub.example/", std::nullopt};
  const std::string refusal = "error:SDK not initialized or user not logged in";

  sdk_.logout();
  view->loadOfferwall("home");
  EXPECT_TRUE(heard->heard.empty()) << "nothing is reported while the view is being asked";
  settle();
  EXPECT_EQ(heard->heard, std::vector<std::string>{refusal});
  view->loadOfferwall("home");
  settle();
  EXPECT_EQ(heard->heard, std::vector<std::string>{refusal}) << "a refusal is told once";

  sdk_.login(user());
  settle();
  view->loadOfferwall("home");
  view->loadOfferwall("home");
  settle();
  view->loadOfferwall("home");
  settle();
  EXPECT_EQ(placementCalls(), std::vector<std::string>{"getPlacementUrl home"});
  EXPECT_EQ(heard->heard, (std::vector<std::string>{refusal, "opened"}));
  ASSERT_EQ(presenter_->live.size(), 1u);
  EXPECT_NE(screen(0).view.loads.at(0).url.find("placement_id=home"), std::string::npos);

  view->loadOfferwall("side");
  view->loadOfferwall("home");
  settle();
  EXPECT_EQ(placementCalls(),
            (std::vector<std::string>{"getPlacementUrl home", "getPlacementUrl side",
                                      "getPlacementUrl home"}));
  EXPECT_EQ(heard->heard, (std::vector<std::string>{refusal, "opened", "opened"}))
      << "the answer for a placement no longer asked for is dropped";
  ASSERT_EQ(presenter_->live.size(), 1u);
  EXPECT_NE(screen(0).view.loads.at(0).url.find("placement_id=home"), std::string::npos);
}

TEST_F(OfferwallTest, LoadFailuresAndTheOfflinePath) {
  auto root = present("https://hub.example/");
  auto delegate = screen(0).view.delegate.lock();
  ASSERT_TRUE(delegate);
  delegate->didFailNavigation(Error{Error::kUrlLoadingDomain, -999, "cancelled"}, true);
  delegate->didFailNavigation(Error{Error::kUrlLoadingDomain, -1001, "timed out"}, false);
  delegate->didFailNavigation(Error{Error::kUrlLoadingDomain, -1004, "Could not connect"}, true);
  settle();
  EXPECT_EQ(screen(0).view.htmlLoads.size(), 1u) << "only the timeout shows the offline page";
  EXPECT_EQ(callback_->heard,
            std::vector<std::string>{"error:Failed to load offerwall: Could not connect"});
  EXPECT_EQ(delegate->decidePolicy({"korvane://close", true}), NavigationPolicy::cancel);
  EXPECT_EQ(delegate->decidePolicy({"https://hub.example/next", true}), NavigationPolicy::allow);
  settle();
  EXPECT_TRUE(presenter_->live.empty()) << "korvane://close closed the offerwall";

  fake_.reachability->connected = false;
  auto offline = present("https://hub.example/");
  EXPECT_TRUE(screen(0).view.loads.empty());
  EXPECT_EQ(screen(0).view.htmlLoads, std::vector<std::string>{offlinePageHtml()});
  screen(0).view.post(R"({"type":"retry"})");
  settle();
  EXPECT_EQ(screen(0).view.htmlLoads.size(), 2u);
  fake_.reachability->connected = true;
  screen(0).view.post(R"({"type":"retry"})");
  settle();
  ASSERT_EQ(screen(0).view.loads.size(), 1u);
  EXPECT_EQ(screen(0).view.loads[0].url, "https://hub.example/") << "a retry loads the bare base";
}

// Addresses a page meant for a new window go where the same address would go as a navigation of
// the page: loaded in it (with no identification headers), opened outside, or closing it.
TEST_F(OfferwallTest, NewWindowsFollowTheNavigationPolicy) {
  struct Case {
    std::string url;
    std::vector<std::string> loadedInPage;
    std::vector<std::string> openedOutside;
    bool closes = false;
  };
  const Case cases[] = {
      {"https://partner.example/offer", {"https://partner.example/offer"}, {}},
      {"http://hub.example/plain", {"http://hub.example/plain"}, {}},
      {"itms-apps://apps.apple.com/app/id1", {}, {"itms-apps://apps.apple.com/app/id1"}},
      {"https://apps.apple.com/app/id1", {}, {"https://apps.apple.com/app/id1"}},
      {"partnerapp://reward", {}, {"partnerapp://reward"}},
      {"about:blank", {}, {}},
      {"", {}, {}},
      {"korvane://close", {}, {}, true},
  };
  for (const Case& c : cases) {
    fake_.urlOpener->opened.clear();
    auto root = present("https://hub.example/");
    FakePresenter::FakeScreen& page = screen(0);
    const std::size_t before = page.view.loads.size();
    page.view.delegate.lock()->requestNewWindow(
        {c.url, false, FrameFacts{true, "https://hub.example"}});
    settle();
    EXPECT_EQ(fake_.urlOpener->opened, c.openedOutside) << c.url;
    EXPECT_EQ(presenter_->live.empty(), c.closes) << c.url;
    if (c.closes) continue;
    std::vector<std::string> loaded;
    for (std::size_t i = before; i < page.view.loads.size(); ++i) {
      loaded.push_back(page.view.loads[i].url);
      EXPECT_TRUE(page.view.loads[i].headers.empty()) << c.url;
    }
    EXPECT_EQ(loaded, c.loadedInPage) << c.url;
    root->closeOfferwall();
    settle();
  }
}

TEST_F(OfferwallTest, MessageTypesReachTheirEffects) {
  auto root = present("https://hub.example/");
  FakePresenter::FakeScreen& page = screen(0);
  struct Row {
    const char* body;
    const char* line;
  };
  const Row rows[] = {
      {R"({"type":"openWebView","data":{}})",
       "[W/KorvaneOfferwallViewController] openWebView: No URL provided"},
      {R"({"type":"closeOpenWebView","data":{}})",
       "[W/KorvaneOfferwallViewController] closeOpenWebView: No URL provided"},
      {R"({"type":"externalOpenBrowser","data":{"url":""}})",
       "[W/KorvaneOfferwallViewController] externalOpenBrowser: No URL provided"},
      {R"({"type":"trackEvent","data":{"payload":{}}})",
       "[W/KorvaneOfferwallViewController] trackEvent: Missing required field (eventName)"},
      {R"({"type":"trackEvent","data":{"eventName":"tap","parameters":{"a":1}}})",
       "[D/KorvaneOfferwallViewController] Event tracked from WebView - Name: tap"},
      {R"({"type":"checkAppInstalled","data":{}})",
       "[W/KorvaneOfferwallViewController] checkAppInstalled: Missing identifier"},
      {R"({"type":"quizStarted"})", nullptr},
      {R"({"type":"missionCompleted","data":{"missionId":"m1"}})",
       "[W/KorvaneOfferwallViewController] [iOS SDK - WebView] Mission instance 또는 mission을 "
       "찾을 수 없음"},
      {R"({"type":"customEvent","data":{"payload":{}}})",
       "[W/KorvaneOfferwallViewController] ❌ customEvent: Missing eventType field in data: "
       "{\"payload\":{}}"},
      {R"({"type":"customEvent","data":{"eventType":"x"}})",
       "[W/KorvaneOfferwallViewController] ⚠️ eventCallback is nil! Custom event will not be "
       "forwarded to app."},
      {R"({"type":"dataRequest","data":{"requestId":"r"}})",
       "[W/KorvaneOfferwallViewController] dataRequest: Missing required fields (requestId or "
       "requestType)"},
      {R"({"type":"dataRequest","data":{"requestId":"r","requestType":"t"}})",
       "[D/KorvaneOfferwallViewController] No data returned for request 'r' from parent app"},
      {R"({"type":"teleport"})",
       "[W/KorvaneOfferwallViewController] Unknown message type: teleport"},
  };
  for (const Row& row : rows) {
    log_.clear();
    page.view.post(row.body);
    settle();
    if (row.line) {
      EXPECT_TRUE(log_.contains(row.line)) << row.body;
    }
  }
  EXPECT_FALSE(log_.contains("[D/KorvaneOfferwallViewController] Quiz started"));
  // The missing identifier still gets its "not installed" answer, in the default callback.
  bool answered = false;
  for (const std::string& script : page.view.scripts)
    answered |= script.find("window.onAppInstalledResult(") != std::string::npos &&
                script.find("\"installed\": false") != std::string::npos;
  EXPECT_TRUE(answered);

  // The name-and-parameters form of trackEvent reaches the backend with an empty payload.
  sdk_.flushEvents();
  settle();
  ASSERT_FALSE(api_->batches().empty());
  const TrackEventRequest tracked = api_->batches().back().events.back();
  EXPECT_EQ(tracked.name, "tap");
  EXPECT_TRUE(tracked.parameters.empty());
}

// A callback name or request id that could carry code gets a warning and nothing else: no
// script, no app launched, no question to the app.
TEST_F(OfferwallTest, RefusedReplyNamesLeaveNoTrace) {
  struct AskedEvents final : OfferwallEventCallback {
    void onCustomEvent(const std::string&, const JsonValue&) override {}
    std::optional<JsonValue> onDataRequest(const std::string& id, const std::string&,
                                           const JsonValue&) override {
      asked.push_back(id);
      return JsonValue{{"ok", true}};
    }
    std::vector<std::string> asked;
  };
  auto events = std::make_shared<AskedEvents>();
  KorvaneOfferwallViewController::setEventCallback(events);
  auto root = present("https://hub.example/");
  FakePresenter::FakeScreen& page = screen(0);
  page.view.post(
      R"J({"type":"checkAppInstalled","data":{"identifier":"app://x","callback":"f);alert(1);//"}})J");
  page.view.post(R"J({"type":"dataRequest","data":{"requestId":"a;alert(1)","requestType":"t"}})J");
  settle();
  EXPECT_TRUE(page.view.scripts.empty());
  EXPECT_TRUE(fake_.urlOpener->opened.empty());
  EXPECT_TRUE(events->asked.empty());
  EXPECT_TRUE(
      log_.contains("[W/KorvaneOfferwallViewController] checkAppInstalled: Callback name "
                    "is not a plain identifier: f);alert(1);//"));
  EXPECT_TRUE(
      log_.contains("[W/KorvaneOfferwallViewController] dataRequest: Request id is not a "
                    "plain identifier: a;alert(1)"));

  page.view.post(R"({"type":"checkAppInstalled","data":{"identifier":"app://x","callback":""}})");
  page.view.post(R"({"type":"dataRequest","data":{"requestId":"req_1_a","requestType":"t"}})");
  settle();
  EXPECT_EQ(events->asked, std::vector<std::string>{"req_1_a"});
  ASSERT_EQ(page.view.scripts.size(), 2u);
  EXPECT_EQ(std::count_if(page.view.scripts.begin(), page.view.scripts.end(),
                          [](const std::string& script) {
                            return script.find("window.onAppInstalledResult(") != std::string::npos;
                          }),
            1)
      << "an empty name means the default";
}

TEST_F(OfferwallTest, EmbeddedPopFadesThePageBackAfterItsScrollIsRestored) {
  auto view = KorvaneOfferwallView::create();
  auto viewCallback = std::make_shared<RecordingCallback>();
  view->setCallback(viewCallback);
  view->loadOfferwall("https://hub.example/", "u1", "key", "home");
  settle();
  screen(0).view.answer = [](const std::string& script) {
    return Result<std::string>(
        std::string(script.find("return container ? container.scrollTop : 0") != std::string::npos
                        ? "320"
                        : "\"restored:320\""));
  };
  screen(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/sub"}})");
  settle();
  ASSERT_EQ(view->stackSize(), 2u);
  presenter_->journal.clear();
  screen(1).view.post(R"({"type":"close"})");
  fake_.mainThread->advance(std::chrono::milliseconds(100));
  settle();
  EXPECT_EQ(presenter_->journal,
            (std::vector<std::string>{"screen0 fade 0 0ms", "screen1 fade 0 150ms",
                                      "screen1 destroyed", "screen0 fade 1 150ms"}));
  EXPECT_TRUE(log_.contains("[D/KorvaneOfferwallView] ✨ Fading in WebView (0.15s)"));

  screen(0).view.post(R"({"type":"close"})");
  screen(0).view.post(R"({"type":"close"})");
  settle();
  EXPECT_EQ(viewCallback->heard, (std::vector<std::string>{"opened", "closed"}));
  EXPECT_EQ(view->stackSize(), 1u);

  // An address that cannot be loaded reports only the error and keeps the pages shown.
  screen(0).view.post(R"({"type":"openWebView","data":{"url":"https://hub.example/sub"}})");
  settle();
  view->loadOfferwall("not a url", "u1", "key", "home");
  settle();
  EXPECT_EQ(viewCallback->heard,
            (std::vector<std::string>{"opened", "closed", "error:Invalid offerwall URL"}));
  EXPECT_EQ(view->stackSize(), 2u);
  EXPECT_EQ(presenter_->live.size(), 2u);

  // A pushed page retries with the view's address and keeps its page for an unreadable one.
  testing::FakeWebView& pushed = screen(1).view;
  pushed.post(R"({"type":"closeOpenWebView","data":{"url":"not a url"}})");
  pushed.post(R"({"type":"retry"})");
  settle();
  EXPECT_TRUE(log_.contains("[W/KorvaneOfferwallView] closeOpenWebView: Invalid URL: not a url"));
  EXPECT_EQ(pushed.loads.back().url, "https://hub.example/");
}

// The address gives the screen in points, what the page lays out with, in both hosts; the device
// record sent at login keeps the pixels.
TEST_F(OfferwallTest, TheAddressCarriesTheScreenInPointsAndTheDeviceRecordInPixels) {
  const struct {
    const char* name;
    std::optional<ScreenPoints> points;
    const char* items;
  } cases[] = {
      {"3x screen", ScreenPoints{390, 844}, "&screen_width=390&screen_height=844&"},
      {"size unknown", std::nullopt, "&screen_width=0&screen_height=0&"},
  };
  for (const auto& c : cases) {
    fake_.device->points = c.points;
    auto root = present("https://hub.example/");
    auto view = KorvaneOfferwallView::create();
    view->loadOfferwall("https://hub.example/", "u1", "key", "home");
    settle();
    ASSERT_EQ(presenter_->live.size(), 2u) << c.name;
    for (std::size_t i : {0u, 1u}) {
      ASSERT_EQ(screen(i).view.loads.size(), 1u) << c.name;
      EXPECT_NE(screen(i).view.loads[0].url.find(c.items), std::string::npos)
          << c.name << ": " << screen(i).view.loads[0].url;
    }
    view.reset();
    root->closeOfferwall();
    settle();
    ASSERT_TRUE(presenter_->live.empty()) << c.name;
  }
  const std::optional<LoginRequest> login = api_->lastLogin();
  ASSERT_TRUE(login);
  EXPECT_EQ(login->deviceInfo.screenWidth, 1170);
  EXPECT_EQ(login->deviceInfo.screenHeight, 2532);
}

TEST_F(OfferwallTest, LaunchEntryPointsCheckChooseTheAddressPresentAndRecord) {
  auto cb = std::make_shared<RecordingCallback>();
  sdk_.openOfferwallWithUrl("", "home", nullptr, cb);
  sdk_.openOfferwall(nullptr, "home", cb);
  sdk_.openOfferwallWithUrl("https://partner.example/wall", "side", nullptr, cb, nullptr, true,
                            true);
  settle();
  EXPECT_EQ(cb->heard, (std::vector<std::string>{"error:URL cannot be empty", "opened", "opened"}));
  ASSERT_EQ(presenter_->live.size(), 2u);
  EXPECT_TRUE(presenter_->lastOptions.inNavigationContainer);
  EXPECT_EQ(presenter_->lastOptions.title, "partner.example");
  EXPECT_EQ(screen(0).view.loads.at(0).url.rfind(
                "https://hub.example/?user_id=u1&app_key=key&placement_id=home&", 0),
            0u);
  EXPECT_EQ(sdk_.getOfferwallUrl(), "https://hub.example/");

  screen(1).close();
  screen(0).close();
  sdk_.flushEvents();
  settle();
  std::vector<std::string> names;
  for (const EventBatch& batch : api_->batches())
    for (const TrackEventRequest& e : batch.events) names.push_back(e.name);
  EXPECT_EQ(names, (std::vector<std::string>{"offerwall_opened", "custom", "offerwall_closed",
                                             "offerwall_closed"}));

  const std::pair<const char*, bool> browser[] = {
      {"", false}, {"not a url", false}, {"https://example.com/deal", true}};
  for (const auto& [url, handed] : browser)
    EXPECT_EQ(sdk_.openExternalBrowser(url, "p"), handed) << url;
  fake_.urlOpener->opens = false;
  EXPECT_FALSE(sdk_.openExternalBrowser("https://example.com/deal", "p"));
  EXPECT_TRUE(log_.contains("[W/KorvaneSdk] Cannot open URL: https://example.com/deal"));
}

// Off the main thread the browser opening must not ask the system there and then (UIKit answers on
// the main thread only, and waiting for it can deadlock): it is accepted, and asked and opened on
// the main thread, with the refusal logged there.
TEST_F(OfferwallTest, ExternalBrowserCalledOffTheMainThreadAsksTheSystemOnTheMainThread) {
  const struct {
    bool systemOpens;
    std::size_t opened;
  } cases[] = {{true, 1u}, {false, 0u}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.systemOpens);
    fake_.urlOpener->opened.clear();
    fake_.urlOpener->opens = c.systemOpens;
    bool accepted = false;
    std::thread([&] {
      accepted = sdk_.openExternalBrowser("https://example.com/deal", "p");
    }).join();
    EXPECT_TRUE(accepted);
    EXPECT_TRUE(fake_.urlOpener->opened.empty()) << "nothing is opened off the main thread";
    fake_.mainThread->runUntilIdle();
    EXPECT_EQ(fake_.urlOpener->opened.size(), c.opened);
    EXPECT_EQ(log_.contains("[W/KorvaneSdk] Cannot open URL: https://example.com/deal"),
              !c.systemOpens);
  }
}

// Offerwall callbacks run on the main thread: a refusal of the placement and adjoe openings
// called from another thread (here: before initialisation) waits for the main thread too.
TEST_F(OfferwallTest, RefusalsOfOpeningsCalledOffTheMainThreadArriveOnTheMainThread) {
  forgetInitialisation();
  const std::function<void(std::shared_ptr<OfferwallCallback>)> openings[] = {
      [this](auto callback) {
        sdk_.openOfferwallPindleAds(nullptr, "p", std::move(callback), nullptr, false, false);
      },
      [this](auto callback) { sdk_.openAdjoeOfferwall(nullptr, "p", std::move(callback)); },
  };
  for (const auto& open : openings) {
    auto callback = std::make_shared<testing::RecordingCallback>();
    std::thread([&] { open(callback); }).join();
    EXPECT_TRUE(callback->heard.empty()) << "nothing is reported off the main thread";
    fake_.mainThread->runUntilIdle();
    EXPECT_EQ(
        callback->heard,
        (std::vector<std::string>{"error:SDK not initialized. Please initialize the SDK first."}));
  }
}

// The screen the host named may go away while an opening waits for the backend or the main
// thread; the offerwall must then neither touch it nor appear somewhere else.
TEST_F(OfferwallTest, AnOpeningThatOutlivesItsPresentingScreenShowsNothing) {
  auto cb = std::make_shared<RecordingCallback>();
  api_->placementUrlAnswer = PlacementUrlResponse{true, "https://placement.example/", std::nullopt};
  auto kept = std::make_unique<FakePresenter::FakeScreen>(*presenter_, "the app's screen");
  sdk_.openOfferwallPindleAds(kept.get(), "home", cb);
  settle();
  EXPECT_EQ(presenter_->lastOver, kept.get());
  EXPECT_EQ(cb->heard, std::vector<std::string>{"opened"});

  auto gone = std::make_unique<FakePresenter::FakeScreen>(*presenter_, "a closed screen");
  sdk_.openOfferwallPindleAds(gone.get(), "home", cb);
  gone.reset();  // before the answer reaches the main thread
  const int presented = presenter_->made;
  settle();
  EXPECT_EQ(presenter_->made, presented);
  EXPECT_EQ(cb->heard.back(),
            "error:The screen to present the offerwall over is gone; nothing was shown");
}

TEST_F(OfferwallTest, APlacementAnswerWithoutAnAddressIsTheBackendsFailure) {
  const std::pair<PlacementUrlResponse, std::string> cases[] = {
      {{false, std::nullopt, "Unknown placement"}, "Unknown placement"},
      {{true, std::nullopt, std::nullopt}, "The answer holds no placement URL"},
      {{false, "https://placement.example/", std::nullopt}, "The answer holds no placement URL"},
  };
  for (const auto& [answer, reason] : cases) {
    auto cb = std::make_shared<RecordingCallback>();
    api_->placementUrlAnswer = answer;
    sdk_.openOfferwallPindleAds(nullptr, "home", cb);
    settle();
    EXPECT_EQ(cb->heard,
              std::vector<std::string>{"error:Failed to fetch placement URL: " + reason});
  }
}

TEST_F(OfferwallTest, LaunchRefusalsInTheirOrder) {
  sdk_.logout();
  auto cb = std::make_shared<RecordingCallback>();
  sdk_.openOfferwall(nullptr, "home", cb);
  sdk_.openOfferwallPindleAds(nullptr, "home", cb);
  settle();
  EXPECT_EQ(cb->heard, (std::vector<std::string>{"error:User not logged in. Please login first.",
                                                 "error:User not logged in. Please login first."}));
  EXPECT_TRUE(log_.contains("[E/KorvaneSdk] User not logged in"))
      << "the placement form logs errors";
  EXPECT_TRUE(presenter_->live.empty());

  TearDown();
  SdkEnvironment fresh;
  fresh.platform = fake_.services();
  fresh.platform.screens = presenter_;
  KorvaneSdkTestAccess::reset(sdk_, std::move(fresh));
  cb->heard.clear();
  sdk_.openOfferwall(nullptr, "home", cb);
  EXPECT_EQ(cb->heard, std::vector<std::string>{
                           "error:SDK not initialized. Please initialize the SDK first."});
  EXPECT_FALSE(sdk_.getOfferwallUrl());
}

}  // namespace
}  // namespace korvane
