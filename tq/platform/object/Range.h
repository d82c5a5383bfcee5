#pragma once
// A run of indexes (location, length), and the not-found index.

#include <cstdint>
#include <string>

namespace tq {

using Index = std::uint64_t;
/// The not-found index, 2^63 - 1.
inline constexpr Index NotFound = 0x7fffffffffffffffULL;

struct Range {
  Index location = 0;
  Index length = 0;

  constexpr Index end() const { return location + length; }
  constexpr bool contains(Index index) const { return index >= location && index - location < length; }
  constexpr bool operator==(const Range&) const = default;
};

constexpr Range makeRange(Index location, Index length) { return Range{location, length}; }
/// "{location, length}"
std::string toString(const Range& range);

}  // namespace tq
