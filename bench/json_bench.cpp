// Reading JSON from outside: a 1 MiB object of many keys against an array of the same bytes (the
// same strings with commas for colons), so the figure is what holding the keys of one object
// costs over a plain list. Width must cost time in proportion to the input, as depth does.
#include <benchmark/benchmark.h>

#include <string>

#include "korvane/util/json_value.h"

namespace {

using namespace korvane;

constexpr std::size_t kTargetBytes = 1 << 20;

// {"k0":"v0","k1":"v1",...} up to about kTargetBytes, and the array of the same bytes.
struct WideText {
  std::string object = "{";
  std::string array = "[";
  std::size_t keys = 0;

  WideText() {
    while (object.size() < kTargetBytes) {
      const std::string n = std::to_string(keys++);
      const std::string separator = keys > 1 ? "," : "";
      object += separator + "\"k" + n + "\":\"v" + n + "\"";
      array += separator + "\"k" + n + "\",\"v" + n + "\"";
    }
    object += "}";
    array += "]";
  }
};

const WideText& wideText() {
  static const WideText text;
  return text;
}

void parse(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    Result<JsonValue> value = parseDepthLimitedJson(text);
    if (!value) state.SkipWithError("the text did not parse");
    benchmark::DoNotOptimize(value);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.counters["keys"] = static_cast<double>(wideText().keys);
}

void BM_ParseWideObject(benchmark::State& state) {
  parse(state, wideText().object);
}
BENCHMARK(BM_ParseWideObject)->Unit(benchmark::kMillisecond);

// The baseline: the same bytes as an array of strings, which the parser never searched.
void BM_ParseArrayOfSameBytes(benchmark::State& state) {
  parse(state, wideText().array);
}
BENCHMARK(BM_ParseArrayOfSameBytes)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
