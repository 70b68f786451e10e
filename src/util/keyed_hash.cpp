#include "util/keyed_hash.h"

#include <random>

namespace korvane {
namespace {

SipKey drawKey() {
  std::random_device source;
  const auto draw = [&] { return (std::uint64_t{source()} << 32) | source(); };
  return SipKey{draw(), draw()};
}

}  // namespace

std::uint64_t keyedHash(std::string_view bytes) {
  static const SipKey key = drawKey();
  return sipHash<1, 3>(key, bytes);
}

}  // namespace korvane
