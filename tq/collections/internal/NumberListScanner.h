#pragma once
// The scanning loop that the index set's and the integer set's list parsers
// share: skip commas and spaces, read a number, add it, until the end.

#include <functional>

#include "tq/platform/value/Scanner.h"
#include "tq/platform/value/String.h"

namespace tq::detail {

/// Reads one number at the scanner; answers false when there is none there.
using NumberReader = std::function<bool(Scanner& scanner, std::uint64_t* value)>;
/// Adds a number read (0 when the read failed, as the parsers want).
using NumberSink = std::function<void(std::uint64_t value)>;

/// Runs the loop over `text`. A character that no read consumes would make
/// the loop repeat for ever, adding 0 each time: it is reported once through
/// the assertion handler, naming `parser` and the character, and the loop
/// stops there (after the one 0 the first repetition added).
void scanNumberList(const String& text, const char* parser, const NumberReader& read, const NumberSink& add);

}  // namespace tq::detail
