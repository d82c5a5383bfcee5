#pragma once
// The form in which a script executable gets its parameters and gives back
// its result: JSON, both ways.
//
// Parameters (standard input): one JSON object of strings, the handler's one
// record of string keys and string values, in the order given.
//
// Result (standard output, one JSON value):
//   string            'utxt'
//   integer           'long' when it fits 32 bits, else 'doub'
//   other number      'doub'
//   true / false      'bool'
//   null              'type' 'msng' (the missing value)
//   array             'list' of the items
//   {"$date": S}      'ldt ', S seconds since 1970-01-01 UTC
//   {"$enum": "abcd"} 'enum' with that four-character code
//   {"$type": "abcd"} 'type' with that code
//   other object      'reco': "result", "url" and "name" under their keywords
//                     ('rslt', 'url ', 'pnam'), "date" under 'ldt ' when it
//                     is a date, every other member in the 'usrf' list of
//                     alternating key and value
// Empty output (white space only) is the null descriptor, a handler that
// returns nothing.

#include <string>
#include <string_view>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/script/EventDescriptor.h"

namespace tq::ScriptJSON {

/// The error domain of results that do not read; code 1.
inline constexpr const char* ScriptResultErrorDomain = "TQScriptResultErrorDomain";

/// The descriptor of a script's output; nil and an error when the output is
/// not JSON or uses a form above wrongly ("$enum" of other than four
/// characters).
Ref<EventDescriptor> readResult(std::string_view output, Ref<Error>* error = nullptr);

/// The parameters as the script reads them: a JSON object of the strings.
std::string parametersText(const Dictionary& parameters);

}  // namespace tq::ScriptJSON
