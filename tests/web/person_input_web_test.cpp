// The test helper that clicks as a person does (tests/support/person_input.h), in a real
// offerwall: WebKitGTK must take its clicks for a person's (a trusted event, a navigation with a
// user gesture), and a script's element.click() for neither.
#include <gtest/gtest.h>
#include <webkit2/webkit2.h>

#include <string>
#include <utility>
#include <vector>

#include "fake_platform.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "person_input.h"
#include "webkit_session.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

const char* kPage = R"(<!doctype html><html><head><meta charset="utf-8"><style>
  body { margin: 0; height: 2000px; }
  #record, #app { position: absolute; left: 40px; width: 200px; height: 60px; }
  #record { top: 200px; } #app { top: 1500px; display: block; }
</style></head><body>
<button id="record">Record</button><a id="app" href="hostileapp://person-link">Open the app</a>
<script>
window.__clicks = [];
document.getElementById('record').addEventListener('click', function(event) {
  window.__clicks.push('trusted ' + event.isTrusted);
});
</script></body></html>)";

// Every navigation WebKit asks any web view about, with its user gesture as WebKit reports it,
// seen before any handler (the SDK's decides and stops the signal).
class NavigationGestures {
 public:
  NavigationGestures()
      : type_(g_type_class_ref(WEBKIT_TYPE_WEB_VIEW)),
        signal_(g_signal_lookup("decide-policy", WEBKIT_TYPE_WEB_VIEW)),
        hook_(g_signal_add_emission_hook(signal_, 0, &NavigationGestures::seen, this, nullptr)) {}
  ~NavigationGestures() {
    g_signal_remove_emission_hook(signal_, hook_);
    g_type_class_unref(type_);
  }
  NavigationGestures(const NavigationGestures&) = delete;
  NavigationGestures& operator=(const NavigationGestures&) = delete;

  // The user gesture of the last navigation to `url`, if WebKit asked about one.
  std::optional<bool> gestureOf(const std::string& url) const {
    std::optional<bool> gesture;
    for (const auto& [asked, withGesture] : asked_)
      if (asked == url) gesture = withGesture;
    return gesture;
  }

 private:
  static gboolean seen(GSignalInvocationHint*, guint count, const GValue* values, gpointer data) {
    if (count < 3) return TRUE;
    const auto type = static_cast<WebKitPolicyDecisionType>(g_value_get_enum(&values[2]));
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return TRUE;
    auto* decision = WEBKIT_NAVIGATION_POLICY_DECISION(g_value_get_object(&values[1]));
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(decision);
    static_cast<NavigationGestures*>(data)->asked_.emplace_back(
        webkit_uri_request_get_uri(webkit_navigation_action_get_request(action)),
        webkit_navigation_action_is_user_gesture(action));
    return TRUE;
  }

  gpointer type_;  // the class stays, so that its signal does
  guint signal_;
  gulong hook_;
  std::vector<std::pair<std::string, bool>> asked_;
};

class PersonInput : public testing::WebKitSession<> {
 protected:
  void SetUp() override {
    startSession({.networkSession = "SESSION-PERSON-INPUT",
                  .dataFolder = "korvane-person-input",
                  .userId = "person-input-user",
                  .advertisingId = "6D92078A-8246-4BA4-AE5B-76104861E7DC",
                  .opener = opener_,
                  .events = nullptr,
                  .prompt = prompt_});
    if (HasFatalFailure()) return;
    server_.setPage("/pages/person.html", kPage);
  }
  void TearDown() override { endSession(); }

  std::shared_ptr<testing::FakeUrlOpener> opener_ = std::make_shared<testing::FakeUrlOpener>();
  std::shared_ptr<testing::FakePersonPrompt> prompt_ =
      std::make_shared<testing::FakePersonPrompt>();
};

// The page's own scripts first, then a person's clicks on the same elements.
TEST_F(PersonInput, ASynthesisedClickIsAPersonsAndAScriptedClickIsNot) {
  NavigationGestures gestures;
  auto offerwall = offerwallFor("/pages/person.html");
  offerwall->present();
  ASSERT_EQ(screens_->live.size(), 1u);
  Screen& page = screen(0);
  ASSERT_TRUE(pumpUntil([&] {
    return evaluate(page,
                    "document.readyState === 'complete' && "
                    "typeof window.KorvaneBridge === 'object'") == "true";
  }));

  // A script's clicks: an untrusted event, a navigation without a gesture, nothing opened.
  testing::runAsPageScript(page, "document.getElementById('record').click()");
  ASSERT_TRUE(pumpUntil([&] { return evaluate(page, "window.__clicks.length") == "1"; }));
  EXPECT_EQ(evaluate(page, "window.__clicks[0]"), R"("trusted false")");
  testing::runAsPageScript(page, "document.getElementById('app').click()");
  ASSERT_TRUE(
      pumpUntil([&] { return gestures.gestureOf("hostileapp://person-link").has_value(); }));
  EXPECT_FALSE(*gestures.gestureOf("hostileapp://person-link"));
  pumpFor(200ms);
  EXPECT_TRUE(opener_->opened.empty()) << opener_->opened.front();

  // A person's: trusted; the link's navigation carries the gesture, and the SDK opens the app for
  // it. The page's transient activation is not read: on a loaded machine WebKit sometimes has it
  // consumed between the press and the click, and the SDK decides on the gesture, not on it. The
  // link lies below the fold, so the page scrolls to it first. The person said no when the script
  // tried that app, so the SDK asks once more: yes.
  ASSERT_EQ(prompt_->asked.size(), 1u);
  prompt_->yes = true;
  ASSERT_TRUE(testing::clickElement(page, "#record"));
  ASSERT_TRUE(pumpUntil([&] { return evaluate(page, "window.__clicks.length") == "2"; }));
  EXPECT_EQ(evaluate(page, "window.__clicks[1]"), R"("trusted true")");
  ASSERT_TRUE(testing::clickElement(page, "#app"));
  ASSERT_TRUE(pumpUntil([&] { return gestures.gestureOf("hostileapp://person-link") == true; }));
  ASSERT_TRUE(pumpUntil([&] { return !opener_->opened.empty(); }));
  EXPECT_EQ(opener_->opened, std::vector<std::string>{"hostileapp://person-link"});
  EXPECT_EQ(prompt_->asked.size(), 2u);

  EXPECT_FALSE(testing::clickElement(page, "#no-such-element"));
}

}  // namespace
}  // namespace korvane
