#pragma once
// The platform's old-style text property lists, as command-line arguments and
// string tables carry them:
//
//   string       unquoted word of letters, digits and _ $ / : . -
//                or "quoted" / 'quoted' with \" \\ \n \t \r \a \b \f \v,
//                \ooo (octal, up to 0377) and \Uxxxx (a UTF-16 unit; halves
//                of a surrogate pair must come in pairs)
//   array        ( value, value, ... )          a final comma is allowed
//   dictionary   { key = value; key = value; }  keys are strings
//   data         < 0fa1 b2 >                    hexadecimal pairs
//
// with // and /* */ comments. There are no numbers, booleans or dates: they
// are strings, which readers convert. Containers come back immutable; a key
// given twice keeps its last value.

#include <string_view>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/object/Object.h"

namespace tq::TextPropertyList {

/// Reads one value that must fill the text (white space and comments aside).
/// Nil and an error (TQPropertyListErrorDomain, code 3840, a description
/// naming the line) on anything else, including invalid UTF-8 and nesting
/// deeper than 512 levels.
Id read(std::string_view text, Ref<Error>* error = nullptr);

/// Reads a string table: "key" = "value"; entries without the enclosing
/// braces (a text that is one braced dictionary is read as that). An empty
/// text is an empty table.
Ref<Dictionary> readStringsTable(std::string_view text, Ref<Error>* error = nullptr);

}  // namespace tq::TextPropertyList
