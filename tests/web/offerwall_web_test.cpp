// The offerwall in real WebKitGTK windows: pages from the local backend call the bridge and the
// tests watch the native effects. Runs under Xvfb where there is no display.
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

#include <functional>

#include "dev_server.h"
#include "fake_platform.h"
#include "korvane/linux/gtk_screens.h"
#include "korvane/linux/webkit_web_view.h"
#include "korvane/offerwall/offerwall_view.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"
#include "log_capture.h"
#include "sdk/sdk_environment.h"
#include "signed_in_sdk.h"
#include "webkit_session.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* kIdfa = "6D92078A-8246-4BA4-AE5B-76104861E7DC";

class RecordingEvents final : public OfferwallEventCallback {
 public:
  void onCustomEvent(const std::string& type, const JsonValue& payload) override {
    custom.emplace_back(type, payload);
  }
  std::optional<JsonValue> onDataRequest(const std::string&, const std::string& type,
                                         const JsonValue& params) override {
    if (type != "points") return std::nullopt;
    return JsonValue{{"points", 1200}, {"asked", params}};
  }
  std::vector<std::pair<std::string, JsonValue>> custom;
};

// A page that keeps what native sent back where a test can read it.
std::string page(const std::string& title, const std::string& body = "") {
  return "<!doctype html><html><head><meta charset=\"utf-8\"><title>" + title +
         "</title></head><body><h1>" + title + "</h1>" + body +
         "<script>window.__replies = [];"
         "window.onUserInfoReceived = function(info) { window.__replies.push(info); };"
         "window.onAppInstalledResult = function(r) { window.__replies.push(r); };"
         "</script></body></html>";
}

const char* kScrollerPage = R"(<!doctype html><html><head><meta charset="utf-8"><style>
  html, body { margin: 0; height: 100%; overflow: hidden; }
  #list { height: 100%; overflow-y: auto; }
  .row { height: 80px; border-bottom: 1px solid #ddd; }
</style></head><body><div id="list"></div><script>
  var list = document.getElementById('list');
  for (var i = 0; i < 60; i++) { var r = document.createElement('div'); r.className = 'row';
    r.textContent = 'offer ' + i; list.appendChild(r); }
</script></body></html>)";

// The widgets below `root` (itself included) that `match`, in tree order.
std::vector<GtkWidget*> widgetsBelow(GtkWidget* root,
                                     const std::function<bool(GtkWidget*)>& match) {
  std::vector<GtkWidget*> found;
  if (match(root)) found.push_back(root);
  if (!GTK_IS_CONTAINER(root)) return found;
  GList* children = gtk_container_get_children(GTK_CONTAINER(root));
  for (GList* child = children; child; child = child->next) {
    std::vector<GtkWidget*> below = widgetsBelow(GTK_WIDGET(child->data), match);
    found.insert(found.end(), below.begin(), below.end());
  }
  g_list_free(children);
  return found;
}

std::size_t toplevelCount() {
  GList* toplevels = gtk_window_list_toplevels();
  const std::size_t count = g_list_length(toplevels);
  g_list_free(toplevels);
  return count;
}

// The colour of the window's pixel at (x, y) as 0xRRGGBB; -1 when nothing is drawn there.
long pixelAt(GtkWidget* window, int x, int y) {
  GdkWindow* drawn = gtk_widget_get_window(window);
  GdkPixbuf* pixels = drawn ? gdk_pixbuf_get_from_window(drawn, x, y, 1, 1) : nullptr;
  if (!pixels) return -1;
  const guint8* p = gdk_pixbuf_read_pixels(pixels);
  const long colour = (long{p[0]} << 16) | (long{p[1]} << 8) | p[2];
  g_object_unref(pixels);
  return colour;
}

GtkWidget* widgetOf(Screen& screen) {
  return dynamic_cast<linux_host::WebKitWebViewPort&>(screen.webView()).widget();
}

class OfferwallWeb : public testing::WebKitSession<> {
 protected:
  void SetUp() override {
    startSession({.networkSession = "SESSION-WEB",
                  .dataFolder = "korvane-web",
                  .userId = "web-user",
                  .advertisingId = kIdfa,
                  .opener = opener_,
                  .events = events_,
                  .reachability = reachability_,
                  .prompt = prompt_});
    if (HasFatalFailure()) return;
    server_.setPage("/pages/root.html", page("Root"));
    server_.setPage("/pages/sub.html", page("Sub"));
    server_.setPage("/pages/other.html", page("Other"));
    server_.setPage("/pages/scroller.html", kScrollerPage);
  }

  void TearDown() override {
    if (HasFailure())
      for (const std::string& line : log_.messages())
        if (line.find("Offerwall") != std::string::npos) std::printf("%s\n", line.c_str());
    endSession();
  }

  // Waits until the page on `screen` has the bridge, then runs `script`.
  void callBridge(Screen& screen, const std::string& script) {
    ASSERT_TRUE(pumpUntil(
        [&] { return evaluate(screen, "typeof window.KorvaneBridge === 'object'") == "true"; }));
    evaluate(screen, script);
  }
  bool logged(const std::string& tagged) const { return log_.contains(tagged); }

  std::shared_ptr<KorvaneOfferwallViewController> openRoot(const std::string& path) {
    auto controller = offerwallFor(path);
    controller->present();
    return controller;
  }

  testing::LogCapture log_{LogLevel::verbose};
  std::shared_ptr<testing::FakeUrlOpener> opener_ = std::make_shared<testing::FakeUrlOpener>();
  std::shared_ptr<testing::FakePersonPrompt> prompt_ =
      std::make_shared<testing::FakePersonPrompt>();
  std::shared_ptr<testing::FakeReachability> reachability_ =
      std::make_shared<testing::FakeReachability>();
  std::shared_ptr<RecordingEvents> events_ = std::make_shared<RecordingEvents>();
};

TEST_F(OfferwallWeb, LoadsTheComposedAddressWithHeadersAndTheBridge) {
  auto root = openRoot("/pages/root.html?tab=offers");
  ASSERT_TRUE(pumpUntil([&] {
    return logged("[D/KorvaneOfferwallViewController] JavaScript bridge injected successfully");
  }));
  const auto requests = server_.requestsTo("/pages/root.html");
  ASSERT_EQ(requests.size(), 1u);
  const std::string& target = requests[0].target;
  EXPECT_EQ(target.rfind("/pages/root.html?tab=offers&user_id=web-user&app_key=demo-app-key&"
                         "placement_id=home&ifa=" +
                             std::string(kIdfa) + "&device_id=",
                         0),
            0u)
      << target;
  EXPECT_NE(target.find("&platform=iOS&"), std::string::npos);
  EXPECT_NE(target.find("&screen_width=414&screen_height=800&"), std::string::npos)
      << "the offerwall window's size, in the points a page lays out with";
  EXPECT_NE(target.find("&sdk_version=1.0.52-rc.2&session_id=SESSION-WEB&timestamp="),
            std::string::npos);
  EXPECT_EQ(requests[0].header("x-korvane-app-key"), "demo-app-key");
  EXPECT_EQ(requests[0].header("x-korvane-user-id"), "web-user");
  EXPECT_EQ(requests[0].header("x-korvane-advertising-id"), kIdfa);
  EXPECT_NE(requests[0].header("User-Agent").value_or("").find(" KorvaneSDK/1.0.52-rc.2"),
            std::string::npos);
  EXPECT_EQ(evaluate(screen(0), "typeof window.webkit.messageHandlers.postMessage"), "\"function\"")
      << "the polyfill is in place";
}

TEST_F(OfferwallWeb, SubPagesPushAndPopAndTheRootClosesOnce) {
  auto root = openRoot("/pages/root.html");
  callBridge(screen(0),
             "window.KorvaneBridge.openWebView('" + server_.baseUrl() + "/pages/sub.html')");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 2; }));
  EXPECT_EQ(KorvaneOfferwallViewController::activeSubControllers().size(), 1u);
  ASSERT_TRUE(pumpUntil([&] { return !server_.requestsTo("/pages/sub.html").empty(); }));
  const auto sub = server_.requestsTo("/pages/sub.html");
  ASSERT_EQ(sub.size(), 1u);
  EXPECT_EQ(sub[0].target, "/pages/sub.html") << "inner pages load as given";
  EXPECT_FALSE(sub[0].header("x-korvane-user-id"));

  callBridge(screen(1), "window.KorvaneBridge.close()");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  EXPECT_TRUE(callback_->heard.empty()) << "an inner page's close reports nothing";
  EXPECT_TRUE(KorvaneOfferwallViewController::activeSubControllers().empty());

  callBridge(screen(0), "window.webkit.messageHandlers.postMessage({type: 'close'})");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); }));
  root->closeOfferwall();
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});
}

TEST_F(OfferwallWeb, RepliesReachThePage) {
  opener_->opens = true;
  auto root = openRoot("/pages/root.html");
  callBridge(screen(0),
             "window.KorvaneBridge.getUserInfo(function() {});"
             "window.KorvaneBridge.checkAppInstalled('someapp://open');"
             "window.KorvaneBridge.requestData('points', {month: 11}, function(r) {"
             "  window.__replies.push(r); });"
             "window.KorvaneBridge.sendEvent('reward_shown', {amount: 5});");
  ASSERT_TRUE(pumpUntil([&] { return evaluate(screen(0), "window.__replies.length") == "3"; }));
  // Compared without key order (the page's objects come back in the engine's order) and in any
  // order of arrival (the app check waits for the system's answer).
  const nlohmann::json replies = nlohmann::json::parse(evaluate(screen(0), "window.__replies"));
  for (const nlohmann::json& expected :
       {nlohmann::json{{"userId", "web-user"}, {"gender", "M"}, {"birthYear", 1990}},
        nlohmann::json{{"installed", true}, {"identifier", "someapp://open"}},
        nlohmann::json{{"points", 1200}, {"asked", {{"month", 11}}}}}) {
    EXPECT_NE(std::find(replies.begin(), replies.end(), expected), replies.end()) << expected;
  }
  ASSERT_EQ(events_->custom.size(), 1u);
  EXPECT_EQ(events_->custom[0].first, "reward_shown");
  EXPECT_EQ(events_->custom[0].second, (JsonValue{{"amount", 5}}));
  EXPECT_EQ(opener_->opened, std::vector<std::string>{"someapp://open"});
}

TEST_F(OfferwallWeb, AnUnansweredAppCheckFallsBackAfterTwoSeconds) {
  opener_->neverComplete = true;
  auto root = openRoot("/pages/root.html");
  callBridge(screen(0), "window.KorvaneBridge.checkAppInstalled({identifier: 'slowapp://x'})");
  ASSERT_TRUE(pumpUntil([&] { return evaluate(screen(0), "window.__replies.length") == "1"; }, 5s));
  EXPECT_EQ(nlohmann::json::parse(evaluate(screen(0), "window.__replies[0]")),
            (nlohmann::json{{"installed", false}, {"identifier", "slowapp://x"}}));
  ASSERT_EQ(opener_->pending.size(), 1u);
  opener_->pending[0](true);  // too late: nothing more is sent
  pumpFor(200ms);
  EXPECT_EQ(evaluate(screen(0), "window.__replies.length"), "1");
}

// WebKitGTK does not say which document navigates, so even the trusted page's scripted store
// link asks the person first; a yes sends it out and the page stays.
TEST_F(OfferwallWeb, NavigationPolicyClosesAndLeavesTheWebView) {
  prompt_->yes = true;
  auto root = openRoot("/pages/root.html");
  callBridge(screen(0), "window.location.href = 'itms-apps://apps.apple.com/app/id1'");
  ASSERT_TRUE(pumpUntil([&] { return opener_->opened.size() == 1; }));
  ASSERT_EQ(prompt_->asked.size(), 1u);
  EXPECT_EQ(prompt_->asked[0].title, "App Store에서 여시겠습니까?");
  EXPECT_EQ(opener_->opened[0], "itms-apps://apps.apple.com/app/id1");
  EXPECT_NE(screen(0).webView().currentUrl().value_or("").find("/pages/root.html"),
            std::string::npos);

  callBridge(screen(0), "window.location.href = 'korvane://close'");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); }));
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});
}

// WebKit asks for a window for target="_blank" links and window.open: none is made, and the
// address follows the page's navigation policy.
TEST_F(OfferwallWeb, NewWindowsLoadInThePageOrOpenOutside) {
  prompt_->yes = true;  // the page's own script: the person is asked
  auto root = openRoot("/pages/root.html");
  const auto showing = [&](const std::string& path) {
    return pumpUntil([&] {
      return screen(0).webView().currentUrl().value_or("").find(path) != std::string::npos &&
             evaluate(screen(0), "document.readyState") == "\"complete\"";
    });
  };
  callBridge(screen(0),
             "var a = document.createElement('a'); a.href = '/pages/other.html';"
             "a.target = '_blank'; document.body.appendChild(a); a.click();");
  ASSERT_TRUE(showing("/pages/other.html")) << "the link's page replaced the offerwall's";
  callBridge(screen(0), "window.open('/pages/sub.html', '_blank');");
  ASSERT_TRUE(showing("/pages/sub.html"));
  callBridge(screen(0), "window.open('itms-apps://apps.apple.com/app/id7');");
  ASSERT_TRUE(pumpUntil([&] { return opener_->opened.size() == 1; }));
  EXPECT_EQ(opener_->opened[0], "itms-apps://apps.apple.com/app/id7");
  EXPECT_EQ(screens_->presented, 1) << "no page of its own for a new window";
  EXPECT_NE(screen(0).webView().currentUrl().value_or("").find("/pages/sub.html"),
            std::string::npos);
}

TEST_F(OfferwallWeb, ARefusedConnectionShowsTheOfflinePage) {
  std::string closedBase;
  {
    devserver::DevServer gone;  // a port that refuses once this server has stopped
    gone.start();
    closedBase = gone.baseUrl();
  }
  auto root = KorvaneOfferwallViewController::create();
  root->baseUrl = closedBase + "/offerwall/";
  root->present();
  ASSERT_TRUE(pumpUntil([&] {
    return evaluate(screen(0), "document.body ? document.body.innerText : ''")
               .find("연결할 수 없음") != std::string::npos;
  }));
  EXPECT_TRUE(logged("[D/KorvaneOfferwallViewController] Showing offline UI"));
  EXPECT_TRUE(callback_->heard.empty());
  evaluate(screen(0), "document.querySelector('button').click()");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); }));
  EXPECT_EQ(callback_->heard, std::vector<std::string>{"closed"});
}

// As a web view on iOS: script dialogs show nothing (confirm() says no, prompt() gives null), and
// a load that fails at a redirect's target is still provisional.
TEST_F(OfferwallWeb, DialogsShowNothingAndAFailedRedirectIsProvisional) {
  std::string closedBase;
  {
    devserver::DevServer gone;  // a port that refuses once this server has stopped
    gone.start();
    closedBase = gone.baseUrl();
  }
  server_.setRedirect("/pages/hop.html", closedBase + "/pages/gone.html");
  auto root = openRoot("/pages/root.html");
  callBridge(screen(0),
             "setTimeout(function() {"
             "  window.__dialogs = JSON.stringify([confirm('c'), prompt('p', 'd')]); }, 0)");
  ASSERT_TRUE(pumpUntil(
      [&] { return evaluate(screen(0), "window.__dialogs || ''") == R"("[false,null]")"; }));
  callBridge(screen(0),
             "window.KorvaneBridge.openWebView('" + server_.baseUrl() + "/pages/hop.html')");
  ASSERT_TRUE(pumpUntil([&] {
    return log_.mentions(
        "[E/KorvaneOfferwallViewController] WebView provisional navigation error: ");
  }));
  EXPECT_FALSE(log_.mentions("[E/KorvaneOfferwallViewController] WebView error: "));
}

// Who may use the bridge in a real engine: the offerwall's own page gets the user's profile; a
// page from another origin (the local backend on a second port) and a cross-origin frame inside
// the trusted page get a refusal and no reply; the frame cannot pass itself off as the page.
TEST_F(OfferwallWeb, OnlyTheOfferwallsOwnOriginsMainFrameGetsTheUsersProfile) {
  devserver::DevServer other;
  ASSERT_NE(other.start(), 0);
  const std::string otherOrigin = other.baseUrl();
  other.setPage("/pages/landing.html", page("Landing"));
  // Posts at once, as the page and as if it were the page, then keeps asking.
  other.setPage(
      "/pages/framed.html",
      "<!doctype html><script>"
      "var post = function(type) { window.webkit.messageHandlers.korvaneNative"
      "  .postMessage(JSON.stringify({type: type, data: {mainFrame: true}})); };"
      "post('getUserInfo'); post('customEvent');"
      "try { parent.document.dispatchEvent(new CustomEvent("
      "  'korvane-script-message:korvaneNative', {detail: '{\"type\":\"getUserInfo\"}'}));"
      "} catch (e) { post('trackEvent'); }"
      "</script>");
  server_.setPage("/pages/framing.html", page("Framing", "<iframe src=\"" + otherOrigin +
                                                             "/pages/framed.html\"></iframe>"));

  auto root = openRoot("/pages/framing.html");
  const std::string tag = "[W/KorvaneOfferwallViewController] 🚫 Bridge message '";
  for (const char* type : {"getUserInfo", "customEvent", "trackEvent"}) {
    EXPECT_TRUE(pumpUntil([&] {
      return logged(tag + type + "' refused: sent from a sub frame (origin " + otherOrigin + ")");
    })) << type;
  }
  callBridge(screen(0), "window.KorvaneBridge.getUserInfo(function() {})");
  ASSERT_TRUE(pumpUntil([&] { return evaluate(screen(0), "window.__replies.length") == "1"; }));
  EXPECT_EQ(nlohmann::json::parse(evaluate(screen(0), "window.__replies[0]")),
            (nlohmann::json{{"userId", "web-user"}, {"gender", "M"}, {"birthYear", 1990}}));
  EXPECT_TRUE(events_->custom.empty());

  // A page of another origin opened from the offerwall.
  evaluate(screen(0), "window.KorvaneBridge.openWebView('" + otherOrigin + "/pages/landing.html')");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 2; }));
  callBridge(screen(1),
             "window.KorvaneBridge.getUserInfo(function() {});"
             "window.KorvaneBridge.openWebView('" +
                 otherOrigin + "/pages/landing.html')");
  ASSERT_TRUE(pumpUntil([&] {
    return logged(tag + "openWebView' refused: origin " + otherOrigin + " is not trusted");
  }));
  EXPECT_TRUE(logged(tag + "getUserInfo' refused: origin " + otherOrigin + " is not trusted"));
  pumpFor(200ms);
  EXPECT_EQ(evaluate(screen(1), "window.__replies.length"), "0");
  EXPECT_EQ(screens_->live.size(), 2u);
  callBridge(screen(1), "window.KorvaneBridge.close()");
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }))
      << "closing its own page is allowed";
}

// A callback name, request id or identifier carrying code never runs (each of these ran in the
// reply scripts when page text was pasted into them as it stood), and text stays text.
TEST_F(OfferwallWeb, InjectedNamesDoNotRun) {
  auto root = openRoot("/pages/root.html");
  callBridge(screen(0),
             "window.KorvaneBridge.checkAppInstalled('someapp://open', 'x||(window.__ran=1)||x');"
             "window.KorvaneBridge.requestData('points', {}, function() {});"
             "window.KorvaneBridge.postMessage('dataRequest',"
             "  {requestId: 'x||(window.__ran=2)', requestType: 'points'});"
             "window.KorvaneBridge.checkAppInstalled({identifier: 'x\"+(window.__ran=3)+\"'});");
  ASSERT_TRUE(pumpUntil([&] { return evaluate(screen(0), "window.__replies.length") == "1"; }));
  EXPECT_EQ(nlohmann::json::parse(evaluate(screen(0), "window.__replies[0]")),
            (nlohmann::json{{"installed", false}, {"identifier", "x\"+(window.__ran=3)+\""}}))
      << "not a URL, so not installed; but delivered as the page sent it";
  EXPECT_TRUE(
      logged("[W/KorvaneOfferwallViewController] checkAppInstalled: Callback name is not a "
             "plain identifier: x||(window.__ran=1)||x"));
  EXPECT_TRUE(
      logged("[W/KorvaneOfferwallViewController] dataRequest: Request id is not a plain "
             "identifier: x||(window.__ran=2)"));
  ASSERT_TRUE(pumpUntil([&] {
    for (const std::string& line : log_.messages())
      if (line.rfind("[D/KorvaneOfferwallViewController] Data response sent for request 'req_",
                     0) == 0)
        return true;
    return false;
  })) << "a well-formed request is still answered";
  pumpFor(200ms);
  EXPECT_EQ(evaluate(screen(0), "typeof window.__ran"), "\"undefined\"");
  EXPECT_TRUE(opener_->opened.empty());
}

// WebKitGTK carries a request's headers along its redirects; the identification headers must
// not reach another origin that way, while a redirect within the offerwall's origin keeps them.
// Nor does the advertising id: a page of the other origin never learns it, one of the
// offerwall's origin does.
TEST_F(OfferwallWeb, IdentificationHeadersDoNotFollowARedirectToAnotherOrigin) {
  const std::string withConfig = "<script>window.KorvaneConfig = {};</script>";
  devserver::DevServer other;
  ASSERT_NE(other.start(), 0);
  other.setPage("/pages/landing.html", page("Landing", withConfig));
  server_.setPage("/pages/configured.html", page("Configured", withConfig));
  server_.setRedirect("/pages/away.html", other.baseUrl() + "/pages/landing.html");
  server_.setRedirect("/pages/around.html", "/pages/configured.html");

  auto away = openRoot("/pages/away.html");
  ASSERT_TRUE(pumpUntil([&] {
    return evaluate(screen(0), "document.title") == "\"Landing\"" &&
           logged("[D/KorvaneOfferwallViewController] JavaScript bridge injected successfully");
  }));
  ASSERT_EQ(server_.requestsTo("/pages/away.html").size(), 1u);
  EXPECT_EQ(server_.requestsTo("/pages/away.html")[0].header("x-korvane-user-id"), "web-user");
  const auto landed = other.requestsTo("/pages/landing.html");
  ASSERT_FALSE(landed.empty());
  for (const devserver::RecordedRequest& request : landed) {
    for (const char* name : {"x-korvane-app-key", "x-korvane-user-id", "x-korvane-advertising-id"})
      EXPECT_FALSE(request.header(name)) << name << " reached " << other.baseUrl();
  }
  EXPECT_TRUE(callback_->heard.empty()) << "the stopped redirect is no load failure";
  pumpFor(200ms);
  EXPECT_EQ(evaluate(screen(0), "typeof window.KorvaneConfig.ifa"), "\"undefined\"");
  EXPECT_TRUE(
      log_.mentions("[W/KorvaneOfferwallViewController] 🚫 Offerwall address redirected "
                    "to origin " +
                    other.baseUrl() + ", which is not trusted"));
  screen(0).close();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); }));

  auto around = openRoot("/pages/around.html");
  ASSERT_TRUE(pumpUntil([&] { return !server_.requestsTo("/pages/configured.html").empty(); }));
  EXPECT_EQ(server_.requestsTo("/pages/configured.html")[0].header("x-korvane-app-key"),
            "demo-app-key");
  EXPECT_TRUE(pumpUntil([&] {
    return evaluate(screen(0), "window.KorvaneConfig && window.KorvaneConfig.ifa") ==
           "\"" + std::string(kIdfa) + "\"";
  }));
}

// The embedded view's stack: a push covers the page, a pop fades back to it with its inner
// scroller where it was; the last close reports onClosed once.
TEST_F(OfferwallWeb, EmbeddedStackRestoresTheInnerScrollerAfterAPop) {
  auto view = KorvaneOfferwallView::create();
  auto viewCallback = std::make_shared<testing::RecordingCallback>();
  view->setCallback(viewCallback);
  view->loadOfferwall(server_.baseUrl() + "/pages/scroller.html", "web-user", "demo-app-key",
                      "home");
  EXPECT_EQ(viewCallback->heard, std::vector<std::string>{"opened"});
  ASSERT_EQ(screens_->live.size(), 1u);
  Screen& base = screen(0);
  ASSERT_TRUE(pumpUntil([&] {
    return evaluate(base,
                    "typeof window.KorvaneBridge === 'object' && "
                    "document.getElementById('list') !== null") == "true";
  }));
  evaluate(base, "document.getElementById('list').scrollTop = 640");
  ASSERT_EQ(evaluate(base, "document.getElementById('list').scrollTop"), "640");

  evaluate(base, "window.KorvaneBridge.openWebView('" + server_.baseUrl() + "/pages/sub.html')");
  ASSERT_TRUE(pumpUntil([&] { return view->stackSize() == 2; }));
  ASSERT_TRUE(pumpUntil([&] {
    for (const std::string& line : log_.messages())
      if (line.rfind("[D/KorvaneOfferwallView] 💾 Saved scroll position: 640 for WebView ", 0) == 0)
        return true;
    return false;
  }));
  // The page beneath is reset, as if it had scrolled away while covered.
  evaluate(base, "document.getElementById('list').scrollTop = 0");
  callBridge(screen(1), "window.KorvaneBridge.close()");
  ASSERT_TRUE(pumpUntil([&] { return view->stackSize() == 1 && screens_->live.size() == 1; }));
  ASSERT_TRUE(pumpUntil(
      [&] { return evaluate(base, "document.getElementById('list').scrollTop") == "640"; }));
  bool restored = false;
  for (const std::string& line : log_.messages())
    restored |=
        line.rfind("[D/KorvaneOfferwallView] 📍 Restored scroll position: restored:640", 0) == 0;
  EXPECT_TRUE(restored);

  evaluate(base, "window.KorvaneBridge.close()");
  evaluate(base, "window.KorvaneBridge.close()");
  ASSERT_TRUE(pumpUntil([&] {
    return logged("[D/KorvaneOfferwallView] onClosed already fired, ignoring duplicate");
  }));
  EXPECT_EQ(viewCallback->heard, (std::vector<std::string>{"opened", "closed"}));
  EXPECT_EQ(view->stackSize(), 1u) << "the last page stays for the host to remove";
  view.reset();
  EXPECT_TRUE(screens_->live.empty());
}

// The custom bar lies over the page's top 44 pixels (pages pad their top for it), while a
// navigation container's bar sits above the page.
TEST_F(OfferwallWeb, TheCustomBarCoversThePagesTopAndTheNativeBarSitsAboveIt) {
  const struct {
    const char* name;
    bool native;
    int pageTop;  // where the web view starts in the window
    int barTop;   // where the bar starts, from the web view's top
  } cases[] = {{"custom bar", false, 0, 0}, {"native bar", true, 44, -44}};
  server_.setPage("/pages/red.html",
                  "<!doctype html><style>html, body { margin: 0; height: 100%; "
                  "background: #ff0000; }</style>");
  for (const auto& c : cases) {
    auto root = KorvaneOfferwallViewController::create();
    root->baseUrl = server_.baseUrl() + "/pages/red.html";
    root->showNavigationBar = !c.native;
    root->useNativeNavigationBar = c.native;
    root->present();
    ASSERT_EQ(screens_->live.size(), 1u) << c.name;
    GtkWidget* web = widgetOf(screen(0));
    GtkWidget* window = gtk_widget_get_toplevel(web);
    const std::vector<GtkWidget*> bars = widgetsBelow(window, [](GtkWidget* widget) {
      return std::string(gtk_widget_get_name(widget)) == "korvane-navigation-bar";
    });
    ASSERT_EQ(bars.size(), 1u) << c.name;
    GtkWidget* bar = bars[0];
    ASSERT_TRUE(pumpUntil([&] {
      return gtk_widget_get_mapped(web) && gtk_widget_get_allocated_height(web) > 100 &&
             gtk_widget_get_allocated_height(bar) > 0;
    })) << c.name;
    int x = -1, pageTop = -1, barTop = -1;
    ASSERT_TRUE(gtk_widget_translate_coordinates(web, window, 0, 0, &x, &pageTop));
    ASSERT_TRUE(gtk_widget_translate_coordinates(bar, web, 0, 0, &x, &barTop));
    EXPECT_EQ(pageTop, c.pageTop) << c.name;
    EXPECT_EQ(barTop, c.barTop) << c.name;
    EXPECT_EQ(x, 0) << c.name;
    EXPECT_EQ(gtk_widget_get_allocated_height(bar), 44) << c.name;
    EXPECT_EQ(gtk_widget_get_allocated_width(bar), gtk_widget_get_allocated_width(web)) << c.name;
    // The page shows below the bar, and the bar hides what lies under it.
    EXPECT_TRUE(pumpUntil([&] { return pixelAt(window, 130, 400) == 0xff0000; })) << c.name;
    const long underBar = pixelAt(window, 130, 22);
    EXPECT_NE(underBar, 0xff0000) << c.name;
    EXPECT_NE(underBar, -1) << c.name;
    screen(0).close();
    ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); })) << c.name;
  }
}

// The embeddable view inside a host's own window: its pages live in the container the host
// placed in its layout, no window of the SDK's appears, and the pages leave with the view.
TEST_F(OfferwallWeb, TheEmbeddedViewShowsInTheHostsContainer) {
  ASSERT_TRUE(gtk_init_check(nullptr, nullptr));  // the host's own start
  GtkWidget* hostWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(hostWindow), 360, 640);
  GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  GtkWidget* slot = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_box_pack_start(GTK_BOX(column), gtk_label_new("The host's own header"), FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(column), slot, TRUE, TRUE, 0);
  gtk_container_add(GTK_CONTAINER(hostWindow), column);
  gtk_widget_show_all(hostWindow);
  const std::size_t windows = toplevelCount();
  const auto webViewsIn = [](GtkWidget* root) {
    return widgetsBelow(root, [](GtkWidget* widget) { return WEBKIT_IS_WEB_VIEW(widget); });
  };

  auto view = KorvaneOfferwallView::create(linux_host::offerwallPageIn(slot));
  auto viewCallback = std::make_shared<testing::RecordingCallback>();
  view->setCallback(viewCallback);
  view->loadOfferwall(server_.baseUrl() + "/pages/root.html", "web-user", "demo-app-key", "home");
  EXPECT_EQ(viewCallback->heard, std::vector<std::string>{"opened"});
  ASSERT_EQ(webViewsIn(slot).size(), 1u) << "the page is in the host's container";
  GtkWidget* web = webViewsIn(slot)[0];
  EXPECT_EQ(gtk_widget_get_toplevel(web), hostWindow);
  EXPECT_EQ(toplevelCount(), windows) << "no window of its own";
  EXPECT_EQ(screens_->presented, 0);
  ASSERT_TRUE(pumpUntil([&] {
    return logged("[D/KorvaneOfferwallView] JavaScript bridge injected successfully") &&
           gtk_widget_get_allocated_height(web) > 1;
  }));
  EXPECT_EQ(gtk_widget_get_allocated_width(web), gtk_widget_get_allocated_width(slot));
  EXPECT_EQ(gtk_widget_get_allocated_height(web), gtk_widget_get_allocated_height(slot));

  // A pushed page stacks inside the same container.
  webkit_web_view_evaluate_javascript(
      WEBKIT_WEB_VIEW(web),
      ("window.KorvaneBridge.openWebView('" + server_.baseUrl() + "/pages/sub.html')").c_str(), -1,
      nullptr, nullptr, nullptr, nullptr, nullptr);
  ASSERT_TRUE(pumpUntil([&] { return view->stackSize() == 2; }));
  EXPECT_EQ(webViewsIn(slot).size(), 2u);
  EXPECT_EQ(toplevelCount(), windows);

  view.reset();
  EXPECT_TRUE(webViewsIn(slot).empty()) << "the pages left the container with the view";

  // The host may destroy its window while the offerwall shows; the view goes later.
  GtkWidget* otherWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GtkWidget* otherSlot = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_container_add(GTK_CONTAINER(otherWindow), otherSlot);
  gtk_widget_show_all(otherWindow);
  auto orphaned = KorvaneOfferwallView::create(linux_host::offerwallPageIn(otherSlot));
  orphaned->loadOfferwall(server_.baseUrl() + "/pages/root.html", "web-user", "demo-app-key",
                          "home");
  ASSERT_EQ(webViewsIn(otherSlot).size(), 1u);
  pumpFor(100ms);
  gtk_widget_destroy(otherWindow);
  pumpFor(100ms);
  orphaned.reset();

  // A container the host has destroyed is not used.
  auto late = KorvaneOfferwallView::create(linux_host::offerwallPageIn(slot));
  late->setCallback(viewCallback);
  gtk_widget_destroy(hostWindow);
  late->loadOfferwall(server_.baseUrl() + "/pages/root.html", "web-user", "demo-app-key", "home");
  EXPECT_EQ(
      viewCallback->heard,
      (std::vector<std::string>{"opened", "error:Failed to load offerwall: the view is gone"}));
  EXPECT_EQ(toplevelCount(), windows - 1);
}

// Placements against the sample offerwall web app: a mission landing page and a quiz page report
// back through the bridge, and adjoe's page receives the user's data as query items.
TEST_F(OfferwallWeb, PlacementPagesReportBackAndAdjoeGetsTheUsersData) {
  struct Heard final : KorvaneMissionEventsListener, KorvaneQuizEventsListener {
    std::vector<std::string> lines;
    void onClicked(const Mission& m) override { lines.push_back("clicked " + m.id); }
    void onImpressed(const Mission&) override {}
    void onCompleted(const Mission& m) override { lines.push_back("completed " + m.id); }
    void onProgressed(const Mission& m) override { lines.push_back("progressed " + m.id); }
    void onRefreshed(const std::optional<std::string>&) override {}
    void onImpressed(const QuizEvent&) override {}
    void onClicked(const QuizEvent& q) override { lines.push_back("clicked " + q.id); }
    void onQuizCompleted(const QuizEvent& q, int amount) override {
      lines.push_back("completed " + q.id + " " + std::to_string(amount));
    }
  };
  auto heard = std::make_shared<Heard>();
  auto missions = KorvaneMission::create();
  missions->setEventsListener(heard);
  bool loaded = false;
  missions->load([&](const std::vector<Mission>&, MissionProgress) { loaded = true; }, nullptr);
  ASSERT_TRUE(pumpUntil([&] { return loaded; }));
  missions->clickMission("mission-2", nullptr);
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  callBridge(screen(0),
             "document.getElementById('progress').click();"
             "document.getElementById('complete').click()");
  ASSERT_TRUE(pumpUntil([&] { return heard->lines.size() == 3; }));
  EXPECT_EQ(heard->lines, (std::vector<std::string>{"clicked mission-2", "progressed mission-2",
                                                    "completed mission-2"}));
  screen(0).close();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); }));

  auto quiz = KorvaneQuiz::create();
  quiz->setQuizEventsListener(heard);
  loaded = false;
  quiz->load([&](const QuizResponse&) { loaded = true; }, nullptr);
  ASSERT_TRUE(pumpUntil([&] { return loaded; }));
  heard->lines.clear();
  quiz->clickQuiz("quiz-1", nullptr);
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.size() == 1; }));
  callBridge(screen(0),
             "document.getElementById('right-answer').click();"
             "document.getElementById('submit').click()");
  ASSERT_TRUE(pumpUntil([&] { return heard->lines.size() == 2; }));
  EXPECT_EQ(heard->lines, (std::vector<std::string>{"clicked quiz-1", "completed quiz-1 50"}));
  const auto quizPage = server_.requestsTo("/offerwall/quiz.html");
  ASSERT_EQ(quizPage.size(), 1u);
  EXPECT_NE(quizPage[0].target.find("&quiz_id=quiz-1&quiz_title=Quiz%201&context=quiz&"),
            std::string::npos);
  screen(0).close();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); }));

  sdk_.openAdjoeOfferwall(nullptr, "wall", nullptr);
  ASSERT_TRUE(pumpUntil([&] { return !server_.requestsTo("/offerwall/adjoe.html").empty(); }));
  EXPECT_TRUE(screens_->lastOptions.inNavigationContainer);
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  // adjoe's items in their order, then the offerwall's own.
  const std::string target = server_.requestsTo("/offerwall/adjoe.html")[0].target;
  EXPECT_EQ(target.rfind("/offerwall/adjoe.html?user_id=web-user&idfa=" + std::string(kIdfa) +
                             "&placement=wall&gender=male&age=" +
                             std::to_string(local.tm_year + 1900 - 1990) + "&user_id=web-user&",
                         0),
            0u)
      << target;
}

}  // namespace
}  // namespace korvane
