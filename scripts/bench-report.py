#!/usr/bin/env python3
"""Runs the benchmarks and prints each figure as a ratio against its in-process baseline."""
import json
import subprocess
import sys

BUILD = sys.argv[1] if len(sys.argv) > 1 else "build/default"

# (benchmark binary, measured, baseline, how to read it)
RATIOS = [
    ("korvane_bench_logger", "BM_FilteredDebugLine", "BM_EmptyCall", "filtered debug line vs empty call (time)"),
    ("korvane_bench_logger", "BM_FilteredDebugLineLazy", "BM_EmptyCall", "filtered lazy debug line vs empty call (time)"),
    ("korvane_bench_logger", "BM_EnabledDebugLine", "BM_EmptyCall", "printed debug line vs empty call (time)"),
    ("korvane_bench_logger", "BM_ScrubPcre2/0", "BM_ScrubKorvane", "scrub throughput vs PCRE2 interpreter"),
    ("korvane_bench_logger", "BM_ScrubPcre2/1", "BM_ScrubKorvane", "scrub throughput vs PCRE2 JIT"),
]


def run(binary):
    out = subprocess.run([f"{BUILD}/bench/{binary}", "--benchmark_format=json",
                          "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true"],
                         check=True, capture_output=True, text=True).stdout
    results = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") == "median":
            results[b["run_name"]] = b
    return results


cache = {}
print("| measurement | value | baseline | ratio |")
print("|---|---|---|---|")
for binary, measured, baseline, label in RATIOS:
    results = cache.setdefault(binary, run(binary))
    m, b = results[measured], results[baseline]
    if "bytes_per_second" in m:
        mv, bv = b["bytes_per_second"] / 1e6, m["bytes_per_second"] / 1e6
        print(f"| {label} | {mv:.0f} MB/s | {bv:.1f} MB/s | {mv / bv:.1f}x |")
    else:
        print(f"| {label} | {m['cpu_time']:.2f} ns | {b['cpu_time']:.2f} ns | {m['cpu_time'] / b['cpu_time']:.2f}x |")
