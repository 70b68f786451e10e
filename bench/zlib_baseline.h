#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <zlib.h>

#include <string>

// Before each iteration, untimed: the allocator gives back what is free to the system, as it
// does in the long quiet between two batches, so that memory a call sets up comes as fresh pages
// again instead of pages the previous iteration just left warm.
inline void startAfterAQuietSpell(benchmark::State& state) {
  state.PauseTiming();
  malloc_trim(0);
  state.ResumeTiming();
}

// The baseline every gzip figure is compared with: zlib's own compress2 at the default level
// on the same bytes; after a quiet spell before each call when `quiet` is set.
inline void runCompress2Baseline(benchmark::State& state, const std::string& body,
                                 bool quiet = false) {
  std::string out(compressBound(static_cast<uLong>(body.size())), '\0');
  for (auto _ : state) {
    if (quiet) startAfterAQuietSpell(state);
    uLongf length = static_cast<uLongf>(out.size());
    compress2(reinterpret_cast<Bytef*>(out.data()), &length,
              reinterpret_cast<const Bytef*>(body.data()), static_cast<uLong>(body.size()),
              Z_DEFAULT_COMPRESSION);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * body.size()));
}
