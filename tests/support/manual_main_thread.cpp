#include "manual_main_thread.h"

#include <algorithm>

namespace korvane::testing {

void ManualMainThread::post(std::function<void()> work) {
  postAfter(std::chrono::milliseconds(0), std::move(work));
}

TaskHandle ManualMainThread::postAfter(std::chrono::milliseconds delay,
                                       std::function<void()> work) {
  TaskHandle handle(std::make_shared<std::atomic<bool>>(false));
  std::lock_guard lock(mutex_);
  tasks_.push_back(Task{clock_.now() + delay, nextSequence_++, std::move(work), handle});
  return handle;
}

bool ManualMainThread::popDue(std::chrono::system_clock::time_point limit, Task& out) {
  std::lock_guard lock(mutex_);
  auto earliest = std::min_element(tasks_.begin(), tasks_.end(), [](const Task& a, const Task& b) {
    return a.due != b.due ? a.due < b.due : a.sequence < b.sequence;
  });
  if (earliest == tasks_.end() || earliest->due > limit) return false;
  out = std::move(*earliest);
  tasks_.erase(earliest);
  return true;
}

int ManualMainThread::runUntilIdle() {
  int ran = 0;
  Task task;
  while (popDue(clock_.now(), task)) {
    if (task.handle.isCancelled()) continue;
    task.work();
    ++ran;
  }
  return ran;
}

int ManualMainThread::advance(std::chrono::milliseconds by) {
  const auto target = clock_.now() + by;
  int ran = runUntilIdle();
  Task task;
  while (popDue(target, task)) {
    if (task.due > clock_.now()) clock_.set(task.due);
    if (!task.handle.isCancelled()) {
      task.work();
      ++ran;
    }
    ran += runUntilIdle();
  }
  clock_.set(target);
  return ran + runUntilIdle();
}

std::vector<std::chrono::milliseconds> ManualMainThread::pendingDelays() const {
  std::lock_guard lock(mutex_);
  std::vector<std::chrono::milliseconds> delays;
  for (const Task& task : tasks_)
    if (!task.handle.isCancelled())
      delays.push_back(
          std::chrono::duration_cast<std::chrono::milliseconds>(task.due - clock_.now()));
  std::sort(delays.begin(), delays.end());
  return delays;
}

}  // namespace korvane::testing
