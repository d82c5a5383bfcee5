#pragma once
// Runs a body over a set of positions on several threads, for the concurrent
// enumeration option of the collections.

#include <cstdint>
#include <functional>
#include <vector>

namespace tq {

/// Calls `body(position, &stop)` for every element of `positions`, spread
/// over the machine's cores (the caller's thread among them). Once a body sets
/// `stop`, no further bodies start. Returns when every started body is done.
void parallelForEach(const std::vector<std::uint64_t>& positions,
                     const std::function<void(std::uint64_t, bool*)>& body);

}  // namespace tq
