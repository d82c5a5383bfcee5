#pragma once
// What the property-list targets hold every reader to, whichever format they
// feed it: a refusal explains itself, and whatever is accepted writes back
// and reads again without loss.

#include <string_view>

#include "fuzz/support/FuzzCheck.h"
#include "tq/platform/archive/PropertyList.h"

namespace tq::fuzz {

/// The property list the bytes hold, or nil; a refusal always comes with an
/// error.
inline Id readExplained(std::string_view bytes, bool mutableContainers = false) {
  Ref<Error> error;
  Id value = PropertyList::read(bytes, &error, nullptr, mutableContainers);
  if (!value) check(error != nullptr);
  return value;
}

/// Writes the value in the format and checks that it writes at all; answers
/// the bytes.
inline Ref<Data> writes(const Id& value, PropertyListFormat format) {
  Ref<Data> bytes = PropertyList::write(value.get(), format);
  check(bytes != nullptr);
  return bytes;
}

/// The value written as XML reads back equal to it.
inline void checkXMLRoundTrip(const Id& value) {
  Ref<Data> xml = writes(value, PropertyListFormat::XML);
  Id reread = PropertyList::read(xml->view());
  check(reread && isEqual(reread, value));
}

/// The value written as binary reads back, and that writes the same bytes
/// again: nothing is lost on the way.
inline void checkBinaryRoundTrip(const Id& value) {
  Ref<Data> binary = writes(value, PropertyListFormat::Binary);
  Id again = PropertyList::read(binary->view());
  check(again != nullptr);
  Ref<Data> rewritten = PropertyList::write(again.get(), PropertyListFormat::Binary);
  check(rewritten && rewritten->isEqual(*binary));
}

}  // namespace tq::fuzz
