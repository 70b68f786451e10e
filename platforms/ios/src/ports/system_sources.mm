#import "ports/system_sources.h"

#include <stdlib.h>

namespace korvane::ios {

std::uint64_t SecureRandom::nextUint64() {
  std::uint64_t value = 0;
  arc4random_buf(&value, sizeof value);
  return value;
}

}  // namespace korvane::ios
