// Mission, quiz, banner and adjoe placements over the fake platform and a scripted backend.
#include <gtest/gtest.h>

#include "korvane/placements/korvane_banner.h"
#include "korvane/placements/korvane_mission.h"
#include "korvane/placements/korvane_quiz.h"
#include "placements/adjoe_manager.h"
#include "placements/placement_registry.h"
#include "signed_in_sdk.h"

namespace korvane {
namespace {

using testing::RecordingCallback;

constexpr const char* kZeroId = "00000000-0000-0000-0000-000000000000";

Mission mission(int n, std::optional<std::int64_t> order = std::nullopt) {
  Mission m;
  m.id = "m" + std::to_string(n);
  m.title = "Mission " + std::to_string(n);
  m.landingUrl = "https://hub.example/mission?id=" + m.id;
  m.impressionOrder = order;
  m.placementId = "mp";
  return m;
}

QuizEvent quiz(int n, std::string point = "50") {
  QuizEvent q;
  q.id = "q" + std::to_string(n);
  q.title = "Quiz " + std::to_string(n);
  q.landingUrl = "https://hub.example/quiz?id=" + q.id;
  q.point = std::move(point);
  q.impressionOrder = n;
  return q;
}

// Writes down every call with the mission or quiz it was about.
struct Journal {
  std::vector<std::string> lines;
};

class MissionListener final : public KorvaneMissionEventsListener {
 public:
  explicit MissionListener(Journal& journal, std::string name = "L")
      : journal_(journal), name_(std::move(name)) {}
  void onClicked(const Mission& m) override { note("clicked " + m.id); }
  void onImpressed(const Mission& m) override { note("impressed " + m.id); }
  void onCompleted(const Mission& m) override { note("completed " + m.id); }
  void onProgressed(const Mission& m) override { note("progressed " + m.id); }
  void onRefreshed(const std::optional<std::string>& unit) override {
    note("refreshed " + unit.value_or("nil"));
  }

 private:
  void note(const std::string& line) { journal_.lines.push_back(name_ + " " + line); }
  Journal& journal_;
  std::string name_;
};

class QuizListener final : public KorvaneQuizEventsListener {
 public:
  explicit QuizListener(Journal& journal) : journal_(journal) {}
  void onImpressed(const QuizEvent& q) override { journal_.lines.push_back("impressed " + q.id); }
  void onClicked(const QuizEvent& q) override { journal_.lines.push_back("clicked " + q.id); }
  void onQuizCompleted(const QuizEvent& q, int amount) override {
    journal_.lines.push_back("completed " + q.id + " " + std::to_string(amount));
  }

 private:
  Journal& journal_;
};

class PlacementsTest : public testing::SignedInSdk {
 protected:
  std::vector<std::string> eventNames() {
    std::vector<std::string> names;
    for (const TrackEventRequest& e : deliveredEvents()) names.push_back(e.name);
    return names;
  }
  // The events delivered so far whose name is `name`, as their text parameters.
  std::vector<std::vector<std::pair<std::string, std::string>>> parameters(
      const std::string& name) {
    std::vector<std::vector<std::pair<std::string, std::string>>> found;
    for (const TrackEventRequest& e : deliveredEvents())
      if (e.name == name) found.push_back(e.parameters);
    return found;
  }
  void loadMissions(KorvaneMission& placement, std::vector<Mission> missions) {
    MissionResponse response;
    response.events = std::move(missions);
    response.current = 1;
    response.total = 3;
    response.rewardUrl = "https://hub.example/reward";
    api_->missionAnswer = response;
    placement.load(nullptr, nullptr);
    settle();
  }
  Journal journal_;
};

TEST_F(PlacementsTest, MissionLoadReportsEveryImpressionInOrderBeforeSuccess) {
  auto placement = KorvaneMission::create();
  placement->setEventsListener(std::make_shared<MissionListener>(journal_));
  MissionResponse response;
  response.events = {mission(1, 1), mission(2, 2), mission(3)};
  response.current = 1;
  response.total = 3;
  api_->missionAnswer = response;
  placement->load(
      [&](const std::vector<Mission>& missions, MissionProgress progress) {
        journal_.lines.push_back("success " + std::to_string(missions.size()) + " " +
                                 std::to_string(progress.current) + "/" +
                                 std::to_string(progress.total));
      },
      nullptr);
  EXPECT_TRUE(journal_.lines.empty()) << "results arrive on the main thread";
  settle();
  EXPECT_EQ(journal_.lines, (std::vector<std::string>{"L impressed m1", "L impressed m2",
                                                      "L impressed m3", "success 3 1/3"}));
  EXPECT_EQ(api_->contentCalls(),
            std::vector<std::string>{std::string("getMissions u1 iOS ") + kZeroId});
  EXPECT_TRUE(
      log_.contains("[I/KorvaneMission] Loaded 3 missions, progress: 1/3, reward_url: nil"));
  using Params = std::vector<std::pair<std::string, std::string>>;
  EXPECT_EQ(parameters("mission_impressed"), (std::vector<Params>{{{"missionId", "m1"},
                                                                   {"missionTitle", "Mission 1"},
                                                                   {"impressionOrder", "1"},
                                                                   {"placementId", "mp"}},
                                                                  {{"missionId", "m2"},
                                                                   {"missionTitle", "Mission 2"},
                                                                   {"impressionOrder", "2"},
                                                                   {"placementId", "mp"}},
                                                                  {{"missionId", "m3"},
                                                                   {"missionTitle", "Mission 3"},
                                                                   {"impressionOrder", ""},
                                                                   {"placementId", "mp"}}}));
  EXPECT_EQ(placement->getMissions().size(), 3u);
  EXPECT_EQ(placement->getMission("m2")->title, "Mission 2");
  EXPECT_FALSE(placement->getMission("m9"));
}

TEST_F(PlacementsTest, LoadRefusalsAndFailuresReachOnFailure) {
  struct Case {
    const char* name;
    std::function<void()> arrange;
    KorvaneAdError expected;
    const char* logged;
    bool requests;
  };
  const std::vector<Case> cases = {
      {"not initialised", [&] { forgetInitialisation(); }, KorvaneAdError::notInitialized,
       "SDK not initialized", false},
      {"logged out", [&] { sdk_.logout(); }, KorvaneAdError::notInitialized, "User not logged in",
       false},
      {"transport failure", [] {}, KorvaneAdError::loadFailed, "Error loading ", true},
  };
  for (const Case& c : cases) {
    c.arrange();
    const std::size_t before = api_->contentCalls().size();
    std::vector<KorvaneAdError> missionErrors, quizErrors;
    auto missions = KorvaneMission::create();
    auto quizzes = KorvaneQuiz::create();
    missions->load(nullptr, [&](KorvaneAdError e) { missionErrors.push_back(e); });
    quizzes->load(nullptr, [&](KorvaneAdError e) { quizErrors.push_back(e); });
    EXPECT_TRUE(missionErrors.empty() && quizErrors.empty()) << c.name << ": on the main thread";
    settle();
    EXPECT_EQ(missionErrors, std::vector<KorvaneAdError>{c.expected}) << c.name;
    EXPECT_EQ(quizErrors, std::vector<KorvaneAdError>{c.expected}) << c.name;
    EXPECT_EQ(api_->contentCalls().size() - before, c.requests ? 2u : 0u) << c.name;
    EXPECT_TRUE(log_.mentions(c.logged)) << c.name;
    log_.clear();
    TearDown();
    SetUp();
  }
}

// The host may let a placement go while it loads: the load still ends in its success.
TEST_F(PlacementsTest, ALoadOutlivingItsPlacementStillEndsInSuccess) {
  MissionResponse missions;
  missions.events = {mission(1)};
  api_->missionAnswer = missions;
  QuizResponse quizzes;
  quizzes.events = {quiz(1), quiz(2)};
  api_->quizAnswer = quizzes;
  auto missionPlacement = KorvaneMission::create();
  auto quizPlacement = KorvaneQuiz::create();
  missionPlacement->load(
      [&](const std::vector<Mission>& m, MissionProgress) {
        journal_.lines.push_back("missions " + std::to_string(m.size()));
      },
      [&](KorvaneAdError) { journal_.lines.push_back("mission failure"); });
  quizPlacement->load(
      [&](const QuizResponse& r) {
        journal_.lines.push_back("quizzes " + std::to_string(r.events.size()));
      },
      [&](KorvaneAdError) { journal_.lines.push_back("quiz failure"); });
  missionPlacement.reset();
  quizPlacement.reset();
  settle();
  EXPECT_EQ(journal_.lines, (std::vector<std::string>{"missions 1", "quizzes 2"}));
  EXPECT_TRUE(parameters("mission_impressed").empty() && parameters("quiz_impressed").empty());
}

TEST_F(PlacementsTest, RefreshNotifiesEachDistinctListenerOnceAndRecordsOneEvent) {
  auto shared = std::make_shared<MissionListener>(journal_, "shared");
  auto a = KorvaneMission::create();
  auto b = KorvaneMission::create();
  auto c = KorvaneMission::create();
  auto silent = KorvaneMission::create();
  a->setEventsListener(shared);
  b->setEventsListener(shared);
  c->setEventsListener(std::make_shared<MissionListener>(journal_, "own"));
  {
    auto gone = KorvaneMission::create();
    gone->setEventsListener(shared);
  }
  KorvaneMission::refreshMissionList("unit-7");
  EXPECT_EQ(journal_.lines,
            (std::vector<std::string>{"shared refreshed unit-7", "own refreshed unit-7"}));
  EXPECT_TRUE(log_.contains("[D/KorvaneMission] Skipping duplicate notification for listener"));
  EXPECT_TRUE(
      log_.mentions("[refreshMissionList] Completed - Sent to 2 unique listeners (from 4 "
                    "instances)"));
  c->destroy();
  journal_.lines.clear();
  KorvaneMission::refreshMissionList(std::nullopt);
  EXPECT_EQ(journal_.lines, std::vector<std::string>{"shared refreshed nil"});
  EXPECT_EQ(parameters("custom").size(), 2u);
  EXPECT_EQ(parameters("custom")[0],
            (std::vector<std::pair<std::string, std::string>>{{"action", "refresh_mission_list"},
                                                              {"source", "static_method"}}));
}

// A platform layer gives each placement a listener object of its own that stands for one app
// object: the app object is what must hear a refresh once.
TEST_F(PlacementsTest, RefreshNotifiesListenersStandingForOneAppObjectOnce) {
  class Standing final : public KorvaneMissionEventsListener {
   public:
    Standing(Journal& journal, const void* appObject) : journal_(journal), appObject_(appObject) {}
    void onClicked(const Mission&) override {}
    void onImpressed(const Mission&) override {}
    void onCompleted(const Mission&) override {}
    void onProgressed(const Mission&) override {}
    void onRefreshed(const std::optional<std::string>&) override {
      journal_.lines.push_back("refreshed");
    }
    const void* identity() const override { return appObject_; }

   private:
    Journal& journal_;
    const void* appObject_;
  };
  int appObject = 0;
  auto a = KorvaneMission::create();
  auto b = KorvaneMission::create();
  a->setEventsListener(std::make_shared<Standing>(journal_, &appObject));
  b->setEventsListener(std::make_shared<Standing>(journal_, &appObject));
  KorvaneMission::refreshMissionList("unit-1");
  EXPECT_EQ(journal_.lines, std::vector<std::string>{"refreshed"});
  EXPECT_TRUE(log_.contains("[D/KorvaneMission] Skipping duplicate notification for listener"));
  EXPECT_TRUE(
      log_.mentions("[refreshMissionList] Completed - Sent to 1 unique listeners (from 2 "
                    "instances)"));
}

TEST_F(PlacementsTest, MissionClicksOpenTheLandingPageAndPagesReachTheMission) {
  auto placement = KorvaneMission::create();
  placement->setEventsListener(std::make_shared<MissionListener>(journal_));
  placement->clickMission("m2", nullptr);
  EXPECT_TRUE(log_.contains("[W/KorvaneMission] Mission not found: m2"));
  EXPECT_TRUE(presenter_->live.empty());

  loadMissions(*placement, {mission(1, 1), mission(2, 2)});
  journal_.lines.clear();
  placement->clickMission("m2", nullptr);
  settle();
  ASSERT_EQ(presenter_->live.size(), 1u);
  EXPECT_EQ(screen(0).view.loads.at(0).url.rfind(
                "https://hub.example/mission?id=m2&user_id=u1&app_key=key&", 0),
            0u);
  EXPECT_TRUE(log_.contains("[D/KorvaneMission] Mission WebView opened"));

  // The landing page reports progress and completion; an unknown mission is only logged.
  screen(0).view.post(R"({"type":"missionProgressed","data":{"missionId":"m2"}})");
  screen(0).view.post(R"({"type":"missionCompleted","data":{"missionId":"m2"}})");
  screen(0).view.post(R"({"type":"missionCompleted","data":{"missionId":"zz"}})");
  // The bridge's missionRefreshed() without a unit sends "": every list.
  screen(0).view.post(R"({"type":"missionRefreshed","data":{"unitId":""}})");
  settle();
  EXPECT_EQ(journal_.lines, (std::vector<std::string>{"L clicked m2", "L progressed m2",
                                                      "L completed m2", "L refreshed nil"}));
  EXPECT_TRUE(log_.mentions("Mission instance 또는 mission을 찾을 수 없음"));
  EXPECT_TRUE(log_.contains(
      "[D/KorvaneMission] Refreshing mission list after completion - React Native에서 처리"));
  screen(0).close();
  settle();
  EXPECT_TRUE(log_.contains("[D/KorvaneMission] Mission WebView closed"));
  const auto names = eventNames();
  EXPECT_EQ(std::count(names.begin(), names.end(), "mission_clicked"), 1);
  EXPECT_EQ(std::count(names.begin(), names.end(), "mission_progressed"), 2)
      << "the bridge's own record, then the placement's";
  EXPECT_EQ(std::count(names.begin(), names.end(), "mission_completed"), 1);
}

TEST_F(PlacementsTest, RewardPageNeedsARewardUrlFromALoad) {
  auto placement = KorvaneMission::create();
  placement->onRewardButtonClicked(nullptr);
  EXPECT_TRUE(log_.contains("[W/KorvaneMission] No reward URL available"));
  EXPECT_TRUE(presenter_->live.empty());

  loadMissions(*placement, {mission(1)});
  placement->onRewardButtonClicked(nullptr);
  settle();
  ASSERT_EQ(presenter_->live.size(), 1u);
  EXPECT_EQ(screen(0).view.loads.at(0).url.rfind("https://hub.example/reward?user_id=u1", 0), 0u);
  screen(0).close();
  settle();
  EXPECT_TRUE(log_.contains("[D/KorvaneMission] Reward WebView closed"));
  EXPECT_TRUE(log_.mentions("Refreshing mission list after completion"));
}

TEST_F(PlacementsTest, OperationsBeforeInitialisationOnlyWarn) {
  auto placement = KorvaneMission::create();
  loadMissions(*placement, {mission(1)});
  TearDown();
  placement->markAsParticipating("m1");
  EXPECT_FALSE(placement->isParticipating("m1"));
  EXPECT_TRUE(placement->getMissions().empty());
  placement->clickMission("m1", nullptr);
  placement->onMissionCompleted(mission(1));
  for (const char* op : {"markAsParticipating", "isParticipating", "getMissions", "clickMission",
                         "onMissionCompleted"})
    EXPECT_TRUE(log_.contains(std::string("[W/KorvaneMission] ") + op + ": SDK not initialized"))
        << op;
  SetUp();
  placement->markAsParticipating("m1");
  EXPECT_TRUE(placement->isParticipating("m1"));
  EXPECT_FALSE(placement->isParticipating("m2"));
}

TEST_F(PlacementsTest, QuizLoadSucceedsThenReportsImpressionsAndKeepsStoredCallbacks) {
  auto placement = KorvaneQuiz::create();
  auto listener = std::make_shared<QuizListener>(journal_);
  placement->setQuizEventsListener(listener);
  QuizResponse response;
  QuizEvent bare = quiz(3);
  bare.impressionOrder.reset();
  response.events = {quiz(1), quiz(2), bare};
  api_->quizAnswer = response;
  const auto successNamed = [&](std::string name) {
    return [this, name](const QuizResponse& r) {
      journal_.lines.push_back(name + " " + std::to_string(r.events.size()));
    };
  };
  placement->load(successNamed("first"), nullptr, true);
  settle();
  EXPECT_EQ(journal_.lines,
            (std::vector<std::string>{"first 3", "impressed q1", "impressed q2", "impressed q3"}));
  EXPECT_TRUE(log_.contains("[I/KorvaneQuiz] Loaded 3 quiz events"));
  EXPECT_EQ(parameters("quiz_impressed").back(),
            (std::vector<std::pair<std::string, std::string>>{{"quizId", "q3"},
                                                              {"quizTitle", "Quiz 3"},
                                                              {"impressionOrder", ""},
                                                              {"placementId", ""}}));

  // A load that does not store, and one refused before initialisation, keep "first".
  journal_.lines.clear();
  placement->load(successNamed("second"), nullptr, false);
  TearDown();
  placement->load(successNamed("third"), nullptr, true);
  SetUp();
  api_->quizAnswer = response;
  placement->setQuizEventsListener(nullptr);
  placement->reload();
  settle();
  EXPECT_EQ(journal_.lines, (std::vector<std::string>{"second 3", "impressed q1", "impressed q2",
                                                      "impressed q3", "first 3"}));
}

TEST_F(PlacementsTest, QuizClickTellsTheListenerBeforeTheQuizOpensAndCompletionComesBack) {
  auto placement = KorvaneQuiz::create();
  auto listener = std::make_shared<QuizListener>(journal_);
  placement->setQuizEventsListener(listener);
  QuizResponse response;
  response.events = {quiz(1), quiz(2, "120")};
  api_->quizAnswer = response;
  placement->load(nullptr, nullptr);
  settle();
  journal_.lines.clear();

  placement->clickQuiz("q9", nullptr);
  EXPECT_TRUE(log_.contains("[W/KorvaneQuiz] Quiz not found: q9"));
  placement->trackClick(quiz(1));
  EXPECT_TRUE(presenter_->live.empty()) << "trackClick opens nothing";

  std::size_t screensWhenClicked = 99;
  struct Watcher final : KorvaneQuizEventsListener {
    std::function<void()> clicked;
    void onImpressed(const QuizEvent&) override {}
    void onClicked(const QuizEvent&) override { clicked(); }
    void onQuizCompleted(const QuizEvent&, int) override {}
  };
  auto watcher = std::make_shared<Watcher>();
  watcher->clicked = [&] { screensWhenClicked = presenter_->live.size(); };
  placement->setQuizEventsListener(watcher);
  placement->clickQuiz("q2", nullptr);
  settle();
  EXPECT_EQ(screensWhenClicked, 0u);
  ASSERT_EQ(presenter_->live.size(), 1u);
  const std::string url = screen(0).view.loads.at(0).url;
  EXPECT_NE(url.find("&quiz_id=q2&quiz_title=Quiz%202&context=quiz&"), std::string::npos) << url;

  // One completion per opening: the page's second report is not honoured.
  placement->setQuizEventsListener(listener);
  screen(0).view.post(R"({"type":"quizCompleted","data":{"quizId":"q2","score":3}})");
  screen(0).view.post(R"({"type":"quizCompleted","data":{"rewardAmount":7}})");
  settle();
  EXPECT_TRUE(log_.mentions("Quiz instance 또는 event를 찾을 수 없음"));
  log_.clear();
  placement->clickQuiz("q2", nullptr);
  settle();
  ASSERT_EQ(presenter_->live.size(), 2u);
  screen(1).view.post(R"({"type":"quizCompleted","data":{"rewardAmount":7}})");
  settle();
  EXPECT_EQ(journal_.lines, (std::vector<std::string>{"clicked q1", "completed q2 120",
                                                      "clicked q2", "completed q2 7"}));
  EXPECT_TRUE(
      log_.mentions("[iOS SDK - Quiz] refreshAfterCompletion 호출됨 - React Native에서 처리"));
  const auto clicks = parameters("quiz_clicked");
  ASSERT_EQ(clicks.size(), 3u);
  EXPECT_EQ(clicks[1].at(2),
            (std::pair<std::string, std::string>{"landingUrl", "https://hub.example/quiz?id=q2"}));
  EXPECT_EQ(parameters("quiz_completed").size(), 2u);

  // The listener is held weakly, and a quiz the host let go hears nothing.
  placement->clickQuiz("q2", nullptr);
  settle();
  listener.reset();
  watcher.reset();
  placement.reset();
  screen(2).view.post(R"({"type":"quizCompleted","data":{}})");
  settle();
  EXPECT_TRUE(log_.mentions("Quiz instance 또는 event를 찾을 수 없음"));
}

TEST(QuizReward, PageAmountThenWholeNumberPointThenZeroNeverNegative) {
  const struct {
    JsonValue data;
    std::string point;
    int expected;
  } cases[] = {
      {{{"rewardAmount", 30}}, "50", 30},
      {{{"rewardAmount", "30"}}, "50", 50},
      {{{"rewardAmount", 1e12}}, "50", 50},
      {{{"rewardAmount", 9999999999}}, "50", 50},
      {{{"rewardAmount", -3}}, "50", 50},
      {{{"rewardAmount", 0}}, "50", 0},
      {JsonValue::parse(R"({"rewardAmount":2147483647})"), "50", 2147483647},
      {JsonValue::object(), "100P", 0},
      {JsonValue::object(), "", 0},
      {JsonValue::array(), "-5", 0},
  };
  for (const auto& c : cases) {
    QuizEvent q;
    q.point = c.point;
    EXPECT_EQ(quizRewardAmount(c.data, q), c.expected) << c.data.dump() << " " << c.point;
  }
}

TEST_F(PlacementsTest, BannerErrorMappingAndTheFacadesPassThrough) {
  BannerInfoResponse ok;
  ok.success = true;
  ok.imageUrl = "https://cdn.example/b.png";
  BannerInfoResponse unfilled;
  const Error offline{"NSURLErrorDomain", -1009, "offline"};
  struct Case {
    const char* name;
    std::function<void()> arrange;
    std::string placement;  // what getBanner reports
    std::string facade;     // what getBannerInfo reports
  };
  const std::vector<Case> cases = {
      {"success", [&] { api_->bannerAnswer = ok; }, "ok https://cdn.example/b.png",
       "ok https://cdn.example/b.png"},
      {"success false", [&] { api_->bannerAnswer = unfilled; }, "error 2", "ok "},
      {"transport", [&] { api_->bannerAnswer = offline; }, "error 4", "NSURLErrorDomain -1009"},
      {"no user", [&] { sdk_.logout(); }, "error 0", "KorvaneSDK -2"},
      {"not initialised", [&] { forgetInitialisation(); }, "error 0", "KorvaneSDK -1"},
  };
  for (const Case& c : cases) {
    c.arrange();
    std::vector<std::string> placement, facade;
    KorvaneBanner::shared().getBanner(
        "top",
        [&](const BannerInfoResponse& r) { placement.push_back("ok " + r.imageUrl.value_or("")); },
        [&](KorvaneAdError e) {
          placement.push_back("error " + std::to_string(static_cast<int>(e)));
        });
    sdk_.getBannerInfo("top", [&](Result<BannerInfoResponse> r) {
      facade.push_back(r ? "ok " + r.value().imageUrl.value_or("")
                         : r.error().domain + " " + std::to_string(r.error().code));
    });
    settle();
    EXPECT_EQ(placement, std::vector<std::string>{c.placement}) << c.name;
    EXPECT_EQ(facade, std::vector<std::string>{c.facade}) << c.name;
    TearDown();
    SetUp();
  }
  api_->bannerAnswer = ok;
  const std::size_t before = api_->contentCalls().size();
  KorvaneBanner::shared().getBanner("top", nullptr, nullptr);
  KorvaneBanner::shared().getBanner("top", nullptr, nullptr);
  settle();
  EXPECT_EQ(api_->contentCalls().size() - before, 2u) << "nothing is cached";
  EXPECT_EQ(api_->contentCalls().back(), "getBannerInfo u1 top ios");
}

TEST(AdjoeUrl, QueryItemsInOrderOnlyWhenGiven) {
  const struct {
    const char* name;
    PlaytimeWebInputs inputs;
    std::optional<std::string> expected;
  } cases[] = {
      {"everything",
       {"https://playtime.example/web?old=1#f", "u 1", "ID", "p", "unknown", 35},
       "https://playtime.example/web?user_id=u%201&idfa=ID&placement=p&gender=unknown&age=35#f"},
      {"no gender or age",
       {"https://playtime.example/web", "u", kZeroId, "p", {}, {}},
       std::string("https://playtime.example/web?user_id=u&idfa=") + kZeroId + "&placement=p"},
      {"empty placement and identifier",
       {"https://playtime.example/", "u", "", "", "", {}},
       "https://playtime.example/?user_id=u"},
      {"not a url", {"playtime web", "u", {}, {}, {}, {}}, std::nullopt},
  };
  testing::LogCapture log;
  for (const auto& c : cases)
    EXPECT_EQ(KorvaneAdjoeManager::buildPlaytimeWebUrl(c.inputs), c.expected) << c.name;
  EXPECT_TRUE(log.contains("[W/KorvaneAdjoeManager]   ⚠️ IDFA not available"));
  EXPECT_TRUE(log.contains("[E/KorvaneAdjoeManager] Invalid base URL: playtime web"));
}

// adjoe with the server's flag and address, a user with gender `other` born in 1990, in 2025.
class AdjoeTest : public PlacementsTest {
 protected:
  std::optional<bool> serverFlag = true;
  bool configured = false;
  std::optional<std::string> address = "https://playtime.example/web";

  AppData appData() const override {
    AppData app = PlacementsTest::appData();
    app.adjoeEnabled = serverFlag;
    app.adjoeOfferwallUrl = address;
    return app;
  }
  KorvaneSdkConfig config() const override {
    KorvaneSdkConfig::Builder builder("key", "secret");
    if (configured) builder.enableAdjoe("hash");
    return builder.build();
  }
  KorvaneSdkUser user() const override {
    return KorvaneSdkUser("u1", KorvaneSdkUser::Gender::other, 1990);
  }
  void SetUp() override {
    PlacementsTest::SetUp();
    // 2025-06-01 12:00 UTC: the same year in every time zone.
    fake_.clock->set(std::chrono::system_clock::time_point(std::chrono::seconds(1748779200)));
  }
};

TEST_F(AdjoeTest, EnabledOnlyByTheServerFlagOrElseTheConfiguration) {
  struct Case {
    std::optional<bool> serverFlag;
    bool configured;
    std::optional<std::string> address;
    std::vector<std::string> heard;
  };
  const std::vector<Case> cases = {
      {std::nullopt, true, "https://playtime.example/web", {"opened"}},
      {true, false, "https://playtime.example/web", {"opened"}},
      {false,
       true,
       "https://playtime.example/web",
       {"error:Adjoe is not enabled. Please enable it via server configuration."}},
      {std::nullopt,
       false,
       "https://playtime.example/web",
       {"error:Adjoe is not enabled. Please enable it via server configuration."}},
      {true,
       false,
       "",
       {"error:Adjoe offerwall URL not available. Please check server configuration."}},
      {true, false, "not a url", {"error:URL cannot be empty"}},
  };
  for (const Case& c : cases) {
    TearDown();
    serverFlag = c.serverFlag;
    configured = c.configured;
    address = c.address;
    SetUp();
    auto cb = std::make_shared<RecordingCallback>();
    sdk_.openAdjoeOfferwall(nullptr, "p", cb);
    settle();
    EXPECT_EQ(cb->heard, c.heard) << c.serverFlag.value_or(-1) << c.configured << *c.address;
  }
  sdk_.logout();
  auto cb = std::make_shared<RecordingCallback>();
  sdk_.openAdjoeOfferwall(nullptr, "p", cb);
  EXPECT_EQ(cb->heard, std::vector<std::string>{"error:User not logged in. Please login first."});
}

TEST_F(AdjoeTest, OpeningCarriesTheUsersDataRecordsAtOnceAndUsesTheNativeBar) {
  sdk_.openAdjoeOfferwall(nullptr, "", nullptr);
  settle();
  ASSERT_EQ(presenter_->live.size(), 1u);
  EXPECT_TRUE(presenter_->lastOptions.inNavigationContainer);
  EXPECT_EQ(screen(0).view.loads.at(0).url.rfind(
                std::string("https://playtime.example/web?user_id=u1&idfa=") + kZeroId +
                    "&gender=unknown&age=35&user_id=u1&app_key=key&",
                0),
            0u)
      << screen(0).view.loads.at(0).url;
  const std::vector<TrackEventRequest> sentAtOnce = api_->singleEvents();
  ASSERT_FALSE(sentAtOnce.empty());
  const TrackEventRequest& opened = sentAtOnce.back();
  EXPECT_EQ(opened.name, "adjoe_webview_opened");
  EXPECT_EQ(opened.parameters,
            (std::vector<std::pair<std::string, std::string>>{
                {"placement_id", ""}, {"idfa_included", "true"}, {"idfa_is_zero", "true"}}));
  EXPECT_TRUE(log_.contains("[D/KorvaneAdjoeManager] ✅ Adjoe event tracked successfully"));
  std::vector<std::string> customNames;
  for (const auto& params : parameters("custom")) customNames.push_back(params.at(0).second);
  EXPECT_EQ(customNames,
            (std::vector<std::string>{"custom_offerwall_opened", "adjoe_offerwall_opened"}));

  // The offerwall's own page asks for adjoe through the bridge; adjoe's page may not.
  const char* openAdjoe = R"({"type":"openAdjoeOfferwall","data":{"placementId":"wall"}})";
  screen(0).view.post(openAdjoe);
  settle();
  ASSERT_EQ(presenter_->live.size(), 1u);
  sdk_.openOfferwall(nullptr, "home", nullptr);
  settle();
  ASSERT_EQ(presenter_->live.size(), 2u);
  screen(1).view.post(openAdjoe);
  settle();
  ASSERT_EQ(presenter_->live.size(), 3u);
  EXPECT_NE(screen(2).view.loads.at(0).url.find("&placement=wall&"), std::string::npos);
}

// adjoe opened by the offerwall's own page covers it for a while. Once adjoe has gone, however
// it ended, the offerwall under it still reports to the app: page events, data requests, load
// errors and its own closing.
TEST_F(AdjoeTest, TheOfferwallUnderAnAdjoeItsPageOpenedKeepsReportingToTheApp) {
  struct Events final : OfferwallEventCallback {
    void onCustomEvent(const std::string& type, const JsonValue&) override {
      heard.push_back(type);
    }
    std::optional<JsonValue> onDataRequest(const std::string& id, const std::string&,
                                           const JsonValue&) override {
      heard.push_back(id);
      return JsonValue{{"points", 1}};
    }
    std::vector<std::string> heard;
  };
  using Ending = std::function<void(testing::FakePresenter::FakeScreen&)>;
  const std::pair<const char*, Ending> endings[] = {
      {"its close button", [](auto& adjoe) { adjoe.close(); }},
      {"its page posts close", [](auto& adjoe) { adjoe.view.post(R"({"type":"close"})"); }},
      {"the app dismisses it", [](auto& adjoe) { adjoe.dismissed(); }},
  };
  for (const auto& [name, end] : endings) {
    SCOPED_TRACE(name);
    auto heard = std::make_shared<RecordingCallback>();
    auto events = std::make_shared<Events>();
    sdk_.openOfferwall(nullptr, "home", heard, events);
    settle();
    ASSERT_EQ(presenter_->live.size(), 1u);
    testing::FakePresenter::FakeScreen& wall = screen(0);
    wall.view.post(R"({"type":"openAdjoeOfferwall","data":{"placementId":"wall"}})");
    settle();
    ASSERT_EQ(presenter_->live.size(), 2u);
    end(screen(1));
    settle();
    ASSERT_EQ(presenter_->live.size(), 1u);

    wall.view.post(R"({"type":"customEvent","data":{"eventType":"reward"}})");
    settle();
    wall.view.post(R"({"type":"dataRequest","data":{"requestId":"req_1_a","requestType":"t"}})");
    settle();
    wall.view.delegate.lock()->didFailNavigation(
        Error{Error::kUrlLoadingDomain, -1004, "Could not connect"}, false);
    wall.close();
    settle();
    EXPECT_TRUE(presenter_->live.empty());
    EXPECT_EQ(events->heard, (std::vector<std::string>{"reward", "req_1_a"}));
    EXPECT_EQ(heard->heard,
              (std::vector<std::string>{
                  "opened", "error:Failed to load offerwall: Could not connect", "closed"}));
    EXPECT_FALSE(KorvaneOfferwallViewController::offerwallCallback()) << "cleared as it left";
  }
}

}  // namespace
}  // namespace korvane
