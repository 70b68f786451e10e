#pragma once

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dev_server.h"
#include "korvane/korvane.h"
#include "telemetry/event_batch_service.h"

namespace korvane::demo {

struct DemoOptions {
  bool scripted = false;
  std::optional<std::string> screenshot;  // PNG path
  std::optional<std::string> backend;     // another backend instead of the built-in one
  std::string logFile = "korvane-demo.log";
};

// Parses the command line; nothing (after printing why) when it is not understood.
std::optional<DemoOptions> parseOptions(int argc, char** argv);

// What the demo host heard: every listener callback and offerwall event, in order.
struct Heard {
  std::vector<std::string> lines;
  bool contains(const std::string& line) const;
};

// The host application of the demo: starts the built-in backend (unless another is given),
// initialises the SDK against it, logs the demo user in and keeps the placements and listeners a
// real app would. Prints a transcript line for everything that happens. Main thread only.
class DemoSession {
 public:
  explicit DemoSession(DemoOptions options);
  ~DemoSession();

  // Backend, initialisation and login; false (after saying why) when one of them failed.
  bool start();
  void say(const std::string& line);
  void step(const std::string& title);
  // A check the session expects; a failed one is printed and fails the run.
  bool expect(bool holds, const std::string& what);

  // Sends what is queued and waits until the backend acknowledged every tracked event.
  bool drainTelemetry(std::chrono::milliseconds timeout);
  // Pages loaded, messages handled, events delivered and lost; true when nothing failed.
  bool summary();

  const DemoOptions& options() const { return options_; }
  Heard& heard() { return heard_; }
  std::shared_ptr<KorvaneMission> missions() const { return missions_; }
  std::shared_ptr<KorvaneQuiz> quiz() const { return quiz_; }
  std::shared_ptr<OfferwallCallback> offerwallCallback() const { return offerwallCallback_; }
  std::shared_ptr<OfferwallEventCallback> eventCallback() const { return eventCallback_; }
  std::string backendUrl() const { return backendUrl_; }
  int failures() const { return failures_; }
  // Prints what reached the backend (or the SDK's acknowledged count) since the last call.
  void reportTelemetry();

 private:
  DemoOptions options_;
  std::unique_ptr<devserver::DevServer> server_;
  std::string backendUrl_;
  std::FILE* log_ = nullptr;
  std::shared_ptr<std::atomic<int>> pagesLoaded_ = std::make_shared<std::atomic<int>>(0);
  std::shared_ptr<std::atomic<int>> messagesHandled_ = std::make_shared<std::atomic<int>>(0);
  Heard heard_;
  std::shared_ptr<KorvaneMission> missions_;
  std::shared_ptr<KorvaneQuiz> quiz_;
  std::shared_ptr<KorvaneMissionEventsListener> missionListener_;
  std::shared_ptr<KorvaneQuizEventsListener> quizListener_;
  std::shared_ptr<OfferwallCallback> offerwallCallback_;
  std::shared_ptr<OfferwallEventCallback> eventCallback_;
  std::size_t eventsReported_ = 0;
  int failures_ = 0;
  std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
};

// The whole session driven by the demo itself; true when everything went as expected.
bool runScriptedTour(DemoSession& session);
// A window with the host app's own buttons; returns when it is closed.
void runInteractive(DemoSession& session);

}  // namespace korvane::demo
