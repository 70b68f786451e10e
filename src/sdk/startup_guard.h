#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/platform/storage.h"

namespace korvane {

// How one start of the SDK runs, decided from how the starts before it ended.
enum class StartupMode {
  normal,
  // The last two starts died before finishing: no event-file load, no timers, no tracking prompt.
  safe,
  // The safe start died too: the SDK does nothing until the app or the SDK version changes.
  inert,
};

// Keeps the SDK's start from taking the app down at every launch. The mark is one entry of the
// settings store (key "korvane_startup"), a JSON object written before the start's first step,
// at the steps on the serial queue, and when the start finished:
//   {"appVersion": "2.1 (40)", "sdkVersion": "1.0.52-rc.2", "unfinishedStarts": 1,
//    "step": "event file load"}
// "unfinishedStarts" counts the starts in a row that began and never finished; a change of
// either version starts the count again from zero, as does a mark that cannot be read. The
// settings store writes each entry through at once (a file replaced atomically on Linux, the
// user defaults on iOS), so a mark written before a crash is there at the next launch.
// Safe from any thread.
class StartupGuard {
 public:
  struct Versions {
    std::string app;  // empty when the platform does not say
    std::string sdk;
  };
  // Told each step as the start reaches it, before the step runs (tests end the process there).
  using StepHook = std::function<void(std::string_view step)>;

  static constexpr const char* kKey = "korvane_startup";
  static constexpr int kSafeModeAfter = 2;
  static constexpr int kInertAfter = 3;

  StartupGuard(std::shared_ptr<KeyValueStore> store, Versions versions, StepHook hook = nullptr);

  // Reads the mark, decides this start's mode and, unless inert, marks this start as under way at
  // `firstStep`. Only the first call decides; later ones (a repeated initialize) return the same.
  StartupMode begin(std::string_view firstStep);
  // How many starts in a row had not finished when begin() read the mark.
  int unfinishedStarts() const;
  // The step the last of them had reached, when it marked one.
  std::optional<std::string> lastStep() const;

  // The start reached `step`: the hook hears it, and with `marked` the mark records it.
  void reached(std::string_view step, bool marked);
  // The start finished: the count goes back to zero.
  void finish();

 private:
  void writeLocked(int unfinished, std::string_view step);

  std::shared_ptr<KeyValueStore> store_;
  Versions versions_;
  StepHook hook_;
  mutable std::mutex mutex_;
  std::optional<StartupMode> mode_;
  int unfinished_ = 0;
  std::optional<std::string> lastStep_;
};

}  // namespace korvane
