// Cost of a log line that nobody wants, of a printed one, and the scrubber's throughput.
#include <benchmark/benchmark.h>

#include <string>

#include "korvane/util/logger.h"
#include "pcre2_oracle.h"
#include "util/log_scrubber.h"

namespace {

using korvane::KorvaneLogger;
using korvane::LogLevel;

[[gnu::noinline]] void emptyCall(std::string_view tag, std::string_view message) {
  benchmark::DoNotOptimize(tag.data());
  benchmark::DoNotOptimize(message.data());
}

void BM_EmptyCall(benchmark::State& state) {
  for (auto _ : state)
    emptyCall("EventBatchService", "Event tracked: custom (category: offerwall)");
}
BENCHMARK(BM_EmptyCall);

void BM_FilteredDebugLine(benchmark::State& state) {
  KorvaneLogger::setLogLevel(LogLevel::warning);
  for (auto _ : state)
    KorvaneLogger::d("EventBatchService", "Event tracked: custom (category: offerwall)");
}
BENCHMARK(BM_FilteredDebugLine);

void BM_FilteredDebugLineLazy(benchmark::State& state) {
  KorvaneLogger::setLogLevel(LogLevel::warning);
  const std::string category = "offerwall";
  for (auto _ : state)
    KorvaneLogger::d("EventBatchService",
                     [&] { return "Event tracked: custom (category: " + category + ")"; });
}
BENCHMARK(BM_FilteredDebugLineLazy);

void BM_EnabledDebugLine(benchmark::State& state) {
  KorvaneLogger::setLogLevel(LogLevel::debug);
  std::size_t bytes = 0;
  KorvaneLogger::setLineWriter([&](std::string_view line) { bytes += line.size(); });
  for (auto _ : state)
    KorvaneLogger::d("EventBatchService", "Event tracked: custom (category: offerwall)");
  benchmark::DoNotOptimize(bytes);
  KorvaneLogger::setLineWriter(nullptr);
  KorvaneLogger::setLogLevel(LogLevel::warning);
}
BENCHMARK(BM_EnabledDebugLine);

// About 64 KiB of what the SDK actually logs: request summaries, URLs with credentials in
// query items, JSON bodies, e-mail addresses and plenty of text with nothing to mask.
const std::string& logLikeText() {
  static const std::string text = [] {
    const char* const lines[] = {
        "[D/ApiService] Request compressed: 4213 bytes → 1377 bytes (67% reduction)\n",
        "[D/KorvaneOfferwallViewController] Loading offerwall URL: "
        "https://hub.korvane.io/"
        "?appKey=ak_live_8f2c&userId=user-1842&ifa=6D92078A-8246-4BA4-AE5B-76104861E7DC&session_id="
        "0E0C2F1A\n",
        "[V/ApiService] Response as Dictionary: {\"success\": true, \"data\": {\"user_id\": "
        "\"user-1842\", \"point\": \"1200\", \"token\": \"eyJhbGciOiJIUzI1NiJ9\"}}\n",
        "[I/EventBatchService] Batch sent successfully: 20 events, next flush in 31.2 s\n",
        "[W/KorvaneSdk] Login failed but continuing: The request timed out.\n",
        "[E/Support] Contact support@korvane.io or jane.doe+offers@example.co.uk about account "
        "1842\n",
        "[D/EventBatchService] Event tracked: offerwall_opened (category: offerwall)\n",
        "[D/DeviceUtils] [SYNC] Advertising ID authorized: 6D92078A...\n",
    };
    std::string all;
    while (all.size() < 64 * 1024)
      for (const char* line : lines) all += line;
    return all;
  }();
  return text;
}

void BM_ScrubKorvane(benchmark::State& state) {
  const std::string& text = logLikeText();
  for (auto _ : state) benchmark::DoNotOptimize(korvane::scrubber::scrub(text));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ScrubKorvane);

void BM_ScrubPcre2(benchmark::State& state) {
  const std::string& text = logLikeText();
  korvane::testing::Pcre2Scrubber pcre2;
  if (state.range(0) == 1) pcre2.enableJit();
  for (auto _ : state) benchmark::DoNotOptimize(pcre2.scrub(text));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.SetLabel(state.range(0) == 1 ? "jit" : "interpreter");
}
BENCHMARK(BM_ScrubPcre2)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
