#pragma once
// The fixed places that some assertion reports name instead of the real
// source file and line: hosts and their crash reports match on these exact
// values, so they are kept in one table rather than beside each assertion.

#include "tq/platform/object/Assert.h"

namespace tq {

struct AssertionPlace {
  const char* file;
  int line;
};

namespace AssertionPlaces {

/// The ordered dictionary's initialiser: object and key counts differ.
inline constexpr AssertionPlace OrderedDictionaryCountMismatch{"TQOrderedDictionary", 116};
/// The ordered dictionary's initialiser: the keys are not distinct.
inline constexpr AssertionPlace OrderedDictionaryDuplicateKeys{"TQOrderedDictionary", 117};
/// A signalling operation's block running on the main thread when it may not.
inline constexpr AssertionPlace SignallingOperationOnMainThread{"TQSignallingOperation", 35};
/// The logger finds no folder for its default log file.
inline constexpr AssertionPlace LoggerWithoutLogLocation{"TQLogger", 156};
/// A defaults store that does not name its file.
inline constexpr AssertionPlace DefaultsPathNotOverridden{"TQFoundationDefaults", 454};
/// A defaults subclass that does not answer its own shared instance.
inline constexpr AssertionPlace DefaultsSharedNotOverridden{"TQFoundationDefaults", 465};
/// The colour helpers: a highlight level outside 0 to 1.
inline constexpr AssertionPlace ColorHighlightLevelOutOfRange{"NSColor+TQFoundation", 248};
/// The colour helpers: a pale-shade factor outside 0 to 1.
inline constexpr AssertionPlace ColorPaleShadeFactorOutOfRange{"NSColor+TQFoundation", 269};
/// The colour helpers: a shade level outside 0 to 1.
inline constexpr AssertionPlace ColorShadeLevelOutOfRange{"NSColor+TQFoundation", 329};
/// The integer set's class constructor: the integer 2^64 - 1.
inline constexpr AssertionPlace IntegerSetConstructorMaximum{"TQIntegerSet", 51};
/// The integer set's initialiser: the integer 2^64 - 1.
inline constexpr AssertionPlace IntegerSetInitialiserMaximum{"TQIntegerSet", 74};
/// The mutable integer set's initialiser: the integer 2^64 - 1.
inline constexpr AssertionPlace MutableIntegerSetInitialiserMaximum{"TQIntegerSet", 485};
/// The integer-key dictionary's subscript: a key that is not a number.
inline constexpr AssertionPlace IntegerKeyDictionaryKeyNotNumber{"TQIntegerKeyDictionary", 40};
/// The integer-key dictionary's setter: a nil object.
inline constexpr AssertionPlace IntegerKeyDictionaryNilObject{"TQIntegerKeyDictionary", 120};
/// The index-set table's subscript: a key that is not a number.
inline constexpr AssertionPlace IndexSetTableKeyNotNumber{"TQIndexSetTable", 17};
/// The index-map table read from a dictionary without its list.
inline constexpr AssertionPlace IndexMapTableRepresentation{"TQIndexMapTable", 127};
/// A version string with more than three dot-separated parts.
inline constexpr AssertionPlace VersionStringMalformed{"TQVersionDetails", 33};

/// The UUID helpers: data that is not 16 bytes long.
inline constexpr AssertionPlace UUIDDataLength{"NSUUID+TQFoundation", 20};
/// The UUID helpers: a compact text that is not 22 characters long.
inline constexpr AssertionPlace UUIDBase64Length{"NSUUID+TQFoundation", 34};

}  // namespace AssertionPlaces

}  // namespace tq

/// Asserts and, on failure, reports a place of the table above.
#define TQ_ASSERT_PLACE(cond, place, desc) TQ_ASSERT_AT(cond, (place).file, (place).line, desc)
