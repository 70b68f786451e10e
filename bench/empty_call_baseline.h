#pragma once

#include <benchmark/benchmark.h>

// The baseline overhead figures are ratios against: a call the compiler cannot remove.
[[gnu::noinline]] inline void emptyCall(const void* p) {
  benchmark::DoNotOptimize(p);
}

inline void BM_EmptyCall(benchmark::State& state) {
  int value = 0;
  for (auto _ : state) emptyCall(&value);
}
