#pragma once
// How the typed preference readers take stored values into a kind. Shared by
// the readers and by the preference made from a listed setting, whose JSON
// default must read as the readers would read the same value stored.

#include <cstdint>
#include <optional>

#include "tq/platform/object/Object.h"

namespace tq::detail {

/// A number's truth; a string is true when, lower-cased, it is "yes", "1" or
/// "true" (so "2" and "no" are false); anything else is false.
bool lenientBoolValue(const Id& value);
/// A number that holds an integer exactly (a boolean, an integer, or a real
/// with no fraction within range); nothing for anything else.
std::optional<std::int64_t> exactIntegerValue(const Id& value);
/// A number's value; nothing for anything else.
std::optional<double> realValue(const Id& value);

}  // namespace tq::detail
