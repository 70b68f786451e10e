// A generative attacker inside real offerwalls (WebKitGTK; the local backend as the trusted
// origin, and an attacker's and a tracker's origin on other loopback ports). A seed draws a
// sequence of steps (attacker/attack_plan.h); the agent page (tools/devserver/hostile/agent.html)
// carries each out in the document it names, as that document's own script; a person's clicks
// come through GTK (person_input.h), and the person answers the SDK's questions (the fake prompt)
// yes or no as the sequence says. After every step the host must have given no other origin an
// identifier or the user's data, opened nothing outside that neither a person's click or yes nor
// the trusted main frame's bridge message asked for, honoured bridge powers and "retry" for no
// one else, and kept its own memory bounded; after the sequence a new trusted page must still
// work. A broken rule fails the seed with the whole sequence, ready to replay: the seeds and the
// steps come from KORVANE_ATTACK_SEEDS and KORVANE_ATTACK_STEPS (docs/security.md).
#include <gtest/gtest.h>
#include <webkit2/webkit2.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "attacker/attack_plan.h"
#include "attacker/seed_selection.h"
#include "dev_server.h"
#include "fake_platform.h"
#include "korvane/offerwall/offerwall_view.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "page_driver.h"
#include "person_input.h"
#include "resident_memory.h"
#include "webapp_assets.h"
#include "webkit_session.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;
using attack::Action;
using attack::How;
using attack::Place;
using attack::Plan;
using attack::Step;
using attack::Target;
using Clock = std::chrono::steady_clock;

constexpr const char* kIdfa = "3F2504E0-4F89-11D3-9A0C-0305E82C3301";
constexpr const char* kUserId = "attacker-sequences-user-Z3";
constexpr const char* kBasePath = "/pages/wall.html";
constexpr auto kSlow = 1500ms;
constexpr auto kSettle = 300ms;
// A person's touch allows one opening outside for this long.
constexpr auto kTouchWindow = 10s;
// What a trusted main frame asked for (a page, a retry) is done within this, or not counted.
constexpr auto kAskedWindow = 5s;
using testing::kResidentGrowthBoundKiB;
using testing::residentKiB;

// The default suite's seeds and steps, about 90 s on two cores: among them sequences in which
// frames point at apps while the main frame's load is pending, and untrusted pages send "retry".
const attack::Campaign kCiCampaign = {{1, 2, 3, 4, 5, 7, 14, 19, 24, 39}, 12};

const std::string& agentHtml() {
  static const std::string html = [] {
    for (const devserver::WebAsset& asset : devserver::hostileAssets())
      if (asset.name == "agent.html") return std::string(asset.content);
    return std::string();
  }();
  return html;
}

const char* kFreshPage = R"(<!doctype html><html><head><meta charset="utf-8"></head><body>
<h1>Trusted</h1><script>
window.__replies = [];
window.onUserInfoReceived = function(info) { window.__replies.push(info); };
</script></body></html>)";

class RecordingEvents final : public OfferwallEventCallback {
 public:
  void onCustomEvent(const std::string& type, const JsonValue&) override { custom.push_back(type); }
  std::optional<JsonValue> onDataRequest(const std::string&, const std::string& type,
                                         const JsonValue&) override {
    dataRequests.push_back(type);
    return JsonValue{{"points", 1200}, {"user", kUserId}};
  }
  std::vector<std::string> custom;
  std::vector<std::string> dataRequests;
};

// Every navigation WebKit asks any web view about, seen before the SDK's handler decides it, and
// whether it loads a page's own address again (a retry honoured). Pages' own addresses carry
// "retryable=": the first page's is loaded only by a retry (its first load carries the SDK's
// query), an inner or replacing page's first by the page itself, so again is a retry.
class Navigations {
 public:
  struct Asked {
    std::string url;
    bool retry;
    Clock::time_point at;
  };

  Navigations()
      : type_(g_type_class_ref(WEBKIT_TYPE_WEB_VIEW)),
        signal_(g_signal_lookup("decide-policy", WEBKIT_TYPE_WEB_VIEW)),
        hook_(g_signal_add_emission_hook(signal_, 0, &Navigations::seen, this, nullptr)) {}
  ~Navigations() {
    g_signal_remove_emission_hook(signal_, hook_);
    for (const auto& [view, loaded] : loaded_)
      g_object_weak_unref(G_OBJECT(view), &Navigations::forget, this);
    g_type_class_unref(type_);
  }
  Navigations(const Navigations&) = delete;
  Navigations& operator=(const Navigations&) = delete;

  const std::vector<Asked>& asked() const { return asked_; }

 private:
  static gboolean seen(GSignalInvocationHint*, guint count, const GValue* values, gpointer data) {
    if (count < 3 || static_cast<WebKitPolicyDecisionType>(g_value_get_enum(&values[2])) !=
                         WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION)
      return TRUE;
    auto& self = *static_cast<Navigations*>(data);
    GObject* view = G_OBJECT(g_value_get_object(&values[0]));
    WebKitNavigationAction* action = webkit_navigation_policy_decision_get_navigation_action(
        WEBKIT_NAVIGATION_POLICY_DECISION(g_value_get_object(&values[1])));
    const std::string url =
        webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    bool retry = false;
    if (url.find("retryable=") != std::string::npos && url.find("user_id=") == std::string::npos &&
        webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_OTHER) {
      if (!self.loaded_.contains(view)) g_object_weak_ref(view, &Navigations::forget, data);
      retry =
          url.find("retryable=wall") != std::string::npos || !self.loaded_[view].insert(url).second;
    }
    self.asked_.push_back({url, retry, Clock::now()});
    return TRUE;
  }
  static void forget(gpointer data, GObject* view) {
    static_cast<Navigations*>(data)->loaded_.erase(view);
  }

  gpointer type_;  // the class stays, so that its signal does
  guint signal_;
  gulong hook_;
  std::vector<Asked> asked_;
  std::map<const GObject*, std::set<std::string>> loaded_;  // the pages' own addresses, per view
};

// Takes the oldest time in `times` that `fits`; false when none does.
template <typename Fits>
bool take(std::vector<Clock::time_point>& times, Fits fits) {
  for (auto it = times.begin(); it != times.end(); ++it) {
    if (!fits(*it)) continue;
    times.erase(it);
    return true;
  }
  return false;
}

const char* howName(How how) {
  switch (how) {
    case How::link:
      return "link";
    case How::location:
      return "location";
    case How::form:
      return "form";
    case How::meta:
      return "meta";
    case How::back:
      return "back";
    case How::windowOpen:
      return "windowOpen";
    case How::blankLink:
      return "blankLink";
  }
  return "";
}

bool asksForAPage(const std::string& message) {
  return message == "openWebView" || message == "closeOpenWebView" ||
         message == "openAdjoeOfferwall";
}

class AttackerSequences : public testing::WebKitSession<::testing::TestWithParam<std::uint64_t>> {
 protected:
  void SetUp() override {
    startSession({.networkSession = "SESSION-ATTACKER-SEQUENCES",
                  .dataFolder = "korvane-attacker-sequences",
                  .userId = kUserId,
                  .advertisingId = kIdfa,
                  .opener = opener_,
                  .events = events_,
                  .prompt = prompt_});
    if (HasFatalFailure()) return;
    // The person answers the SDK's questions after each step, as the step's mood says.
    prompt_->holds = true;
    ASSERT_NE(attacker_.start(), 0);
    ASSERT_NE(tracker_.start(), 0);
    const std::string& agent = agentHtml();
    ASSERT_FALSE(agent.empty());
    trusted_ = server_.baseUrl();
    trustedSender_ = "top_" + std::to_string(server_.port());
    server_.setPage(kBasePath, agent);
    server_.setPage("/pages/slow.html", agent);
    server_.setDelay("/pages/slow.html", kSlow);
    server_.setRedirect("/pages/hop.html", trusted_ + "/hostile/agent.html?via=hop");
    server_.setRedirect("/pages/away.html", attacker_.baseUrl() + "/hostile/agent.html?via=away");
    server_.setPage("/pages/dropped.html", agent);
    server_.setFault("/pages/dropped.html", devserver::Fault{0, 0ms, true, false, -1});
    server_.setPage("/pages/fresh.html", kFreshPage);
    attacker_.setRedirect("/pages/back.html", trusted_ + "/hostile/agent.html?via=back");
    attacker_.setRedirect("/pages/slow-back.html", trusted_ + "/hostile/agent.html?via=slow",
                          kSlow);
  }

  void TearDown() override {
    view_.reset();
    endSession();
  }

  void attackWith(const Plan& plan) {
    plan_ = plan;
    notes_.assign(plan.steps.size(), "");
    setBaseSlow(plan.slowBase);
    residentBefore_ = residentKiB();
    const auto started = Clock::now();
    openOfferwall();
    for (const Step& step : plan.steps) {
      run(step);
      pumpFor(step.action == Action::personClick ? 2 * kSettle : kSettle);
      check("after step " + std::to_string(step.index));
    }
    pumpFor(2s);  // what is still under way lands
    check("after the sequence");
    expectATrustedPageStillWorks();
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    std::printf(
        "[ attack   ] seed %llu: %zu steps in %.1f s, %zu broken rules, host resident %+ld KiB\n",
        static_cast<unsigned long long>(plan.seed), plan.steps.size(), seconds, violations_.size(),
        static_cast<long>(residentKiB()) - static_cast<long>(residentBefore_));
    if (!violations_.empty()) ADD_FAILURE() << failureReport();
  }

 private:
  // Carrying out a step.

  void run(const Step& step) {
    if (step.answersFromNow) personSaysYes_ = *step.answersFromNow;
    ensureAnOfferwall(step);
    if (screens_->live.empty()) return;
    switch (step.action) {
      case Action::slowBase:
        return setBaseSlow(step.on);
      case Action::personClick:
        return personClick(step);
      default:
        return command(step);
    }
  }

  // A sequence goes on after the offerwall closed (a "close", korvane://close): in a new one.
  void ensureAnOfferwall(const Step& step) {
    if (view_ && view_->hasClosed()) {
      view_.reset();
      pumpUntil([&] { return screens_->live.empty(); }, 3s);
    }
    if (!screens_->live.empty()) return;
    notes_[step.index - 1] = "the offerwall was opened again first; ";
    openOfferwall();
  }

  void openOfferwall() {
    const std::string base = std::string(kBasePath) + "?retryable=wall";
    pagesAsked_.push_back(Clock::now());
    if (plan_.embedded) {
      view_ = KorvaneOfferwallView::create();
      view_->setCallback(callback_);
      view_->setEventCallback(events_);
      view_->loadOfferwall(trusted_ + base, kUserId, "demo-app-key", "home");
    } else {
      offerwall_ = offerwallFor(base);
      offerwall_->present();
    }
    pumpUntil(
        [&] {
          return !screens_->live.empty() &&
                 demo::evaluate(*screens_->live.back(), "typeof window.__agent", 1s) ==
                     "\"object\"";
        },
        5s);
  }

  void setBaseSlow(bool slow) {
    server_.setFault(kBasePath, devserver::Fault{0, slow ? kSlow : 0ms, false, false, -1});
  }

  std::string pageUrl(const devserver::DevServer& origin, std::size_t n,
                      bool trapped = false) const {
    return origin.baseUrl() + "/hostile/agent.html?n=" + std::to_string(n) +
           (trapped ? "&trap=1" : "");
  }

  std::string urlFor(Place place, std::size_t step, bool trapped = false) const {
    const std::string n = std::to_string(step);
    switch (place) {
      case Place::trustedPage:
        return pageUrl(server_, step);
      case Place::attackerPage:
        return pageUrl(attacker_, step, trapped);
      case Place::trackerPage:
        return pageUrl(tracker_, step, trapped);
      case Place::slowTrustedPage:
        return trusted_ + "/pages/slow.html?n=" + n;
      case Place::trustedRedirect:
        return trusted_ + "/pages/hop.html?n=" + n;
      case Place::redirectToAttacker:
        return trusted_ + "/pages/away.html?n=" + n;
      case Place::attackerRedirectToTrusted:
        return attacker_.baseUrl() + "/pages/back.html?n=" + n;
      case Place::slowRedirectToTrusted:
        return attacker_.baseUrl() + "/pages/slow-back.html?n=" + n;
      case Place::droppedTrustedPage:
        return trusted_ + "/pages/dropped.html?n=" + n;
      case Place::appScheme:
        return "hostileapp://step-" + n;
      case Place::appStoreScheme:
        return "itms-apps://apps.apple.com/app/id" + n;
      case Place::appStoreWeb:
        return "https://apps.apple.com/app/id" + n;
      case Place::javascriptUrl:
        return "javascript:location.href='hostileapp://script-" + n + "'";
      case Place::dataUrl:
        return "data:";
      case Place::blobUrl:
        return "blob:";
      case Place::srcdoc:
        return "srcdoc";
      case Place::closeAddress:
        return "korvane://close";
    }
    return "about:blank";
  }

  JsonValue commandFor(const Step& step) const {
    const std::string url = urlFor(step.place, step.index, step.trapped);
    switch (step.action) {
      case Action::navigate:
        return {{"op", "navigate"}, {"how", howName(step.how)}, {"url", url}};
      case Action::addFrame:
      case Action::sandboxedFrame:
        return {
            {"op", "addFrame"}, {"url", url}, {"sandboxed", step.action == Action::sandboxedFrame}};
      case Action::removeFrame:
        return {{"op", "removeFrame"}};
      case Action::storm:
        return {{"op", "storm"},
                {"url", step.place == Place::appScheme
                            ? "hostileapp://storm-" + std::to_string(step.index)
                            : url},
                {"every", 50},
                {"duration", 3000}};
      case Action::bridge:
        // Inner pages' own addresses are marked, so that loading one again shows as a retry.
        return {{"op", "bridge"},
                {"type", step.message},
                {"n", step.index},
                {"url", url + "&retryable=" + std::to_string(step.index)}};
      case Action::bridgeThenLeave:
        return {{"op", "bridgeThenLeave"},
                {"type", step.message},
                {"n", step.index},
                {"leaveTo", pageUrl(attacker_, step.index, step.trapped)},
                {"leaveFirst", step.leaveFirst}};
      default:
        return JsonValue::object();
    }
  }

  // Hands the command to the agent of the named document; the offline page has no agent, but
  // its own retry and close buttons' functions.
  void command(const Step& step) {
    Screen& screen =
        step.target == Target::firstPage ? *screens_->live.front() : *screens_->live.back();
    JsonValue path = JsonValue::array();
    if (step.target == Target::frame0) path.push_back(0);
    if (step.target == Target::frame1) path.push_back(1);
    const JsonValue what = commandFor(step);
    const std::string script =
        "(function() { var path = " + path.dump() + ", command = " + what.dump() +
        ";\n if (window.__agent) return window.__agent.command(path, command);\n"
        " if (!path.length && typeof retry === 'function' && typeof closeOfferwall === "
        "'function') {\n"
        "  if (command.type === 'retry') { retry(); return 'offline page'; }\n"
        "  if (command.type === 'close') { closeOfferwall(); return 'offline page'; }\n }\n"
        " return 'no agent'; })()";
    // Native may act on the message while the answer is awaited.
    const auto sent = Clock::now();
    const std::optional<std::string> answer = demo::evaluate(screen, script, 2s);
    const JsonValue read = JsonValue::parse(answer.value_or(""), nullptr, false);
    const std::string top = read.is_string() ? read.get<std::string>() : "no answer";
    notes_[step.index - 1] += (path.empty() ? "in " : "through ") + whose(top);
    if (step.action != Action::bridge && step.action != Action::bridgeThenLeave) return;
    // The trusted main frame may have pages put up and its address loaded again; the offline
    // page may retry.
    const bool trustedMainFrame = path.empty() && top == trustedSender_;
    if (step.message == "retry" && (trustedMainFrame || top == "offline page"))
      retriesAsked_.push_back(sent);
    if (trustedMainFrame && asksForAPage(step.message)) pagesAsked_.push_back(sent);
  }

  // A sender as the agent names it ("top_<port>"), in words.
  std::string whose(const std::string& sender) const {
    const std::size_t cut = sender.find('_');
    if (cut == std::string::npos) return sender;
    const std::string frame = sender.substr(0, cut) == "top" ? "main frame" : "frame";
    const std::string port = sender.substr(cut + 1);
    if (port == std::to_string(server_.port())) return "a trusted " + frame;
    if (port == std::to_string(attacker_.port())) return "the attacker's " + frame;
    if (port == std::to_string(tracker_.port())) return "the tracker's " + frame;
    return "a " + frame + " of an opaque origin";
  }

  void personClick(const Step& step) {
    Screen& top = *screens_->live.back();
    const std::string url = urlFor(step.place, step.index);
    const std::optional<std::string> pointed = demo::evaluate(
        top,
        "(function() { var offer = document.getElementById('offer'); if (!offer) return false;"
        " offer.href = " +
            demo::jsString(url) + "; return true; })()",
        2s);
    if (pointed != "true") {
      notes_[step.index - 1] += "no offer link on the top page";
      return;
    }
    if (testing::clickElement(top, "#offer")) {
      touches_.push_back(Clock::now());
      notes_[step.index - 1] += "clicked";
    }
  }

  // The rules, after every step.

  void check(const std::string& when) {
    answerTheQuestions();
    checkOpenings(when);
    checkPages(when);
    checkAppCallbacks(when);
    checkRetries(when);
    checkOtherOrigins(when);
    checkUntrustedPagesOnTop(when);
    const std::size_t resident = residentKiB();
    if (resident > residentBefore_ + kResidentGrowthBoundKiB)
      broken(when, "the host's resident set grew from " + std::to_string(residentBefore_) +
                       " KiB to " + std::to_string(resident) + " KiB");
  }

  void broken(const std::string& when, const std::string& rule) {
    violations_.push_back(when + ": " + rule);
  }

  // The questions the SDK put to the person since the last check, answered as the person now
  // answers: each yes allows one opening.
  void answerTheQuestions() {
    std::vector<std::function<void(bool)>> held = std::move(prompt_->held);
    prompt_->held.clear();
    for (const std::function<void(bool)>& answer : held) {
      if (personSaysYes_) yeses_.push_back(Clock::now());
      if (answer) answer(personSaysYes_);
    }
  }

  // Outside openings: the trusted main frame's bridge message (what it asks to open names it as
  // its sender), one within 10 s of a person's touch, or one for each yes.
  void checkOpenings(const std::string& when) {
    const auto now = Clock::now();
    for (; openedSeen_ < opener_->opened.size(); ++openedSeen_) {
      const std::string& url = opener_->opened[openedSeen_];
      if (url.find("sender=" + trustedSender_ + "&") != std::string::npos) continue;
      if (take(touches_, [&](Clock::time_point t) { return now - t <= kTouchWindow; })) continue;
      if (take(yeses_, [&](Clock::time_point t) { return now - t <= kAskedWindow; })) continue;
      broken(when, "opened " + url +
                       " outside without a person's touch or yes, or the trusted main frame's "
                       "bridge message");
    }
  }

  // Pages put up: the harness's offerwalls, and what a trusted main frame asked for.
  void checkPages(const std::string& when) {
    const auto now = Clock::now();
    std::erase_if(pagesAsked_, [&](Clock::time_point t) { return now - t > kAskedWindow; });
    for (; presentedSeen_ < screens_->presented; ++presentedSeen_)
      if (!take(pagesAsked_, [](Clock::time_point) { return true; }))
        broken(when, "a page was put up that no trusted main frame asked for");
  }

  // The app's custom events and data requests: the trusted main frame's only.
  void checkAppCallbacks(const std::string& when) {
    const std::string trusted = "probe|" + trustedSender_;
    for (; customSeen_ < events_->custom.size(); ++customSeen_)
      if (events_->custom[customSeen_] != trusted)
        broken(when, "the app heard the custom event \"" + events_->custom[customSeen_] + "\"");
    for (; dataSeen_ < events_->dataRequests.size(); ++dataSeen_)
      if (events_->dataRequests[dataSeen_] != trusted)
        broken(when, "the app was asked for data by \"" + events_->dataRequests[dataSeen_] + "\"");
  }

  // A page's own address loaded again is a retry honoured.
  void checkRetries(const std::string& when) {
    const std::vector<Navigations::Asked>& asked = navigations_.asked();
    for (; navigationsSeen_ < asked.size(); ++navigationsSeen_) {
      const Navigations::Asked& load = asked[navigationsSeen_];
      if (!load.retry) continue;
      if (take(retriesAsked_,
               [&](Clock::time_point t) { return t <= load.at && load.at - t <= kAskedWindow; }))
        continue;
      broken(when,
             "\"retry\" honoured for a document that is neither the trusted main frame nor "
             "the offline page: " +
                 load.url + " loaded again");
    }
  }

  std::vector<std::string> secrets() const {
    std::vector<std::string> values = {kIdfa, kUserId, "x-korvane-"};
    for (const devserver::RecordedRequest& r : server_.requests())
      for (const auto& [key, value] : r.query)
        if (key == "device_id" && !value.empty() &&
            std::find(values.begin(), values.end(), value) == values.end())
          values.push_back(value);
    return values;
  }

  // Everything the attacker's and the tracker's origins received: requests, reports, headers.
  void checkOtherOrigins(const std::string& when) {
    const std::vector<std::string> hidden = secrets();
    const auto scan = [&](const devserver::DevServer& origin, std::size_t& seen,
                          const char* whose) {
      const std::vector<devserver::RecordedRequest> requests = origin.requests();
      std::vector<std::string> found;
      for (; seen < requests.size(); ++seen) {
        const devserver::RecordedRequest& r = requests[seen];
        std::string all = r.target + "\n" + r.body + "\n";
        for (const auto& [name, value] : r.headers) all += name + ": " + value + "\n";
        for (const std::string& secret : hidden)
          if (all.find(secret) != std::string::npos &&
              std::find(found.begin(), found.end(), secret) == found.end()) {
            found.push_back(secret);
            broken(when, std::string("the ") + whose + "'s origin received \"" + secret + "\" (" +
                             r.method + " " + r.target.substr(0, 120) + ")");
          }
      }
    };
    scan(attacker_, attackerSeen_, "attacker");
    scan(tracker_, trackerSeen_, "tracker");
  }

  // What a page of another origin (or none) on top of a screen can read there.
  void checkUntrustedPagesOnTop(const std::string& when) {
    const std::vector<std::string> hidden = secrets();
    for (testing::RecordingScreens::Tracked* screen : screens_->live) {
      const std::optional<std::string> seen = demo::evaluate(
          *screen,
          "(function() { var c = window.KorvaneConfig; return { origin: self.origin,"
          " ifa: c ? String(c.ifa) : '', heard: window.__agent ? window.__agent.heard() : [],"
          " referrer: document.referrer, name: window.name }; })()",
          1s);
      if (!seen) continue;
      const JsonValue read = JsonValue::parse(*seen, nullptr, false);
      const std::string origin = read.is_object() ? read.value("origin", "") : "";
      if (origin == trusted_) continue;
      for (const std::string& secret : hidden)
        if (seen->find(secret) != std::string::npos)
          broken(when, "a page of origin " + origin + " on top can read \"" + secret + "\"");
    }
  }

  // A new offerwall on a trusted page: the bridge answers it.
  void expectATrustedPageStillWorks() {
    setBaseSlow(false);
    view_.reset();
    for (int tries = 0; tries < 5 && !screens_->live.empty(); ++tries) {
      if (screens_->live.front()->close) screens_->live.front()->close();
      pumpUntil([&] { return screens_->live.empty(); }, 3s);
    }
    const std::size_t presented = static_cast<std::size_t>(screens_->presented);
    offerwall_ = offerwallFor("/pages/fresh.html");
    offerwall_->present();
    const bool shown = static_cast<std::size_t>(screens_->presented) > presented;
    Screen* page = shown && !screens_->live.empty() ? screens_->live.back() : nullptr;
    const bool answered =
        page && pumpUntil([&] {
          return evaluate(*page,
                          "typeof window.KorvaneBridge === 'object' && "
                          "Array.isArray(window.__replies)") == "true";
        }) &&
        (evaluate(*page, "window.KorvaneBridge.getUserInfo(function() {})"), true) &&
        pumpUntil([&] { return evaluate(*page, "window.__replies.length") == "1"; }) &&
        evaluate(*page, "window.__replies[0].userId") == "\"" + std::string(kUserId) + "\"";
    if (!answered) broken("after the sequence", "a new trusted page's bridge does not answer");
  }

  std::string failureReport() const {
    std::string text = "seed " + std::to_string(plan_.seed) + " broke the host's rules " +
                       std::to_string(violations_.size()) + " times:\n";
    // A rule broken again and again alike (a storm's frames, one by one) is one line.
    const auto shape = [](const std::string& line) {
      std::string digitless;
      for (const char c : line)
        if (c < '0' || c > '9') digitless += c;
      return digitless;
    };
    for (std::size_t i = 0, lines = 0; i < violations_.size() && lines < 40; ++lines) {
      std::size_t same = i + 1;
      while (same < violations_.size() && shape(violations_[same]) == shape(violations_[i])) ++same;
      text += "  " + violations_[i] + "\n";
      if (same - i > 1)
        text += "    ... and " + std::to_string(same - i - 1) +
                " more alike, up to: " + violations_[same - 1] + "\n";
      i = same;
    }
    text += "The sequence (replay it with KORVANE_ATTACK_SEEDS=" + std::to_string(plan_.seed) +
            " KORVANE_ATTACK_STEPS=" + std::to_string(plan_.steps.size()) +
            "; the trusted origin's port is " + std::to_string(server_.port()) + "):\n";
    const std::string lines = attack::describe(plan_);
    std::size_t start = 0;
    for (std::size_t line = 0; start < lines.size(); ++line) {
      const std::size_t end = lines.find('\n', start);
      text += lines.substr(start, end - start);
      if (line > 0 && line <= notes_.size() && !notes_[line - 1].empty())
        text += "   [" + notes_[line - 1] + "]";
      text += "\n";
      start = end + 1;
    }
    return text;
  }

  devserver::DevServer attacker_;
  devserver::DevServer tracker_;
  std::shared_ptr<testing::FakeUrlOpener> opener_ = std::make_shared<testing::FakeUrlOpener>();
  std::shared_ptr<testing::FakePersonPrompt> prompt_ =
      std::make_shared<testing::FakePersonPrompt>();
  std::shared_ptr<RecordingEvents> events_ = std::make_shared<RecordingEvents>();
  std::shared_ptr<KorvaneOfferwallViewController> offerwall_;
  std::shared_ptr<KorvaneOfferwallView> view_;
  Navigations navigations_;
  std::string trusted_;
  std::string trustedSender_;
  Plan plan_;
  std::vector<std::string> notes_;  // what each step met: the document, the offerwall reopened
  std::vector<std::string> violations_;
  std::size_t residentBefore_ = 0;
  std::vector<Clock::time_point> touches_;
  bool personSaysYes_ = false;
  std::vector<Clock::time_point> yeses_;
  std::vector<Clock::time_point> retriesAsked_;
  std::vector<Clock::time_point> pagesAsked_;
  std::size_t openedSeen_ = 0;
  int presentedSeen_ = 0;
  std::size_t customSeen_ = 0;
  std::size_t dataSeen_ = 0;
  std::size_t navigationsSeen_ = 0;
  std::size_t attackerSeen_ = 0;
  std::size_t trackerSeen_ = 0;
};

std::optional<attack::Campaign> campaign() {
  return attack::campaignFromEnvironment(kCiCampaign);
}

TEST_P(AttackerSequences, KeepTheHostsRules) {
  const std::optional<attack::Campaign> chosen = campaign();
  ASSERT_TRUE(chosen);
  attackWith(attack::planAttack(GetParam(), chosen->steps));
}

INSTANTIATE_TEST_SUITE_P(Seeds, AttackerSequences,
                         ::testing::ValuesIn(campaign().value_or(attack::Campaign{}).seeds),
                         [](const ::testing::TestParamInfo<std::uint64_t>& seed) {
                           return "seed_" + std::to_string(seed.param);
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(AttackerSequences);

TEST(AttackCampaign, TheEnvironmentReadsAsSeedsAndSteps) {
  EXPECT_TRUE(campaign()) << "KORVANE_ATTACK_SEEDS is first:count or a list like 7,19,23; "
                             "KORVANE_ATTACK_STEPS a number of steps";
}

}  // namespace
}  // namespace korvane
