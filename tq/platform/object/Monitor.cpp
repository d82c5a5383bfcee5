#include "tq/platform/object/Monitor.h"

#include <array>
#include <cstdint>

namespace tq {

namespace {
// Enough stripes that unrelated objects rarely wait on each other.
constexpr std::size_t kStripes = 64;
}  // namespace

std::recursive_mutex& monitorOf(const Object& object) {
  static std::array<std::recursive_mutex, kStripes> stripes;
  // Objects are at least 16-byte aligned; the low bits say nothing.
  auto address = reinterpret_cast<std::uintptr_t>(&object);
  return stripes[(address >> 4) % kStripes];
}

}  // namespace tq
