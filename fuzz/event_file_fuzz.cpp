// The event file decoder on arbitrary bytes: no crash, the streaming check agrees with it, and
// what decodes re-encodes stably. The same bytes as host text in every field of an event (they
// need not be UTF-8) still give an event file and a batch body that are valid JSON.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "backend/telemetry_json.h"
#include "telemetry/event_codec.h"
#include "telemetry/event_conversion.h"

namespace {

void checkHostText(const std::string& text) {
  using namespace korvane;
  JsonValue payload = JsonValue::object();
  payload[text] = text;
  payload["list"] = JsonValue::array({text, 1});
  const Event hostile = Event::custom(text, text, 1.7e12, text, payload);
  const std::string file = encodeEventFile({hostile, hostile});
  const Result<std::vector<Event>> back = decodeEventFile(file);
  if (!back || back.value().size() != 2 || validEventCount(file) != 2u) std::abort();
  EventBatch batch{text, text, text, text,
                   toTrackEventRequests(back.value(), {text, text, text, text, text})};
  if (!json::Json::accept(encodeBatchBody(batch))) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  checkHostText(std::string(text));
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
