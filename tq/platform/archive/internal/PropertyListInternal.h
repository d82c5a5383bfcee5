#pragma once
// Pieces shared by the property-list readers and writers (XML and binary),
// by JSON and by keyed archiving. Not part of the public interface.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tq/platform/value/Data.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/object/Object.h"

namespace tq::plist_detail {

/// Nesting deeper than this is refused by every reader and writer, so that
/// hostile input cannot exhaust the stack.
inline constexpr int MaxDepth = 512;

/// The dictionary key under which XML property lists carry a UID (a format
/// constant of the keyed-archive interchange).
inline constexpr const char* UIDKey = "CF$UID";

/// An error in the property-list domain with a description.
Ref<Error> makeError(std::int64_t code, const std::string& description);
/// "Number", "Error", ... for messages about values that cannot be written.
std::string typeName(const Object* object);

// Base64 with the standard alphabet and padding.
std::string base64Encode(const std::uint8_t* bytes, std::size_t length);
/// The same into `out`, which has room for (length + 2) / 3 * 4 bytes;
/// answers the end of what was written.
char* base64Encode(const std::uint8_t* bytes, std::size_t length, char* out);
/// Skips white space; nil on any other character outside the alphabet, on
/// misplaced padding or on a length that cannot come from an encoder.
std::optional<std::vector<std::uint8_t>> base64Decode(std::string_view text);

/// "yyyy-MM-ddTHH:mm:ssZ" in UTC, whole seconds (fractions are dropped
/// toward the earlier second).
std::string formatDate(double secondsSinceReferenceDate);
/// The same into `out`, which has room for MaxDateLength bytes; answers the
/// end of what was written.
inline constexpr std::size_t MaxDateLength = 32;
char* formatDate(double secondsSinceReferenceDate, char* out);
/// Parses the form above; nil when malformed or out of range.
std::optional<double> parseDate(std::string_view text);

/// A double as property-list files carry it: seventeen significant digits
/// ("%.17g" in the C locale), zeros as "0.0" and "-0.0", "+infinity",
/// "-infinity", "nan".
std::string formatReal(double value);
/// The same into `out`, which has room for MaxRealLength bytes; answers the
/// end of what was written.
inline constexpr std::size_t MaxRealLength = 32;
char* formatReal(double value, char* out);
/// Accepts what formatReal writes plus "inf"/"infinity" in any case, with an
/// optional sign, and surrounding white space. Locale-independent.
std::optional<double> parseReal(std::string_view text);

/// Integer text: optional sign, decimal or "0x" hexadecimal, over
/// [INT64_MIN, UINT64_MAX]. Answers a Number (unsigned above INT64_MAX).
Id parseInteger(std::string_view text);

// Format back ends.
Id readXML(std::string_view bytes, bool mutableContainers, Ref<Error>* error);
std::optional<std::string> writeXML(const Object* object, Ref<Error>* error);
Id readBinary(std::string_view bytes, bool mutableContainers, Ref<Error>* error);
Ref<Data> writeBinary(const Object* object, Ref<Error>* error);

}  // namespace tq::plist_detail
