#pragma once
// What the defaults file manager's source files share and nobody else sees.

#include <atomic>
#include <cstdint>

namespace tq::detail {

/// Reads served from memory since the last read or successful write of any
/// defaults file: a diagnostic counter.
std::atomic<std::uint64_t>& cachedReadCounter();

}  // namespace tq::detail
