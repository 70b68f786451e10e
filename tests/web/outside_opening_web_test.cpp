// Who sends the person out of the app, in real offerwalls on WebKitGTK: the person's real click
// (GDK events through GTK, as the display server delivers them) carries an offer through a click
// tracker on another origin, two server redirects and a landing page whose script sends the
// person to the App Store; a page that tries on a timer opens nothing unless the person says yes;
// and what a page points at an app while a trusted address loads slowly opens nothing either.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fake_platform.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "person_input.h"
#include "webkit_session.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* kStore = "itms-apps://apps.apple.com/app/id1";

class OutsideOpeningWeb : public testing::WebKitSession<> {
 protected:
  void SetUp() override {
    startSession({.networkSession = "SESSION-OUTSIDE-OPENING",
                  .dataFolder = "korvane-outside-opening",
                  .userId = "outside-opening-user",
                  .advertisingId = "6D92078A-8246-4BA4-AE5B-76104861E7DC",
                  .opener = opener_,
                  .events = nullptr,
                  .prompt = prompt_});
    if (HasFatalFailure()) return;
    ASSERT_NE(other_.start(), 0);
  }
  void TearDown() override { endSession(); }

  // Opens the offerwall at `path` of the trusted backend and waits for its bridge.
  Screen& openWall(const std::string& path) {
    offerwall_ = offerwallFor(path);
    offerwall_->present();
    EXPECT_EQ(screens_->live.size(), 1u);
    Screen& page = screen(0);
    EXPECT_TRUE(pumpUntil([&] {
      return evaluate(page,
                      "document.readyState === 'complete' && "
                      "typeof window.KorvaneBridge === 'object'") == "true";
    }));
    return page;
  }

  std::shared_ptr<testing::FakeUrlOpener> opener_ = std::make_shared<testing::FakeUrlOpener>();
  std::shared_ptr<testing::FakePersonPrompt> prompt_ =
      std::make_shared<testing::FakePersonPrompt>();
  devserver::DevServer other_;  // another port: another origin (the tracker, the advertiser)
  std::shared_ptr<KorvaneOfferwallViewController> offerwall_;
};

// The offerwall's main flow: the person taps an offer; its click tracker redirects twice (the
// second a second late) to the advertiser's landing page, whose script sends the person to the
// App Store 300 ms after load. The App Store opens once, and nobody is asked.
TEST_F(OutsideOpeningWeb, APersonsTapOnAnOfferReachesTheStoreThroughTrackerAndLandingPage) {
  other_.setRedirect("/pages/click", other_.baseUrl() + "/pages/hop");
  other_.setRedirect("/pages/hop", other_.baseUrl() + "/pages/landing.html", 1s);
  other_.setPage("/pages/landing.html",
                 std::string(R"(<!doctype html><html><body><h1>Install</h1><script>
window.addEventListener('load', function() {
  setTimeout(function() { location.href = ')") +
                     kStore + R"('; }, 300);
});</script></body></html>)");
  server_.setPage("/pages/wall.html",
                  R"(<!doctype html><html><body style="margin:0">
<a id="offer" style="display:block;width:300px;height:120px;background:#eee" href=")" +
                      other_.baseUrl() + R"(/pages/click">Offer</a></body></html>)");
  Screen& wall = openWall("/pages/wall.html");
  ASSERT_TRUE(testing::clickElement(wall, "#offer"));
  ASSERT_TRUE(pumpUntil([&] { return !opener_->opened.empty(); }, 15s))
      << "the landing page's script was not let through";
  pumpFor(1s);
  EXPECT_EQ(opener_->opened, std::vector<std::string>{kStore});
  EXPECT_TRUE(prompt_->asked.empty());
  EXPECT_FALSE(other_.requestsTo("/pages/landing.html").empty());
}

// Pages that open an app on a timer, with no touch: the top page and a frame of the wall. Each
// asks the person; with a no nothing opens, and the page is not asked again; with a yes each
// question answered opens once.
TEST_F(OutsideOpeningWeb, APageThatTriesOnATimerOpensNothingWithoutThePersonsYes) {
  const std::string timer = R"(<!doctype html><html><body><script>
setInterval(function() { location.href = 'timerapp://again'; }, 200);
</script></body></html>)";
  other_.setPage("/pages/timer.html", timer);
  server_.setRedirect("/pages/away.html", other_.baseUrl() + "/pages/timer.html");
  server_.setPage("/pages/framing.html", "<!doctype html><html><body><iframe src=\"" +
                                             other_.baseUrl() +
                                             "/pages/timer.html\"></iframe></body></html>");
  for (const char* path : {"/pages/away.html", "/pages/framing.html"}) {
    for (const bool yes : {false, true}) {
      SCOPED_TRACE(std::string(path) + (yes ? ": the person says yes" : ": the person says no"));
      opener_->opened.clear();
      prompt_->asked.clear();
      prompt_->yes = yes;
      offerwall_ = offerwallFor(path);
      offerwall_->present();
      ASSERT_TRUE(pumpUntil([&] { return !prompt_->asked.empty(); }, 10s));
      pumpFor(1500ms);  // seven more tries
      if (yes) {
        EXPECT_EQ(opener_->opened.size(), prompt_->asked.size());
      } else {
        EXPECT_TRUE(opener_->opened.empty());
        EXPECT_EQ(prompt_->asked.size(), 1u) << "one question; the no holds";
      }
      screen(0).close();
      ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); }));
    }
  }
}

// While the trusted address is loading, the document still shown is not the trusted page: an
// untrusted page that asks for the wall again ("retry") and then points frames at an app, and an
// ad frame of the wall while the wall goes to a slow address of its own, open nothing.
TEST_F(OutsideOpeningWeb, WhatAPageDoesWhileATrustedAddressLoadsSlowlyOpensNothing) {
  const std::string frames = R"(
function frames() {
  setInterval(function() {
    var frame = document.createElement('iframe');
    frame.src = 'hostileapp://while-loading';
    document.body.appendChild(frame);
    try { location.href = 'hostileapp://top'; } catch (e) {}
  }, 50);
})";
  other_.setPage("/pages/retry.html", R"(<!doctype html><html><body><script>)" + frames + R"(
window.webkit.messageHandlers.korvaneNative.postMessage(JSON.stringify({ type: 'retry' }));
frames();
</script></body></html>)");
  other_.setPage("/pages/ad.html", R"(<!doctype html><html><body><script>)" + frames + R"(
frames();
</script></body></html>)");
  // The wall's address leads to the untrusted page, and answers late.
  server_.setRedirect("/pages/slow-away.html", other_.baseUrl() + "/pages/retry.html", 1500ms);
  server_.setPage("/pages/slow.html", "<!doctype html><html><body>Slow</body></html>");
  server_.setDelay("/pages/slow.html", 3s);
  server_.setPage("/pages/wall-with-ad.html", "<!doctype html><html><body><iframe src=\"" +
                                                  other_.baseUrl() +
                                                  "/pages/ad.html\"></iframe></body></html>");

  offerwall_ = offerwallFor("/pages/slow-away.html");
  offerwall_->present();
  ASSERT_TRUE(pumpUntil([&] { return !other_.requestsTo("/pages/retry.html").empty(); }, 10s));
  pumpFor(4s);
  EXPECT_EQ(opener_->opened, std::vector<std::string>{});
  EXPECT_EQ(server_.requestsTo("/pages/slow-away.html").size(), 1u) << "the retry was refused";
  screen(0).close();
  ASSERT_TRUE(pumpUntil([&] { return screens_->live.empty(); }));

  Screen& wall = openWall("/pages/wall-with-ad.html");
  ASSERT_TRUE(pumpUntil([&] { return !other_.requestsTo("/pages/ad.html").empty(); }));
  testing::runAsPageScript(wall, "location.href = '/pages/slow.html'");
  pumpFor(4s);
  EXPECT_EQ(opener_->opened, std::vector<std::string>{});
  EXPECT_FALSE(prompt_->asked.empty()) << "the person was asked, and said no";
}

}  // namespace
}  // namespace korvane
