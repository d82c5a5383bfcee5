#pragma once
// Values on the command line as JSON, shared by the commands that show and
// take property-list values (plist, defaults): JSON has no data, dates, UIDs
// or non-finite numbers, so those print as their text forms (Base64, ISO 8601
// UTC, the number, "+infinity"/"-infinity"/"nan").

#include <string>

#include "Command.h"
#include "tq/platform/object/Object.h"

namespace tqkit {

/// The value as JSON with sorted keys, pretty-printed or on one line.
std::string toJSON(const tq::Id& value, bool pretty = true);
/// JSON text, or the text itself as a string when it is not JSON.
tq::Id parseValue(const std::string& text);
/// Whether a JSON null stands somewhere inside the value (property lists
/// have no null; only a null given as the whole value means "remove").
bool holdsNull(const tq::Id& value);

}  // namespace tqkit
