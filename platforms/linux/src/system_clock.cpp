#include "korvane/linux/system_clock.h"

namespace korvane::linux_host {

SystemRandom::SystemRandom() {
  std::random_device device;
  std::seed_seq seed{device(), device(), device(), device(),
                     device(), device(), device(), device()};
  engine_.seed(seed);
}

std::uint64_t SystemRandom::nextUint64() {
  std::lock_guard lock(mutex_);
  return engine_();
}

}  // namespace korvane::linux_host
