#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

// The logger's two masking rules run by PCRE2 exactly as written (Unicode properties and case
// folding; malformed UTF-8 matches nothing), as an independent reference for the scrubber.
namespace korvane::testing {

class Pcre2Scrubber {
 public:
  Pcre2Scrubber();
  ~Pcre2Scrubber();
  Pcre2Scrubber(const Pcre2Scrubber&) = delete;
  Pcre2Scrubber& operator=(const Pcre2Scrubber&) = delete;

  // Both rules in order; nothing when PCRE2 reports an error.
  std::optional<std::string> scrub(std::string_view text) const;
  // Enables PCRE2's JIT for both rules (for measuring its best case).
  void enableJit();

  // The sensitive-value expression, built from the key list as the logger documents it.
  static std::string sensitivePattern();
  static constexpr const char* kEmailPattern =
      R"([A-Za-z0-9._%+\-]+@[A-Za-z0-9.\-]+\.[A-Za-z]{2,})";

 private:
  struct Rule;
  std::optional<std::string> apply(const Rule& rule, std::string_view text) const;

  std::unique_ptr<Rule> sensitive_;
  std::unique_ptr<Rule> email_;
};

}  // namespace korvane::testing
