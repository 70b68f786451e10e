#include "korvane/linux/glib_main_thread.h"

#include <unistd.h>

#include <atomic>
#include <memory>

#include <glib.h>

namespace korvane::linux_host {
namespace {

struct PendingWork {
  std::function<void()> work;
  TaskHandle handle;
  // GLib hands the work to the loop thread safely, but through code ThreadSanitizer cannot see;
  // this release/acquire pair states the same ordering where it can.
  std::atomic<bool> published{false};
};

PendingWork* received(gpointer data) {
  auto* pending = static_cast<PendingWork*>(data);
  (void)pending->published.load(std::memory_order_acquire);
  return pending;
}

gboolean runOnce(gpointer data) {
  PendingWork* pending = received(data);
  if (!pending->handle.isCancelled()) pending->work();
  return G_SOURCE_REMOVE;
}

void destroyPending(gpointer data) {
  std::unique_ptr<PendingWork>(received(data));
}

// GLib owns the work until the source runs or is destroyed; the destroy notify frees it.
void attach(GMainContext* context, GSource* source, std::unique_ptr<PendingWork> pending) {
  pending->published.store(true, std::memory_order_release);
  g_source_set_callback(source, runOnce, pending.release(), destroyPending);
  g_source_attach(source, context);
  g_source_unref(source);
}

}  // namespace

GlibMainThread::GlibMainThread(GMainContext* context, Owner owner)
    : context_(context ? g_main_context_ref(context)
                       : g_main_context_ref(g_main_context_default())),
      owner_(std::this_thread::get_id()),
      processMain_(owner == Owner::processMain) {}

GlibMainThread::~GlibMainThread() {
  g_main_context_unref(context_);
}

void GlibMainThread::post(std::function<void()> work) {
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  auto pending = std::make_unique<PendingWork>();
  pending->work = std::move(work);
  attach(context_, source, std::move(pending));
}

TaskHandle GlibMainThread::postAfter(std::chrono::milliseconds delay, std::function<void()> work) {
  TaskHandle handle(std::make_shared<std::atomic<bool>>(false));
  const auto millis = delay.count() < 0 ? 0 : static_cast<guint>(delay.count());
  auto pending = std::make_unique<PendingWork>();
  pending->work = std::move(work);
  pending->handle = handle;
  attach(context_, g_timeout_source_new(millis), std::move(pending));
  return handle;
}

bool GlibMainThread::isCurrent() const {
  // The first thread's kernel thread id equals the process id.
  if (processMain_) return ::gettid() == ::getpid();
  return std::this_thread::get_id() == owner_;
}

}  // namespace korvane::linux_host
