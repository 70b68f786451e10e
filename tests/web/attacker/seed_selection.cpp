#include "attacker/seed_selection.h"

#include <cstdlib>
#include <string_view>

namespace korvane::attack {
namespace {

std::optional<std::uint64_t> number(std::string_view text) {
  if (text.empty() || text.size() > 20) return std::nullopt;
  std::uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    const std::uint64_t digit = static_cast<std::uint64_t>(c - '0');
    if (value > (UINT64_MAX - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  return value;
}

std::optional<std::vector<std::uint64_t>> seedsFrom(std::string_view text) {
  std::vector<std::uint64_t> seeds;
  if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
    const std::optional<std::uint64_t> first = number(text.substr(0, colon));
    const std::optional<std::uint64_t> count = number(text.substr(colon + 1));
    if (!first || !count || *count == 0 || *count > 1000000) return std::nullopt;
    for (std::uint64_t i = 0; i < *count; ++i) seeds.push_back(*first + i);
    return seeds;
  }
  while (!text.empty()) {
    const std::size_t comma = text.find(',');
    const std::optional<std::uint64_t> seed = number(text.substr(0, comma));
    if (!seed) return std::nullopt;
    seeds.push_back(*seed);
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  if (seeds.empty()) return std::nullopt;
  return seeds;
}

}  // namespace

std::optional<Campaign> campaignFromEnvironment(const Campaign& defaults) {
  Campaign campaign = defaults;
  if (const char* seeds = std::getenv("KORVANE_ATTACK_SEEDS"); seeds && *seeds) {
    std::optional<std::vector<std::uint64_t>> read = seedsFrom(seeds);
    if (!read) return std::nullopt;
    campaign.seeds = std::move(*read);
  }
  if (const char* steps = std::getenv("KORVANE_ATTACK_STEPS"); steps && *steps) {
    const std::optional<std::uint64_t> read = number(steps);
    if (!read || *read == 0 || *read > 10000) return std::nullopt;
    campaign.steps = static_cast<std::size_t>(*read);
  }
  return campaign;
}

}  // namespace korvane::attack
