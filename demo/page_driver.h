#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "korvane/platform/screen_presenter.h"

namespace korvane::demo {

// Runs the GLib main context (where the SDK's main-thread work and WebKit's callbacks run)
// until `done` holds or `timeout` passes; false on timeout.
bool pumpUntil(const std::function<bool()>& done,
               std::chrono::milliseconds timeout = std::chrono::seconds(10));
void pumpFor(std::chrono::milliseconds duration);

// Evaluates `script` in the page `screen` shows and waits for its result as JSON text;
// nothing when it failed or took longer than `timeout`.
std::optional<std::string> evaluate(Screen& screen, const std::string& script,
                                    std::chrono::milliseconds timeout = std::chrono::seconds(5));

// A string as a JavaScript string literal.
std::string jsString(const std::string& text);

}  // namespace korvane::demo
