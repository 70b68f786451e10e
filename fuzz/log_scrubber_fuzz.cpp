// The scrubber against PCRE2 running the documented expressions: any difference is a crash.
#include <cstdint>
#include <cstdio>
#include <string>

#include "pcre2_oracle.h"
#include "util/log_scrubber.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const korvane::testing::Pcre2Scrubber oracle;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::optional<std::string> expected = oracle.scrub(input);
  if (!expected) return 0;
  if (korvane::scrubber::scrub(input) != *expected) {
    std::fprintf(stderr, "scrubber differs from PCRE2\n");
    __builtin_trap();
  }
  return 0;
}
