#pragma once

#include <glib.h>

#include <future>
#include <memory>
#include <thread>

#include "korvane/linux/glib_main_thread.h"

namespace korvane::testing {

// A GLib main loop on its own thread, standing in for an app's UI thread in integration tests.
class MainLoopThread {
 public:
  MainLoopThread() {
    std::promise<void> ready;
    thread_ = std::thread([this, &ready] {
      context_ = g_main_context_new();
      g_main_context_push_thread_default(context_);
      loop_ = g_main_loop_new(context_, FALSE);
      main_ = std::make_shared<linux_host::GlibMainThread>(context_);
      ready.set_value();
      g_main_loop_run(loop_);
      g_main_context_pop_thread_default(context_);
    });
    ready.get_future().wait();
  }
  ~MainLoopThread() {
    g_main_loop_quit(loop_);
    g_main_context_wakeup(context_);
    thread_.join();
    main_.reset();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
  }
  MainLoopThread(const MainLoopThread&) = delete;
  MainLoopThread& operator=(const MainLoopThread&) = delete;

  std::shared_ptr<linux_host::GlibMainThread> mainThread() const { return main_; }
  // Runs `work` on the loop's thread and waits for it.
  void runSync(const std::function<void()>& work) {
    std::promise<void> done;
    main_->post([&] {
      work();
      done.set_value();
    });
    done.get_future().wait();
  }

 private:
  GMainContext* context_ = nullptr;
  GMainLoop* loop_ = nullptr;
  std::shared_ptr<linux_host::GlibMainThread> main_;
  std::thread thread_;
};

}  // namespace korvane::testing
