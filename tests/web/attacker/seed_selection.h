#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvane::attack {

// The seeds a run attacks with and the steps each sequence takes.
struct Campaign {
  std::vector<std::uint64_t> seeds;
  std::size_t steps = 0;
};

// KORVANE_ATTACK_SEEDS is "first:count" (count seeds from first on) or a list "7,19,23";
// KORVANE_ATTACK_STEPS the steps per sequence. What is unset comes from `defaults`; nothing
// when a variable does not read as a number, a range or a list.
std::optional<Campaign> campaignFromEnvironment(const Campaign& defaults);

}  // namespace korvane::attack
