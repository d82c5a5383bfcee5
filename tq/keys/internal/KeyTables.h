#pragma once
// The key tables that do not depend on the layout: the fixed key names, the
// key-code sets and the number-row digits. Built once, never changed.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tq::detail {

/// The fixed name of a key code, or nullptr when its name comes from the
/// layout.
const char16_t* fixedKeyName(std::uint16_t keyCode);
/// The fixed table's entries, in ascending key code.
const std::vector<std::pair<std::uint16_t, std::u16string>>& fixedKeyEntries();

bool isKeypadNumber(std::uint16_t keyCode);
bool isNumberRowKey(std::uint16_t keyCode);
bool isFunctionKey(std::uint16_t keyCode);
/// The digit a number-row key types on an ANSI keyboard, or nullptr (for
/// codes 24 and 27, and codes outside 18 to 29).
const char16_t* numberRowDigit(std::uint16_t keyCode);

}  // namespace tq::detail
