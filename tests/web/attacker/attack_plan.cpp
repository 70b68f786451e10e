#include "attacker/attack_plan.h"

#include <random>
#include <utility>

namespace korvane::attack {
namespace {

template <typename T>
using Weighted = std::vector<std::pair<T, unsigned>>;

// One of `choices`, each as likely as its weight.
template <typename T>
T pick(std::mt19937_64& random, const Weighted<T>& choices) {
  std::uint64_t total = 0;
  for (const auto& [choice, weight] : choices) total += weight;
  std::uint64_t at = random() % total;
  for (const auto& [choice, weight] : choices) {
    if (at < weight) return choice;
    at -= weight;
  }
  return choices.back().first;
}

// The faults this harness was made to find need a navigation pending (a slow address, a retry
// of a slow own address) while frames point at apps: slow places, storms and retries weigh more.
const Weighted<Action> kActions = {
    {Action::navigate, 30},       {Action::addFrame, 9},    {Action::sandboxedFrame, 3},
    {Action::removeFrame, 3},     {Action::storm, 9},       {Action::bridge, 30},
    {Action::bridgeThenLeave, 4}, {Action::personClick, 6}, {Action::slowBase, 4},
};

const Weighted<Target> kTargets = {
    {Target::top, 12}, {Target::firstPage, 2}, {Target::frame0, 4}, {Target::frame1, 2}};

const Weighted<How> kHows = {{How::link, 5},     {How::location, 6}, {How::form, 4},
                             {How::meta, 4},     {How::back, 4},     {How::windowOpen, 3},
                             {How::blankLink, 4}};

const Weighted<Place> kNavigationPlaces = {
    {Place::trustedPage, 12},
    {Place::attackerPage, 12},
    {Place::trackerPage, 5},
    {Place::slowTrustedPage, 12},
    {Place::trustedRedirect, 5},
    {Place::redirectToAttacker, 6},
    {Place::attackerRedirectToTrusted, 5},
    {Place::slowRedirectToTrusted, 6},
    {Place::droppedTrustedPage, 4},
    {Place::appScheme, 8},
    {Place::appStoreScheme, 4},
    {Place::appStoreWeb, 4},
    {Place::javascriptUrl, 3},
    {Place::dataUrl, 3},
    {Place::blobUrl, 3},
    {Place::closeAddress, 1},
};

const Weighted<Place> kFramePlaces = {
    {Place::trustedPage, 4},
    {Place::attackerPage, 10},
    {Place::trackerPage, 5},
    {Place::slowTrustedPage, 3},
    {Place::redirectToAttacker, 2},
    {Place::appScheme, 6},
    {Place::appStoreScheme, 3},
    {Place::appStoreWeb, 3},
    {Place::javascriptUrl, 2},
    {Place::dataUrl, 3},
    {Place::blobUrl, 3},
    {Place::srcdoc, 4},
    {Place::closeAddress, 1},
};

const Weighted<Place> kAppPlaces = {
    {Place::appScheme, 4}, {Place::appStoreScheme, 2}, {Place::appStoreWeb, 2}};

const Weighted<Place> kInnerPagePlaces = {{Place::trustedPage, 4},
                                          {Place::attackerPage, 4},
                                          {Place::trackerPage, 1},
                                          {Place::slowTrustedPage, 3}};

const Weighted<std::string> kMessages = {
    {"retry", 5},
    {"close", 1},
    {"openWebView", 3},
    {"closeOpenWebView", 2},
    {"externalOpenBrowser", 2},
    {"checkAppInstalled", 2},
    {"getUserInfo", 3},
    {"dataRequest", 2},
    {"customEvent", 2},
    {"trackEvent", 1},
    {"openAdjoeOfferwall", 1},
    {"quizCompleted", 1},
    {"quizStarted", 1},
    {"missionCompleted", 1},
    {"missionProgressed", 1},
    {"missionRefreshed", 1},
};

const char* name(Target target) {
  switch (target) {
    case Target::top:
      return "top page";
    case Target::firstPage:
      return "first page";
    case Target::frame0:
      return "top page's frame 0";
    case Target::frame1:
      return "top page's frame 1";
  }
  return "?";
}

const char* name(How how) {
  switch (how) {
    case How::link:
      return "a link";
    case How::location:
      return "location";
    case How::form:
      return "a form";
    case How::meta:
      return "a meta refresh";
    case How::back:
      return "history.back()";
    case How::windowOpen:
      return "window.open";
    case How::blankLink:
      return "a target=_blank link";
  }
  return "?";
}

const char* name(Place place) {
  switch (place) {
    case Place::trustedPage:
      return "the trusted page";
    case Place::attackerPage:
      return "the attacker's page";
    case Place::trackerPage:
      return "the tracker's page";
    case Place::slowTrustedPage:
      return "a slow trusted page (1.5 s)";
    case Place::trustedRedirect:
      return "a trusted redirect to the trusted page";
    case Place::redirectToAttacker:
      return "a trusted redirect to the attacker's page";
    case Place::attackerRedirectToTrusted:
      return "the attacker's redirect to the trusted page";
    case Place::slowRedirectToTrusted:
      return "the attacker's slow redirect (1.5 s) to the trusted page";
    case Place::droppedTrustedPage:
      return "a trusted page whose connection drops";
    case Place::appScheme:
      return "hostileapp:";
    case Place::appStoreScheme:
      return "itms-apps:";
    case Place::appStoreWeb:
      return "https://apps.apple.com";
    case Place::javascriptUrl:
      return "javascript: (to hostileapp:)";
    case Place::dataUrl:
      return "data: (the agent)";
    case Place::blobUrl:
      return "blob: (the agent)";
    case Place::srcdoc:
      return "srcdoc (the agent)";
    case Place::closeAddress:
      return "korvane://close";
  }
  return "?";
}

}  // namespace

Plan planAttack(std::uint64_t seed, std::size_t steps) {
  std::mt19937_64 random(seed);
  std::mt19937_64 more(seed ^ 0x9E3779B97F4A7C15u);
  Plan plan;
  plan.seed = seed;
  plan.embedded = random() % 3 == 0;
  plan.slowBase = random() % 2 == 0;
  for (std::size_t i = 0; i < steps; ++i) {
    Step step;
    step.index = i + 1;
    step.action = pick(random, kActions);
    step.target = pick(random, kTargets);
    switch (step.action) {
      case Action::navigate:
        step.how = pick(random, kHows);
        step.place = pick(random, kNavigationPlaces);
        break;
      case Action::addFrame:
      case Action::sandboxedFrame:
        step.place = pick(random, kFramePlaces);
        break;
      case Action::storm:
        step.place = pick(random, kAppPlaces);
        break;
      case Action::bridge:
        step.message = pick(random, kMessages);
        step.place = pick(random, kInnerPagePlaces);
        break;
      case Action::bridgeThenLeave:
        step.message = random() % 2 ? "getUserInfo" : "dataRequest";
        step.leaveFirst = random() % 2 == 0;
        break;
      case Action::personClick:
        step.target = Target::top;
        step.place = pick(random, kAppPlaces);
        break;
      case Action::slowBase:
        step.on = random() % 3 != 0;
        break;
      case Action::removeFrame:
        break;
    }
    const std::uint64_t trap = more();
    const std::uint64_t answer = more();
    step.trapped = trap % 2 == 0;
    if (answer % 6 == 0) step.answersFromNow = answer / 6 % 2 == 0;
    plan.steps.push_back(std::move(step));
  }
  return plan;
}

namespace {

// What the step does, in words.
std::string action(const Step& step) {
  const std::string in = std::string(name(step.target)) + ": ";
  switch (step.action) {
    case Action::navigate:
      if (step.how == How::back) return in + "goes back in its history";
      return in + "navigates by " + name(step.how) + " to " + name(step.place);
    case Action::addFrame:
      return in + "adds a frame of " + name(step.place);
    case Action::sandboxedFrame:
      return in + "adds a sandboxed frame of " + name(step.place);
    case Action::removeFrame:
      return in + "removes its last frame";
    case Action::storm:
      return in + "adds a frame of " + name(step.place) + " every 50 ms for 3 s";
    case Action::bridge:
      return in + "sends \"" + step.message + "\"" +
             (step.message == "openWebView" || step.message == "closeOpenWebView"
                  ? std::string(" for ") + name(step.place)
                  : "");
    case Action::bridgeThenLeave:
      return in +
             (step.leaveFirst
                  ? "goes to the attacker's page and at once sends \"" + step.message + "\""
                  : "sends \"" + step.message + "\", then goes to the attacker's page at once");
    case Action::personClick:
      return "a person clicks the top page's offer link to " + std::string(name(step.place));
    case Action::slowBase:
      return std::string("the offerwall's own address ") +
             (step.on ? "answers 1.5 s late from now on" : "answers at once again");
  }
  return "";
}

bool loadsAPage(const Step& step) {
  return step.action == Action::navigate || step.action == Action::addFrame ||
         step.action == Action::sandboxedFrame || step.action == Action::bridgeThenLeave ||
         (step.action == Action::bridge &&
          (step.message == "openWebView" || step.message == "closeOpenWebView"));
}

}  // namespace

std::string describe(const Step& step) {
  std::string line = std::to_string(step.index) + ". ";
  if (step.answersFromNow)
    line += std::string("(the person answers ") + (*step.answersFromNow ? "yes" : "no") +
            " from now on) ";
  line += action(step);
  if (step.trapped && loadsAPage(step)) line += " (other origins' pages trap the SDK's scripts)";
  return line;
}

std::string describe(const Plan& plan) {
  std::string text = "seed " + std::to_string(plan.seed) + ": the offerwall " +
                     (plan.embedded ? "as the embedded view" : "as the full-screen controller") +
                     ", its own address " + (plan.slowBase ? "slow (1.5 s)" : "quick") + "\n";
  for (const Step& step : plan.steps) text += "  " + describe(step) + "\n";
  return text;
}

}  // namespace korvane::attack
