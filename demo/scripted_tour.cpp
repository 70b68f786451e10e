// The demo session driven by itself: everything a person would click, with the native effect
// of each step checked.
#include <ctime>
#include <filesystem>

#include "demo_session.h"
#include "korvane/linux/gtk_screens.h"
#include "korvane/linux/linux_platform.h"
#include "page_driver.h"

namespace korvane::demo {
namespace {

using namespace std::chrono_literals;

class Tour {
 public:
  explicit Tour(DemoSession& session)
      : session_(session),
        presenter_(std::dynamic_pointer_cast<linux_host::GtkScreenPresenter>(
            linux_host::screenPresenter())) {}

  bool run() {
    if (!session_.expect(presenter_ != nullptr, "the WebKitGTK screens are built in")) return false;
    loadPlacements();
    if (!offerwall()) return false;
    missionsInTheOfferwall();
    subPages();
    bridgePlayground();
    adjoeFromThePage();
    closeOfferwall();
    quizFromTheHost();
    rewardPage();
    session_.step("Telemetry");
    session_.expect(session_.drainTelemetry(20s), "every tracked event reaches the backend");
    return session_.failures() == 0;
  }

 private:
  Screen* top() const {
    const std::vector<Screen*> screens = presenter_->liveScreens();
    return screens.empty() ? nullptr : screens.back();
  }
  std::size_t screenCount() const { return presenter_->liveScreens().size(); }

  // A page value that is text, without its JSON quotes.
  std::string text(const std::string& script) {
    const std::string value = eval(script);
    const JsonValue parsed = JsonValue::parse(value, nullptr, false);
    return parsed.is_string() ? parsed.get<std::string>() : value;
  }
  std::string eval(const std::string& script) {
    Screen* screen = top();
    if (!screen) return "no page";
    return evaluate(*screen, script).value_or("failed");
  }
  // Waits until the page on top is `file` (by path ending) and its bridge is in.
  bool onPage(const std::string& file) {
    const std::string script =
        "location.pathname.endsWith(" + jsString(file) + ") && window.korvaneReady === true";
    return session_.expect(pumpUntil([&] { return top() && eval(script) == "true"; }, 15s),
                           "the page " + file + " shows");
  }
  void click(const std::string& selector) {
    const std::string clicked =
        eval("(function(){ var e = document.querySelector(" + jsString(selector) +
             "); if (!e) return false; e.click(); return true; })()");
    session_.expect(clicked == "true", "a " + selector + " to click");
  }
  bool heard(const std::string& line, std::chrono::milliseconds timeout = 5s) {
    return session_.expect(pumpUntil([&] { return session_.heard().contains(line); }, timeout),
                           "the host hears \"" + line + "\"");
  }

  void loadPlacements() {
    session_.step("Load the placements");
    std::optional<std::size_t> missions;
    session_.missions()->load(
        [&](const std::vector<Mission>& list, MissionProgress progress) {
          missions = list.size();
          session_.say("  missions: " + std::to_string(list.size()) + " loaded, progress " +
                       std::to_string(progress.current) + "/" + std::to_string(progress.total));
        },
        [&](KorvaneAdError error) {
          session_.say(std::string("  missions failed: ") + localizedDescription(error));
          missions = 0;
        },
        true);
    session_.expect(pumpUntil([&] { return missions.has_value(); }) && missions == 3u,
                    "three missions");
    session_.expect(session_.heard().contains("mission impressed mission-3"),
                    "an impression for each mission");

    std::optional<std::size_t> quizzes;
    session_.quiz()->load(
        [&](const QuizResponse& r) {
          quizzes = r.events.size();
          session_.say("  quizzes: " + std::to_string(r.events.size()) + " loaded");
        },
        [&](KorvaneAdError) { quizzes = 0; }, true);
    session_.expect(pumpUntil([&] { return quizzes.has_value(); }) && quizzes > 0u,
                    "the quizzes load");

    std::optional<std::string> banner;
    KorvaneBanner::shared().getBanner(
        "demo-banner",
        [&](const BannerInfoResponse& b) {
          banner = b.titleText.value_or("");
          session_.say("  banner: \"" + *banner + "\" " + std::to_string(b.imageWidth.value_or(0)) +
                       "×" + std::to_string(b.imageHeight.value_or(0)) + " → " +
                       b.internalLinkUrl.value_or(""));
        },
        [&](KorvaneAdError error) { banner = localizedDescription(error); });
    session_.expect(pumpUntil([&] { return banner.has_value(); }) && !banner->empty(),
                    "a banner for the placement");
  }

  bool offerwall() {
    session_.step("Open the offerwall");
    KorvaneSdk::shared().openOfferwall(nullptr, "demo-home", session_.offerwallCallback(),
                                       session_.eventCallback());
    if (!onPage("/offerwall/")) return false;
    session_.say("  showing \"" + text("document.title") + "\" with " +
                 eval("document.querySelectorAll('.offer').length") + " offers");
    if (session_.options().screenshot) {
      const std::string& path = *session_.options().screenshot;
      // The first paint can come late (a cold font cache): wait for a picture with content,
      // within bounds, and never save a blank one.
      std::filesystem::remove(path);
      pumpFor(400ms);  // let the page finish painting once it has started
      const bool saved = pumpUntil([&] { return linux_host::saveScreenshot(*top(), path); });
      if (session_.expect(saved && std::filesystem::file_size(path) > 0,
                          "a screenshot that shows the page"))
        session_.say("  📸 screenshot saved to " + path);
    }
    return true;
  }

  void missionsInTheOfferwall() {
    session_.step("Missions inside the offerwall");
    click("#open-missions");
    if (!onPage("missions.html")) return;
    pumpUntil([&] { return eval("window.missionsShown") == "3"; });
    click("#mission-2 button");
    if (!onPage("mission.html")) return;
    click("#progress");
    heard("mission progressed mission-2");
    click("#complete");
    heard("mission completed mission-2");
    click("#back");
    if (!onPage("missions.html")) return;
    click("#refresh");
    heard("missions refresh asked (demo-unit)");
    click("#back");
    onPage("/offerwall/");
  }

  void subPages() {
    session_.step("Stacked sub pages");
    const std::size_t before = screenCount();
    click("#open-subpages");
    if (!onPage("subpages.html")) return;
    click("#push");
    session_.expect(pumpUntil([&] { return screenCount() == before + 2; }),
                    "a second sub page on the first");
    onPage("subpages.html");
    click("#replace");
    session_.expect(pumpUntil([&] {
                      return text("document.getElementById('title').textContent") ==
                             "하위 페이지 2 (교체됨)";
                    }),
                    "the page replaced in place");
    click("#back");
    session_.expect(pumpUntil([&] { return screenCount() == before + 1; }), "one page popped");
    onPage("subpages.html");
    click("#back");
    onPage("/offerwall/");
    session_.say("  pushed 2, replaced 1, popped 2");
  }

  void bridgePlayground() {
    session_.step("Every bridge message");
    click("#open-bridge");
    if (!onPage("bridge.html")) return;
    click("#run-all");
    session_.expect(pumpUntil([&] { return eval("window.bridgeRunDone === true") == "true"; }),
                    "every step answered");
    const std::string results = text("demoApp.results.join(' | ')");
    for (const char* expected : {"demo-user", "12400", "\"installed\":", "reward_claimed"})
      session_.expect(results.find(expected) != std::string::npos,
                      std::string("the page got ") + expected);
    heard("custom event reward_claimed {\"points\":120}");
    heard("missions refresh asked (demo-unit)");
    session_.say("  page log: " + results);
    click("#back");
    onPage("/offerwall/");
  }

  void adjoeFromThePage() {
    session_.step("adjoe PlaytimeWeb, asked for by the page");
    const std::size_t before = screenCount();
    click("#open-adjoe");
    if (!session_.expect(pumpUntil([&] { return screenCount() == before + 1; }),
                         "the adjoe offerwall opens"))
      return;
    if (!onPage("adjoe.html")) return;
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    const std::string age = std::to_string(local.tm_year + 1900 - 1994);
    const std::pair<const char*, std::string> items[] = {
        {"user_id", "demo-user"},
        {"idfa", "00000000-0000-0000-0000-000000000000"},
        {"placement", "demo-adjoe"},
        {"gender", "female"},
        {"age", age}};
    for (const auto& [key, value] : items) {
      const std::string shown =
          text("document.getElementById('item-" + std::string(key) + "').textContent");
      session_.expect(shown == value, std::string("adjoe gets ") + key + "=" + value);
      session_.say("  " + std::string(key) + " = " + shown);
    }
    click("#close");
    session_.expect(pumpUntil([&] { return screenCount() == before; }), "adjoe closes");
  }

  void closeOfferwall() {
    session_.step("Close the offerwall");
    onPage("/offerwall/");
    click("#close");
    session_.expect(pumpUntil([&] { return screenCount() == 0; }), "the offerwall closes");
  }

  void quizFromTheHost() {
    session_.step("A quiz opened by the host app");
    session_.quiz()->clickQuiz("quiz-1", nullptr);
    heard("quiz clicked quiz-1");
    if (!onPage("quiz.html")) return;
    click("#right-answer");
    click("#submit");
    heard("quiz completed quiz-1 reward 50");
    click("#finish");
    session_.expect(pumpUntil([&] { return screenCount() == 0; }), "the quiz closes");
  }

  void rewardPage() {
    session_.step("The missions' reward page");
    session_.missions()->onRewardButtonClicked(nullptr);
    if (!onPage("reward.html")) return;
    click("#close");
    session_.expect(pumpUntil([&] { return screenCount() == 0; }), "the reward page closes");
  }

  DemoSession& session_;
  std::shared_ptr<linux_host::GtkScreenPresenter> presenter_;
};

}  // namespace

bool runScriptedTour(DemoSession& session) {
  return Tour(session).run();
}

}  // namespace korvane::demo
