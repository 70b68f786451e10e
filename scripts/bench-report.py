#!/usr/bin/env python3
"""Runs the benchmarks and prints each figure as a ratio against its in-process baseline."""
import json
import subprocess
import sys

BUILD = sys.argv[1] if len(sys.argv) > 1 else "build/default"

# (benchmark binary, measured, baseline, how to read it)
RATIOS = [
    (
        "korvane_bench_logger",
        "BM_FilteredDebugLine",
        "BM_EmptyCall",
        "filtered debug line vs empty call (time)",
    ),
    (
        "korvane_bench_logger",
        "BM_FilteredDebugLineLazy",
        "BM_EmptyCall",
        "filtered lazy debug line vs empty call (time)",
    ),
    (
        "korvane_bench_logger",
        "BM_EnabledDebugLine",
        "BM_EmptyCall",
        "printed debug line vs empty call (time)",
    ),
    (
        "korvane_bench_logger",
        "BM_ScrubPcre2/0",
        "BM_ScrubKorvane",
        "scrub throughput vs PCRE2 interpreter",
    ),
    ("korvane_bench_logger", "BM_ScrubPcre2/1", "BM_ScrubKorvane", "scrub throughput vs PCRE2 JIT"),
    (
        "korvane_bench_api",
        "BM_GzipBatch",
        "BM_ZlibCompress2Batch",
        "gzip of a 20-event batch vs zlib compress2 (time)",
    ),
    (
        "korvane_bench_api",
        "BM_BuildLoginRequest",
        "BM_EmptyCall",
        "login request built, encoded, compressed vs empty call (time)",
    ),
    (
        "korvane_bench_json",
        "BM_ParseWideObject",
        "BM_ParseArrayOfSameBytes",
        "1 MiB object of many keys vs an array of the same bytes, parsed (time)",
    ),
    (
        "korvane_bench_telemetry",
        "BM_FlushCpuWork/0",
        "BM_ZlibOnFlushBody/0",
        "one flush's CPU work (20 events) vs zlib alone on its body, warm allocator (time)",
    ),
    (
        "korvane_bench_telemetry",
        "BM_FlushCpuWork/1",
        "BM_ZlibOnFlushBody/1",
        "one flush's CPU work (20 events) vs zlib alone on its body, after a quiet spell (time)",
    ),
]


def run(binary, display=False):
    wrapper = ["bash", "tests/web/run-with-display.sh"] if display else []
    out = subprocess.run(
        wrapper
        + [
            f"{BUILD}/bench/{binary}",
            "--benchmark_format=json",
            "--benchmark_repetitions=10",
            "--benchmark_enable_random_interleaving=true",
            "--benchmark_report_aggregates_only=true",
        ],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    results = {}
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") == "median":
            results[b["run_name"]] = b
    return results


cache = {}
print("| measurement | value | baseline | ratio |")
print("|---|---|---|---|")
for binary, measured, baseline, label in RATIOS:
    if binary not in cache:
        cache[binary] = run(binary)
    results = cache[binary]
    m, b = results[measured], results[baseline]
    if "bytes_per_second" in m and "bytes_per_second" in b and m is not b and "Scrub" in measured:
        mv, bv = b["bytes_per_second"] / 1e6, m["bytes_per_second"] / 1e6
        print(f"| {label} | {mv:.0f} MB/s | {bv:.1f} MB/s | {mv / bv:.1f}x |")
    else:
        print(
            f"| {label} | {m['cpu_time']:.2f} {m['time_unit']} | {b['cpu_time']:.2f} {b['time_unit']} "
            f"| {m['cpu_time'] / b['cpu_time']:.2f}x |"
        )

gzip = cache["korvane_bench_api"]["BM_GzipBatch"]
print(
    f"\ngzip ratio on the batch body: {gzip['input_bytes']:.0f} bytes in, compressed {gzip['ratio']:.1f}x"
)

t = cache["korvane_bench_telemetry"]
for threads in (1, 4):
    track = t[f"BM_TrackEvent/real_time/threads:{threads}"]
    empty = t[f"BM_EmptyCall/threads:{threads}"]
    print(
        f"trackEvent, {threads} thread(s): p50 {track['p50_ns']:.0f} ns, p99 {track['p99_ns']:.0f} ns "
        f"(empty call {empty['cpu_time']:.2f} ns)"
    )
print(
    f"saveEvent into a 999-event file: {t['BM_SaveEventInto999']['real_time']:.2f} ms; "
    f"loadEvents of 1000: {t['BM_LoadEvents1000']['real_time']:.2f} ms"
)
print(f"full queue of 500 typical events: {t['BM_FullQueueMemory/iterations:3']['KiB']:.0f} KiB")

s = cache.setdefault("korvane_bench_sdk", run("korvane_bench_sdk"))
init = "BM_InitializeOnCallingThread/{}/iterations:100"
print(
    f"initialize on the calling thread: {s[init.format(0)]['real_time']:.3f} ms with an empty event file, "
    f"{s[init.format(1000)]['real_time']:.3f} ms with 1000 events, "
    f"{s[init.format(100000)]['real_time']:.3f} ms with a 10 MiB file "
    f"(empty call {s['BM_EmptyCall']['cpu_time']:.2f} ns); "
    f"until isInitialized against the local backend: {s['BM_TimeUntilInitialized/iterations:50/real_time']['real_time']:.2f} ms"
)

o = run("korvane_bench_offerwall")
print(
    f"offerwall open to first request: {o['BM_OpenToFirstRequest']['cpu_time'] / 1000:.1f} us; "
    f"one bridge message dispatched: {o['BM_DispatchBridgeMessage']['cpu_time'] / 1000:.1f} us "
    f"(empty call {o['BM_EmptyCall']['cpu_time']:.2f} ns)"
)
w = run("korvane_bench_webkit", display=True)
print(
    f"WebKitGTK open to load finished (local page): "
    f"{w['BM_WebKitOpenToLoadFinished/iterations:10/real_time']['real_time']:.0f} ms"
)
