#pragma once

#include <thread>

#include "korvane/platform/main_thread.h"

typedef struct _GMainContext GMainContext;

namespace korvane::linux_host {

// The main thread as a GLib main context (the default one unless another is given). The main
// thread is the one that constructs it, or the process's first thread; it must run the context's
// loop for posted work to run.
class GlibMainThread final : public MainThread {
 public:
  enum class Owner { constructingThread, processMain };
  explicit GlibMainThread(GMainContext* context = nullptr, Owner owner = Owner::constructingThread);
  ~GlibMainThread() override;

  void post(std::function<void()> work) override;
  TaskHandle postAfter(std::chrono::milliseconds delay, std::function<void()> work) override;
  bool isCurrent() const override;

 private:
  GMainContext* context_;
  std::thread::id owner_;
  bool processMain_;
};

}  // namespace korvane::linux_host
