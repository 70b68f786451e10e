#pragma once

#include <cstddef>
#include <fstream>
#include <string>

namespace korvane::testing {

// How much the host's resident set may grow while hostile pages run in its offerwalls: the pages'
// 64 MiB messages pass through it, and AddressSanitizer's quarantine keeps freed memory a while.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr std::size_t kResidentGrowthBoundKiB = 1024u * 1024u;
#else
inline constexpr std::size_t kResidentGrowthBoundKiB = 512u * 1024u;
#endif

// The resident set of this process (the host; page scripts run in WebKit's web processes).
inline std::size_t residentKiB() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmRSS:", 0) == 0) return std::stoul(line.substr(6));
  return 0;
}

}  // namespace korvane::testing
