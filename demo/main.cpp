// korvane-demo: the SDK's main job on this machine. The built-in local backend serves the sample
// offerwall web app; the demo initialises the SDK, logs a user in and opens the offerwall in
// WebKitGTK windows, printing the telemetry the backend receives.
#include <gtk/gtk.h>

#include <iostream>

#include "demo_session.h"
#include "korvane/linux/linux_platform.h"

int main(int argc, char** argv) {
  using namespace korvane;
  std::optional<demo::DemoOptions> options = demo::parseOptions(argc, argv);
  if (!options) return 2;
  if (!gtk_init_check(nullptr, nullptr)) {
    std::cerr << "korvane-demo: no display to show the offerwall on. Run it under a desktop, or "
                 "headless as: xvfb-run -a korvane-demo --scripted\n";
    return 1;
  }
  demo::DemoSession session(*options);
  bool ok = session.start();
  if (ok && options->scripted) {
    ok = demo::runScriptedTour(session);
  } else if (ok) {
    demo::runInteractive(session);
    session.step("Telemetry");
    session.expect(session.drainTelemetry(std::chrono::seconds(10)),
                   "every tracked event reaches the backend");
  }
  ok = session.summary() && ok;
  // A desktop app reports its own termination: what is still queued goes to the event file.
  linux_host::hostLifecycle()->notify(AppLifecycleEvent::willTerminate);
  return ok ? 0 : 1;
}
