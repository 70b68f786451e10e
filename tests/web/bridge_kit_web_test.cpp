// The page author's bridge kit (web/bridge-kit) in real WebKitGTK windows against the real SDK:
// pages served by the local backend import the kit from its stable path and run the cases of
// tests/web/bridge_kit/cases.js (the same cases run against the mock host in node); the tests
// check what the page saw and what the native side did. Runs under Xvfb where there is no display.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "dev_server.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "log_capture.h"
#include "sdk/sdk_environment.h"
#include "signed_in_sdk.h"
#include "webkit_session.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* kIdfa = "6D92078A-8246-4BA4-AE5B-76104861E7DC";  // as in cases.js

// Apps whose address starts with "someapp://" are installed; every other address opens.
class AppOpener final : public UrlOpener {
 public:
  bool canOpen(const std::string&) const override { return true; }
  void open(const std::string& url, std::function<void(bool)> completion) override {
    opened.push_back(url);
    if (completion) completion(url.rfind("someapp://", 0) == 0);
  }
  std::vector<std::string> opened;
};

// The app's side: "points" is answered, every other request type is not.
class AppEvents final : public OfferwallEventCallback {
 public:
  void onCustomEvent(const std::string& type, const JsonValue& payload) override {
    custom.emplace_back(type, payload);
  }
  std::optional<JsonValue> onDataRequest(const std::string&, const std::string& type,
                                         const JsonValue& params) override {
    asked.push_back(type);
    if (type != "points") return std::nullopt;
    return JsonValue{{"points", 1200}, {"asked", params}};
  }
  std::vector<std::pair<std::string, JsonValue>> custom;
  std::vector<std::string> asked;
};

std::string fileText(const char* path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The page: imports the kit from the backend's stable path and runs the suite named in its
// address ("none" runs nothing); the report lands in window.__kitReport, the kit in window.kit.
constexpr const char* kKitPage = R"(<!doctype html><html><head><meta charset="utf-8">
<title>Kit</title></head><body><h1>Kit</h1>
<script type="module">
import * as kit from '/bridge-kit/korvane-bridge-kit.js';
import { run } from '/pages/kit_cases.js';
window.kit = kit;
window.__kitReport = null;
const suite = new URLSearchParams(location.search).get('suite') || 'none';
run(kit, suite).then((r) => { window.__kitReport = r; },
                     (e) => { window.__kitReport = { error: String(e) }; });
</script></body></html>)";

// A page for a desktop browser without the SDK: the mock host from the backend's stable path,
// set up as mock_host.test.mjs sets it up, and the same suites.
constexpr const char* kMockPage = R"(<!doctype html><html><head><meta charset="utf-8">
<title>Mock</title></head><body><h1>Mock</h1>
<script type="module">
import * as kit from '/bridge-kit/korvane-bridge-kit.js';
import { installMockHost } from '/bridge-kit/korvane-mock-host.js';
import { run, user, advertisingId } from '/pages/kit_cases.js';
const setUp = (extra) => installMockHost(Object.assign({
  user, advertisingId, installedApps: ['someapp://'], delayMs: 5, contextType: 'quiz',
  data: { points: (params) => ({ points: 1200, asked: params }) } }, extra));
window.__mock = null;
(async () => {
  let host = setUp({});
  const trusted = await run(kit, 'trusted');
  const actions = host.actions.slice();
  host.uninstall();
  host = setUp({ trusted: false });
  const untrusted = await run(kit, 'untrusted');
  const refused = host.sent.map((m) => m.type + (m.refused ? ' refused' : ''));
  host.uninstall();
  window.__mock = { trusted, untrusted, actions, refused };
})().catch((e) => { window.__mock = { error: String(e) }; });
</script></body></html>)";

void serveKitPages(devserver::DevServer& server) {
  server.setPage("/pages/kit.html", kKitPage);
  server.setPage("/pages/mock.html", kMockPage);
  server.setPage("/pages/kit_cases.js", fileText(KORVANE_KIT_CASES));
}

class BridgeKitWeb : public testing::WebKitSession<> {
 protected:
  void SetUp() override {
    startSession({.networkSession = "SESSION-KIT",
                  .dataFolder = "korvane-kit-web",
                  .userId = "web-user",
                  .advertisingId = kIdfa,
                  .opener = opener_,
                  .events = events_});
    if (HasFatalFailure()) return;
    serveKitPages(server_);
  }

  void TearDown() override {
    if (HasFailure())
      for (const std::string& line : log_.messages())
        if (line.find("Offerwall") != std::string::npos) std::printf("%s\n", line.c_str());
    endSession();
  }

  // Waits for the kit in the page on `screen`, then runs `script` (a call of window.kit).
  void callKit(Screen& screen, const std::string& script) {
    ASSERT_TRUE(pumpUntil([&] {
      return evaluate(screen, "typeof window.kit === 'object' && window.kit.isAvailable()") ==
             "true";
    })) << "the kit loaded and the SDK's bridge arrived";
    evaluate(screen, script + "; true");
  }
  // The report of the suite the page on `screen` ran.
  nlohmann::json report(Screen& screen) {
    std::string text = "null";
    pumpUntil([&] { return (text = evaluate(screen, "window.__kitReport")) != "null"; }, 30s);
    return nlohmann::json::parse(text, nullptr, false);
  }
  std::size_t receivedCount(const std::string& needle) const {
    std::size_t count = 0;
    for (const std::string& line : log_.messages())
      count += line.find("📨 Received message from WebView: ") != std::string::npos &&
               line.find(needle) != std::string::npos;
    return count;
  }
  bool logged(const std::string& tagged) const { return log_.contains(tagged); }
  bool loggedStart(const std::string& start) const {
    for (const std::string& line : log_.messages())
      if (line.rfind(start, 0) == 0) return true;
    return false;
  }

  std::shared_ptr<KorvaneOfferwallViewController> openRoot(const std::string& path) {
    return offerwallFor(path);
  }

  testing::LogCapture log_{LogLevel::verbose};
  std::shared_ptr<AppOpener> opener_ = std::make_shared<AppOpener>();
  std::shared_ptr<AppEvents> events_ = std::make_shared<AppEvents>();
};

void expectAllPassed(const nlohmann::json& report) {
  ASSERT_TRUE(report.is_object()) << report;
  ASSERT_FALSE(report.contains("error")) << report;
  EXPECT_GT(report.value("total", 0), 0) << report;
  EXPECT_EQ(report["failed"], nlohmann::json::array()) << report.dump(2);
  EXPECT_EQ(report["passed"].size(), report["total"].get<std::size_t>()) << report.dump(2);
}

// Every call of the kit, end to end through the native side, in a page opened for a quiz (so
// that the quiz messages are handled too).
TEST_F(BridgeKitWeb, EveryCallReachesTheNativeSideAndEveryReplyTheCaller) {
  auto root = openRoot("/pages/kit.html?suite=trusted");
  root->contextType = "quiz";
  root->quizId = "quiz-1";
  root->present();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  const nlohmann::json trusted = report(screen(0));
  expectAllPassed(trusted);

  // The kit's requests as native received them: getUserInfo once per call (1 + 3 overlapping
  // + 1), each app check with its own generated callback, each data request with its own id.
  EXPECT_EQ(receivedCount("\"type\":\"getUserInfo\""), 5u);
  EXPECT_EQ(receivedCount("\"callback\":\"__korvaneKitApp_"), 2u);
  EXPECT_EQ(opener_->opened, (std::vector<std::string>{"someapp://open", "missingapp://x",
                                                       "https://www.example.com/"}));
  EXPECT_EQ(events_->asked, (std::vector<std::string>{"points", "nothing"}));
  EXPECT_TRUE(loggedStart("[D/KorvaneOfferwallViewController] No data returned for request 'kit_"))
      << "the request the app answers with nothing";
  // track sends the object form, so the payload arrives.
  EXPECT_TRUE(
      logged("[D/KorvaneOfferwallViewController] ✅ Parsed message - type: 'trackEvent', data: "
             "{\"eventName\":\"kit_page_viewed\",\"payload\":{\"page\":\"kit\"}}"));
  EXPECT_TRUE(logged(
      "[D/KorvaneOfferwallViewController] Event tracked from WebView - Name: kit_page_viewed"));
  ASSERT_EQ(events_->custom.size(), 1u);
  EXPECT_EQ(events_->custom[0].first, "reward_shown");
  EXPECT_EQ(events_->custom[0].second, (JsonValue{{"amount", 5}}));
  EXPECT_TRUE(logged("[D/KorvaneOfferwallViewController] Mission completed"));
  EXPECT_TRUE(logged("[D/KorvaneOfferwallViewController] Mission progressed"));
  EXPECT_TRUE(logged(
      "[D/KorvaneOfferwallViewController] [missionRefreshed] Processed successfully (unitId: "
      "unit-1)"));
  EXPECT_TRUE(logged("[D/KorvaneOfferwallViewController] Quiz started"));
  EXPECT_TRUE(
      logged("[D/KorvaneOfferwallViewController] [iOS SDK - WebView] 받은 데이터: "
             "{\"quizId\":\"quiz-1\",\"score\":1,\"rewardAmount\":50}"));
  EXPECT_TRUE(
      logged("[D/KorvaneOfferwallViewController] Opening external browser: "
             "https://www.example.com/"));
  EXPECT_EQ(evaluate(screen(0),
                     "Object.keys(window).filter(function(k) {"
                     "  return k.indexOf('_korvane_callback_') === 0; }).length"),
            "0");

  // The page stack: open a page, replace it, close it, then the adjoe offerwall.
  const std::string base = server_.baseUrl() + "/pages/kit.html?suite=none";
  callKit(screen(0), "kit.openPage('" + base + "&page=2')");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 2; }));
  callKit(screen(1), "kit.replacePage('" + base + "&page=3')");
  // The controller slides the new page in over the one it replaces.
  ASSERT_TRUE(pumpUntil([&] {
    return logged("[D/KorvaneOfferwallViewController] WebView replaced successfully with child VC");
  }));
  ASSERT_EQ(screens_->live.size(), 3u);
  ASSERT_TRUE(pumpUntil([&] {
    return evaluate(screen(2), "location.search.indexOf('page=3') >= 0 && !!window.kit") == "true";
  }));
  callKit(screen(2), "kit.close()");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  EXPECT_TRUE(callback_->heard.empty()) << "an inner page's close reports nothing";

  callKit(screen(0), "kit.openAdjoe('kit-adjoe')");
  ASSERT_TRUE(pumpUntil([&] { return !server_.requestsTo("/offerwall/adjoe.html").empty(); }));
  EXPECT_NE(server_.requestsTo("/offerwall/adjoe.html")[0].target.find("&placement=kit-adjoe&"),
            std::string::npos);
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 2; }));
  screen(1).close();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));

  callKit(screen(0), "kit.close()");
  EXPECT_TRUE(pumpUntil([&] { return screens_->live.empty(); })) << "the root's close";
}

// A page of an origin the offerwall does not trust (the local backend on a second port), opened
// from the offerwall: the bridge refuses its requests without a reply, and the kit rejects each
// when its wait runs out, with a message that names the refusal, instead of hanging.
TEST_F(BridgeKitWeb, AnUntrustedPageGetsAClearRejectionInsteadOfAHang) {
  devserver::DevServer other;
  ASSERT_NE(other.start(), 0);
  serveKitPages(other);
  auto root = openRoot("/pages/kit.html?suite=none");
  root->present();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  callKit(screen(0), "kit.openPage('" + other.baseUrl() + "/pages/kit.html?suite=untrusted')");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 2; }));
  expectAllPassed(report(screen(1)));

  const std::string refused = "[W/KorvaneOfferwallViewController] 🚫 Bridge message '";
  for (const char* type : {"getUserInfo", "checkAppInstalled", "dataRequest"}) {
    EXPECT_TRUE(logged(refused + type + "' refused: origin " + other.baseUrl() + " is not trusted"))
        << type;
  }
  EXPECT_TRUE(events_->asked.empty());
  EXPECT_TRUE(opener_->opened.empty());
  callKit(screen(1), "kit.close()");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }))
      << "closing its own page is allowed";
}

// A page that is slow to load (a frame that takes longer than the 5 s the kit once waited) calls
// the kit at start-up: the SDK injects the bridge only once the load has finished, and the calls
// wait for it instead of rejecting.
TEST_F(BridgeKitWeb, CallsMadeDuringASlowLoadWaitForTheBridge) {
  std::string slowPage = kKitPage;
  const std::string heading = "<h1>Kit</h1>";
  slowPage.replace(slowPage.find(heading), heading.size(),
                   heading + "<iframe src=\"/pages/slow_frame.html\"></iframe>");
  server_.setPage("/pages/kit_slow.html", slowPage);
  server_.setPage("/pages/slow_frame.html", "<!doctype html><title>Slow</title>");
  devserver::Fault slow;
  slow.delay = 6s;
  server_.setFault("/pages/slow_frame.html", slow);

  auto root = openRoot("/pages/kit_slow.html?suite=slowLoad");
  root->present();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  expectAllPassed(report(screen(0)));
  EXPECT_EQ(server_.requestsTo("/pages/slow_frame.html").size(), 1u);
  EXPECT_EQ(receivedCount("\"type\":\"getUserInfo\""), 1u);
}

// The sample offerwall web app uses the kit: its bridge page gets every answer through it.
TEST_F(BridgeKitWeb, TheSampleBridgePageRunsOnTheKit) {
  auto root = openRoot("/offerwall/bridge.html");
  root->present();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  ASSERT_TRUE(pumpUntil([&] {
    return evaluate(screen(0), "window.korvaneReady === true && typeof runAll === 'function'") ==
           "true";
  }));
  evaluate(screen(0), "document.getElementById('run-all').click(); true");
  ASSERT_TRUE(pumpUntil(
      [&] { return evaluate(screen(0), "window.bridgeRunDone === true") == "true"; }, 15s));
  const std::string results =
      nlohmann::json::parse(evaluate(screen(0), "demoApp.results.join(' | ')")).get<std::string>();
  for (const char* expected : {"\"userId\":\"web-user\"", "\"points\":1200",
                               "\"installed\":", "reward_claimed", "missionRefreshed"})
    EXPECT_NE(results.find(expected), std::string::npos) << expected << " in " << results;
  EXPECT_EQ(server_.requestsTo("/bridge-kit/korvane-bridge-kit.js").size(), 1u);
}

// The mock host in a real engine, with no SDK: the same cases pass in a plain WebKitGTK window,
// and the mock did what the SDK did in the tests above.
TEST_F(BridgeKitWeb, TheMockHostAnswersTheSameCasesInABrowserWithoutTheSdk) {
  linux_host::GtkScreenPresenter plain;
  std::unique_ptr<Screen> window = plain.presentFullScreen(nullptr, ScreenOptions{});
  WebRequest request;
  request.url = server_.baseUrl() + "/pages/mock.html";
  window->webView().load(request);
  std::string text = "null";
  ASSERT_TRUE(
      pumpUntil([&] { return (text = evaluate(*window, "window.__mock")) != "null"; }, 30s));
  const nlohmann::json mock = nlohmann::json::parse(text, nullptr, false);
  ASSERT_TRUE(mock.is_object() && !mock.contains("error")) << text;
  expectAllPassed(mock["trusted"]);
  expectAllPassed(mock["untrusted"]);
  EXPECT_EQ(mock["actions"], (nlohmann::json{
                                 "checkAppInstalled someapp://open",
                                 "checkAppInstalled missingapp://x",
                                 "trackEvent kit_page_viewed {\"page\":\"kit\"}",
                                 "customEvent reward_shown {\"amount\":5}",
                                 "missionCompleted {\"missionId\":\"mission-7\"}",
                                 "missionProgressed {\"missionId\":\"mission-7\"}",
                                 "missionRefreshed unit-1",
                                 "quizStarted {\"quizId\":\"quiz-1\"}",
                                 "quizCompleted {\"quizId\":\"quiz-1\",\"score\":1,"
                                 "\"rewardAmount\":50}",
                                 "externalOpenBrowser https://www.example.com/",
                             }));
  EXPECT_EQ(mock["refused"], (nlohmann::json{"getUserInfo refused", "checkAppInstalled refused",
                                             "dataRequest refused"}));
  EXPECT_EQ(server_.requestsTo("/bridge-kit/korvane-mock-host.js").size(), 1u);
  EXPECT_TRUE(screens_->live.empty()) << "no SDK page was involved";
}

}  // namespace
}  // namespace korvane
