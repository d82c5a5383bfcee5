#pragma once
// Faulting in the memory of a large output before it is written.

#include <cstddef>

namespace tq::detail {

/// Outputs smaller than this are left to fault page by page: they mostly land
/// in memory the allocator has touched before, and asking the kernel would
/// cost more than it saves.
inline constexpr std::size_t PrefaultFromBytes = 256 * 1024;

/// Asks the kernel to map the whole pages of [begin, end) at once, as writes
/// would one trap at a time. Changes no byte; a kernel that cannot (before
/// Linux 5.14) leaves the pages to fault on first write, as without it.
void prefault(const void* begin, const void* end);

}  // namespace tq::detail
