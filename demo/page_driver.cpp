#include "page_driver.h"

#include <glib.h>

#include <thread>

#include "korvane/util/json_value.h"

namespace korvane::demo {

bool pumpUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto until = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    if (std::chrono::steady_clock::now() > until) return false;
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

void pumpFor(std::chrono::milliseconds duration) {
  pumpUntil([] { return false; }, duration);
}

std::optional<std::string> evaluate(Screen& screen, const std::string& script,
                                    std::chrono::milliseconds timeout) {
  // Shared with the completion, which may outlive this call when the page never answers.
  auto result = std::make_shared<std::optional<Result<std::string>>>();
  screen.webView().evaluateJavaScript(script,
                                      [result](Result<std::string> r) { *result = std::move(r); });
  if (!pumpUntil([&] { return result->has_value(); }, timeout) || !**result) return std::nullopt;
  return (**result).value();
}

std::string jsString(const std::string& text) {
  return JsonValue(text).dump(-1, ' ', false, JsonValue::error_handler_t::replace);
}

}  // namespace korvane::demo
