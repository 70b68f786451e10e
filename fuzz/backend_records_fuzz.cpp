// One backend record's decoder on arbitrary bytes (chosen at build time with KORVANE_FUZZ_RECORD):
// it must never crash, and whatever decodes must encode and decode again to the same JSON.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "backend/record_codec.h"

using Record = korvane::KORVANE_FUZZ_RECORD;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view body(reinterpret_cast<const char*>(data), size);
  korvane::Result<Record> decoded = korvane::json::decode<Record>(body);
  if (!decoded) return 0;
  const std::string encoded = korvane::json::dump(toJson(decoded.value()));
  korvane::Result<Record> again = korvane::json::decode<Record>(encoded);
  if (!again || korvane::json::dump(toJson(again.value())) != encoded) std::abort();
  return 0;
}
