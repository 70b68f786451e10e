#include "sdk/startup_guard.h"

#include "backend/json_codec.h"

namespace korvane {
namespace {

struct Mark {
  int unfinished = 0;
  std::optional<std::string> step;
};

// The mark as the previous starts left it for these versions; nothing counts when it cannot be
// read or was written by other versions.
Mark readMark(const std::optional<std::string>& text, const StartupGuard::Versions& versions) {
  if (!text) return {};
  Result<json::Json> parsed = json::parse(*text);
  if (!parsed || !parsed.value().is_object()) return {};
  const json::Json& mark = parsed.value();
  const auto textOf = [&mark](const char* key) -> std::optional<std::string> {
    const auto it = mark.find(key);
    if (it == mark.end() || !it->is_string()) return std::nullopt;
    return it->get<std::string>();
  };
  if (textOf("appVersion") != versions.app || textOf("sdkVersion") != versions.sdk) return {};
  const auto count = mark.find("unfinishedStarts");
  if (count == mark.end() || !count->is_number_integer()) return {};
  const std::int64_t unfinished = count->get<std::int64_t>();
  if (unfinished <= 0) return {};
  return {unfinished >= StartupGuard::kInertAfter ? StartupGuard::kInertAfter
                                                  : static_cast<int>(unfinished),
          textOf("step")};
}

}  // namespace

StartupGuard::StartupGuard(std::shared_ptr<KeyValueStore> store, Versions versions, StepHook hook)
    : store_(std::move(store)), versions_(std::move(versions)), hook_(std::move(hook)) {}

StartupMode StartupGuard::begin(std::string_view firstStep) {
  {
    std::lock_guard lock(mutex_);
    if (mode_) return *mode_;
    // Without a settings store there is nothing to count with: every start is a normal one.
    const Mark mark = readMark(store_ ? store_->getString(kKey) : std::nullopt, versions_);
    unfinished_ = mark.unfinished;
    lastStep_ = mark.step;
    mode_ = unfinished_ >= kInertAfter      ? StartupMode::inert
            : unfinished_ >= kSafeModeAfter ? StartupMode::safe
                                            : StartupMode::normal;
    // An inert SDK starts nothing, so nothing more can end unfinished: the mark stays as it is.
    if (*mode_ == StartupMode::inert) return *mode_;
    writeLocked(unfinished_ + 1, firstStep);
  }
  if (hook_) hook_(firstStep);
  return *mode_;
}

int StartupGuard::unfinishedStarts() const {
  std::lock_guard lock(mutex_);
  return unfinished_;
}

std::optional<std::string> StartupGuard::lastStep() const {
  std::lock_guard lock(mutex_);
  return lastStep_;
}

void StartupGuard::reached(std::string_view step, bool marked) {
  if (marked) {
    std::lock_guard lock(mutex_);
    writeLocked(unfinished_ + 1, step);
  }
  if (hook_) hook_(step);
}

void StartupGuard::finish() {
  std::lock_guard lock(mutex_);
  writeLocked(0, "finished");
}

void StartupGuard::writeLocked(int unfinished, std::string_view step) {
  json::Json mark = json::Json::object();
  mark["appVersion"] = versions_.app;
  mark["sdkVersion"] = versions_.sdk;
  mark["unfinishedStarts"] = unfinished;
  mark["step"] = std::string(step);
  if (store_) store_->setString(kKey, json::dump(mark));
}

}  // namespace korvane
