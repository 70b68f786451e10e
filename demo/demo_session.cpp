#include <filesystem>
#include <iostream>

#include "demo_session.h"
#include "korvane/linux/linux_platform.h"
#include "page_driver.h"
#include "sdk/sdk_environment.h"

namespace korvane::demo {
namespace {

const char* kUsage =
    "usage: korvane-demo [--scripted] [--screenshot FILE] [--backend URL] [--log FILE]\n"
    "  --scripted         drive the whole session without a person and print a summary\n"
    "  --screenshot FILE  save a PNG of the offerwall once it shows\n"
    "  --backend URL      use this backend instead of the built-in local one\n"
    "  --log FILE         where the SDK's log goes (default korvane-demo.log)\n";

class MissionListener final : public KorvaneMissionEventsListener {
 public:
  explicit MissionListener(DemoSession& session) : session_(session) {}
  void onClicked(const Mission& m) override { hear("mission clicked " + m.id); }
  void onImpressed(const Mission& m) override { hear("mission impressed " + m.id); }
  void onCompleted(const Mission& m) override { hear("mission completed " + m.id); }
  void onProgressed(const Mission& m) override { hear("mission progressed " + m.id); }
  void onRefreshed(const std::optional<std::string>& unit) override {
    hear("missions refresh asked (" + unit.value_or("no unit") + ")");
  }

 private:
  void hear(const std::string& line) {
    session_.heard().lines.push_back(line);
    session_.say("  👂 " + line);
  }
  DemoSession& session_;
};

class QuizListener final : public KorvaneQuizEventsListener {
 public:
  explicit QuizListener(DemoSession& session) : session_(session) {}
  void onImpressed(const QuizEvent& q) override { hear("quiz impressed " + q.id); }
  void onClicked(const QuizEvent& q) override { hear("quiz clicked " + q.id); }
  void onQuizCompleted(const QuizEvent& q, int reward) override {
    hear("quiz completed " + q.id + " reward " + std::to_string(reward));
  }

 private:
  void hear(const std::string& line) {
    session_.heard().lines.push_back(line);
    session_.say("  👂 " + line);
  }
  DemoSession& session_;
};

class Callbacks final : public OfferwallCallback, public OfferwallEventCallback {
 public:
  explicit Callbacks(DemoSession& session) : session_(session) {}
  void onOpened() override { hear("offerwall opened"); }
  void onClosed() override { hear("offerwall closed"); }
  void onError(const std::string& message) override { hear("offerwall error: " + message); }
  void onRewardEarned(int amount) override { hear("reward earned " + std::to_string(amount)); }
  void onCustomEvent(const std::string& type, const JsonValue& payload) override {
    hear("custom event " + type + " " +
         payload.dump(-1, ' ', false, JsonValue::error_handler_t::replace));
  }
  // The app answers the pages' data requests: the user's points balance.
  std::optional<JsonValue> onDataRequest(const std::string&, const std::string& type,
                                         const JsonValue&) override {
    if (type != "points") return std::nullopt;
    hear("data request points");
    return JsonValue{{"points", 12400}, {"currency", "P"}};
  }

 private:
  void hear(const std::string& line) {
    session_.heard().lines.push_back(line);
    session_.say("  👂 " + line);
  }
  DemoSession& session_;
};

class LoginListener final : public KorvaneSdkLoginListener {
 public:
  std::optional<bool> succeeded;
  void onSuccess() override { succeeded = true; }
  void onFailure(KorvaneLoginError error) override {
    succeeded = false;
    std::cout << "  login failed: " << description(error) << "\n";
  }
};

}  // namespace

std::optional<DemoOptions> parseOptions(int argc, char** argv) {
  DemoOptions options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--scripted") {
      options.scripted = true;
    } else if (arg == "--screenshot" && hasValue) {
      options.screenshot = argv[++i];
    } else if (arg == "--backend" && hasValue) {
      options.backend = argv[++i];
    } else if (arg == "--log" && hasValue) {
      options.logFile = argv[++i];
    } else {
      std::cerr << (arg == "--help" ? "" : "korvane-demo: not understood: " + arg + "\n") << kUsage;
      return std::nullopt;
    }
  }
  return options;
}

bool Heard::contains(const std::string& line) const {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

DemoSession::DemoSession(DemoOptions options) : options_(std::move(options)) {
  log_ = std::fopen(options_.logFile.c_str(), "w");
  KorvaneSdk::setLogLevel(LogLevel::debug);
  KorvaneLogger::setLineWriter(
      [log = log_, pages = pagesLoaded_, messages = messagesHandled_](std::string_view line) {
        if (line.find("Page loaded successfully") != std::string_view::npos) ++*pages;
        if (line.find("📨 Received message from WebView: ") != std::string_view::npos) ++*messages;
        if (log) std::fprintf(log, "%.*s\n", static_cast<int>(line.size()), line.data());
      });
  auto callbacks = std::make_shared<Callbacks>(*this);
  offerwallCallback_ = callbacks;
  eventCallback_ = callbacks;
  missionListener_ = std::make_shared<MissionListener>(*this);
  quizListener_ = std::make_shared<QuizListener>(*this);
}

DemoSession::~DemoSession() {
  // The placements log as they go; let them go while the log still has its file.
  missions_.reset();
  quiz_.reset();
  KorvaneSdk::setLogLevel(LogLevel::warning);
  KorvaneLogger::setLineWriter(nullptr);
  if (server_) server_->stop();
  if (log_) std::fclose(log_);
}

void DemoSession::say(const std::string& line) {
  std::cout << line << std::endl;
}

void DemoSession::step(const std::string& title) {
  reportTelemetry();
  say("\n▶ " + title);
}

bool DemoSession::expect(bool holds, const std::string& what) {
  if (!holds) {
    ++failures_;
    say("  ✗ expected: " + what);
  }
  return holds;
}

bool DemoSession::start() {
  step("Backend");
  if (options_.backend) {
    backendUrl_ = *options_.backend;
    say("  using " + backendUrl_);
  } else {
    server_ = std::make_unique<devserver::DevServer>();
    if (!expect(server_->start() != 0, "the built-in backend listens on 127.0.0.1")) return false;
    backendUrl_ = server_->baseUrl();
    say("  built-in local backend at " + backendUrl_ + " (offerwall web app at " + backendUrl_ +
        "/offerwall/)");
  }
  std::error_code ec;
  say("  SDK log: " + std::filesystem::absolute(options_.logFile, ec).string());

  step("Initialise KorvaneSDK " + KorvaneSdk::shared().getSDKVersion());
  KorvaneSdk& sdk = KorvaneSdk::shared();
  sdk.initialize(KorvaneSdkConfig::Builder("demo-app-key", "demo-app-secret")
                     .setApiBaseUrl(backendUrl_)
                     .enableAdjoe("demo-adjoe-hash")
                     .build());
  if (!expect(pumpUntil([&] { return sdk.isInitialized(); }), "the backend validates the app"))
    return false;
  say("  validated; offerwall at " + sdk.getOfferwallUrl().value_or("(none)"));

  step("Log in demo-user");
  auto login = std::make_shared<LoginListener>();
  sdk.login(KorvaneSdkUser("demo-user", KorvaneSdkUser::Gender::female, 1994), login);
  if (!expect(pumpUntil([&] { return login->succeeded.has_value(); }) && *login->succeeded,
              "login succeeds"))
    return false;
  say("  logged in as " + sdk.getCurrentUser()->userId());

  missions_ = KorvaneMission::create();
  missions_->setEventsListener(missionListener_);
  quiz_ = KorvaneQuiz::create();
  quiz_->setQuizEventsListener(quizListener_);
  KorvaneOfferwallViewController::setEventCallback(eventCallback_);
  return true;
}

void DemoSession::reportTelemetry() {
  if (server_) {
    const std::vector<TrackEventRequest> events = server_->deliveredEvents();
    for (std::size_t i = eventsReported_; i < events.size(); ++i) {
      std::string detail;
      for (const auto& [name, value] : events[i].parameters) {
        if (detail.size() > 60) break;
        detail += (detail.empty() ? "" : ", ") + name + "=" + value;
      }
      say("  📨 backend received " + events[i].name + (detail.empty() ? "" : " {" + detail + "}"));
    }
    eventsReported_ = events.size();
    return;
  }
  std::shared_ptr<EventBatchService> service =
      KorvaneSdkTestAccess::eventBatchService(KorvaneSdk::shared());
  if (!service) return;
  const std::size_t delivered = service->tally().delivered;
  if (delivered > eventsReported_)
    say("  📨 backend acknowledged " + std::to_string(delivered - eventsReported_) + " events");
  eventsReported_ = delivered;
}

bool DemoSession::drainTelemetry(std::chrono::milliseconds timeout) {
  std::shared_ptr<EventBatchService> service =
      KorvaneSdkTestAccess::eventBatchService(KorvaneSdk::shared());
  if (!service) return false;
  const auto settled = [&] {
    const EventBatchService::Tally tally = service->tally();
    return tally.queued == 0 && tally.delivered >= tally.accepted;
  };
  const auto until = std::chrono::steady_clock::now() + timeout;
  while (!settled() && std::chrono::steady_clock::now() < until) {
    service->flush();
    pumpUntil(settled, std::chrono::milliseconds(500));
  }
  reportTelemetry();
  return settled();
}

bool DemoSession::summary() {
  std::shared_ptr<EventBatchService> service =
      KorvaneSdkTestAccess::eventBatchService(KorvaneSdk::shared());
  const EventBatchService::Tally tally = service ? service->tally() : EventBatchService::Tally{};
  const std::size_t lost = tally.accepted > tally.delivered ? tally.accepted - tally.delivered : 0;
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started_);
  say("\n━━━━━━━━ Summary ━━━━━━━━");
  say("  pages loaded:            " + std::to_string(pagesLoaded_->load()));
  say("  bridge messages handled: " + std::to_string(messagesHandled_->load()));
  say("  listener callbacks:      " + std::to_string(heard_.lines.size()));
  std::string delivered = "  events delivered:        " + std::to_string(tally.delivered) +
                          " batched of " + std::to_string(tally.accepted) + " tracked";
  if (server_)
    delivered += "; the backend received " + std::to_string(server_->deliveredEvents().size()) +
                 " in all (with those sent at once)";
  say(delivered);
  say("  events lost:             " + std::to_string(lost));
  say("  checks failed:           " + std::to_string(failures_));
  char elapsed[32];
  std::snprintf(elapsed, sizeof elapsed, "%.1f s", seconds.count());
  say("  time:                    " + std::string(elapsed));
  return failures_ == 0 && lost == 0;
}

}  // namespace korvane::demo
