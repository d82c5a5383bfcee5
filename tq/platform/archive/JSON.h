#pragma once
// JSON text to and from the object model: objects are dictionaries, arrays
// arrays, strings strings, numbers numbers (integers keep their exact 64-bit
// value, signed or unsigned), true/false boolean numbers, null the null marker.

#include <optional>
#include <string>
#include <string_view>

#include "tq/platform/value/Data.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/object/Object.h"

namespace tq {

/// The error domain of JSON failures; codes below.
inline constexpr const char* JSONErrorDomain = "TQJSONErrorDomain";
enum JSONErrorCode : std::int64_t {
  JSONReadCorruptError = 3840,   // malformed text; the description says what and where
  JSONWriteInvalidError = 3851,  // a value JSON cannot represent
};

enum class JSONWriteOptions : unsigned {
  None = 0,
  PrettyPrinted = 1,     // two-space indentation, one member per line
  SortedKeys = 2,        // object members in code-unit order of their keys
  FragmentsAllowed = 4,  // a top level other than an array or an object
};
constexpr JSONWriteOptions operator|(JSONWriteOptions a, JSONWriteOptions b) {
  return JSONWriteOptions(unsigned(a) | unsigned(b));
}
constexpr bool has(JSONWriteOptions set, JSONWriteOptions flag) { return (unsigned(set) & unsigned(flag)) != 0; }

namespace JSON {

/// Parses UTF-8 JSON text (any value at the top level). Nil and an error on
/// malformed text, invalid UTF-8 or nesting deeper than 512 levels. With
/// `mutableContainers`, arrays and dictionaries come back mutable.
Id read(std::string_view text, Ref<Error>* error = nullptr, bool mutableContainers = false);

/// Writes JSON text (UTF-8). Nil and an error for values JSON cannot
/// represent: dates, data, non-string keys, NaN and infinities, and a top
/// level other than an array or a dictionary unless fragments are allowed.
std::optional<std::string> write(const Object* object, JSONWriteOptions options = JSONWriteOptions::None,
                                 Ref<Error>* error = nullptr);
/// The same as bytes.
Ref<Data> writeData(const Object* object, JSONWriteOptions options = JSONWriteOptions::None,
                    Ref<Error>* error = nullptr);

/// True when `write` would succeed for a top-level array or dictionary.
bool isValidObject(const Object* object);

}  // namespace JSON

}  // namespace tq
