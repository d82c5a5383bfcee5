#pragma once
// Internal: the library's own English texts for dates, by key. Hosts that
// translate look the same keys up in their own tables first.

#include <string_view>

namespace tq::detail {

/// The text of a key ("DatePreference.Today"); the key itself when the table
/// has none, so that a missing text shows rather than vanishes.
std::string_view dateString(std::string_view key);

}  // namespace tq::detail
