#pragma once

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <string>

// The baseline every gzip figure is compared with: zlib's own compress2 at the default level
// on the same bytes.
inline void runCompress2Baseline(benchmark::State& state, const std::string& body) {
  std::string out(compressBound(static_cast<uLong>(body.size())), '\0');
  for (auto _ : state) {
    uLongf length = static_cast<uLongf>(out.size());
    compress2(reinterpret_cast<Bytef*>(out.data()), &length,
              reinterpret_cast<const Bytef*>(body.data()), static_cast<uLong>(body.size()),
              Z_DEFAULT_COMPRESSION);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
