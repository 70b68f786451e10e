#define PCRE2_CODE_UNIT_WIDTH 8
#include "pcre2_oracle.h"

#include <pcre2.h>

#include <cctype>
#include <memory>
#include <stdexcept>

#include "util/log_scrubber.h"

namespace korvane::testing {

struct Pcre2Scrubber::Rule {
  pcre2_code* code = nullptr;
  std::string replacement;
  ~Rule() { pcre2_code_free(code); }
};

namespace {

// Literal text as a pattern: every ASCII punctuation character is escaped.
std::string escapeLiteral(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (std::ispunct(static_cast<unsigned char>(c)) && c != '_') out += '\\';
    out += c;
  }
  return out;
}

pcre2_code* compile(const std::string& pattern) {
  int error = 0;
  PCRE2_SIZE offset = 0;
  pcre2_code* code =
      pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                    PCRE2_UTF | PCRE2_UCP | PCRE2_MATCH_INVALID_UTF, &error, &offset, nullptr);
  if (!code) throw std::runtime_error("pattern does not compile: " + pattern);
  return code;
}

}  // namespace

std::string Pcre2Scrubber::sensitivePattern() {
  std::string names;
  for (std::string_view key : scrubber::kSensitiveKeys) {
    if (!names.empty()) names += '|';
    names += escapeLiteral(key);
  }
  return R"((?i)(["']?(?:)" + names + R"()["']?\s*[:=]\s*)(["']?)([^"'\s,}\]&]+)(["']?))";
}

Pcre2Scrubber::Pcre2Scrubber()
    : sensitive_(std::make_unique<Rule>()), email_(std::make_unique<Rule>()) {
  sensitive_->code = compile(sensitivePattern());
  sensitive_->replacement = "$1$2***$4";
  email_->code = compile(kEmailPattern);
  email_->replacement = "***";
}

Pcre2Scrubber::~Pcre2Scrubber() = default;

void Pcre2Scrubber::enableJit() {
  pcre2_jit_compile(sensitive_->code, PCRE2_JIT_COMPLETE);
  pcre2_jit_compile(email_->code, PCRE2_JIT_COMPLETE);
}

std::optional<std::string> Pcre2Scrubber::apply(const Rule& rule, std::string_view text) const {
  std::string out(text.size() + 64, '\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    PCRE2_SIZE length = out.size();
    const int rc = pcre2_substitute(
        rule.code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0,
        PCRE2_SUBSTITUTE_GLOBAL | PCRE2_SUBSTITUTE_OVERFLOW_LENGTH, nullptr, nullptr,
        reinterpret_cast<PCRE2_SPTR>(rule.replacement.data()), rule.replacement.size(),
        reinterpret_cast<PCRE2_UCHAR*>(out.data()), &length);
    if (rc >= 0) {
      out.resize(length);
      return out;
    }
    if (rc != PCRE2_ERROR_NOMEMORY) return std::nullopt;
    out.resize(length);
  }
  return std::nullopt;
}

std::optional<std::string> Pcre2Scrubber::scrub(std::string_view text) const {
  auto masked = apply(*sensitive_, text);
  if (!masked) return std::nullopt;
  return apply(*email_, *masked);
}

}  // namespace korvane::testing
