#pragma once
// The string extension that reads "KEY:VALUE" pairs of signed integers, as
// the index-map table writes them.

#include <cstdint>

#include "tq/platform/value/String.h"

namespace tq::TQFoundation {

/// Matches the whole text against -?[0-9]+:-?[0-9]+ (ASCII digits, no white
/// space, no plus sign) with both numbers in the signed 64-bit range, and
/// answers the two numbers. False, leaving both untouched, otherwise.
bool splitIntoIntegerKey(const String& text, std::int64_t* key, std::int64_t* value);

}  // namespace tq::TQFoundation
