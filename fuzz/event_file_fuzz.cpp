// The event file decoder on arbitrary bytes: no crash, the streaming check agrees with it, and
// what decodes re-encodes stably.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "telemetry/event_codec.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  korvane::Result<std::vector<korvane::Event>> events = korvane::decodeEventFile(text);
  // The streaming check used before single-event saves must accept exactly what decoding does.
  const std::optional<std::size_t> count = korvane::validEventCount(text);
  if (count.has_value() != events.ok() || (count && *count != events.value().size())) std::abort();
  if (!events) return 0;
  const std::string encoded = korvane::encodeEventFile(events.value());
  korvane::Result<std::vector<korvane::Event>> again = korvane::decodeEventFile(encoded);
  if (!again || korvane::encodeEventFile(again.value()) != encoded) std::abort();
  return 0;
}
