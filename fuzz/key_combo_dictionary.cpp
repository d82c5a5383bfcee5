// Reads arbitrary bytes as a property list and, when it is a dictionary, as
// a stored key combo (both the "code"/"modifiers" form and the older
// "keyCode"/"keyLabel" form), and checks what must hold: nothing raises;
// only a "keyLabel" of "NONE" beside a "keyCode" and no "code" gives nil;
// the flags stay within the five modifiers; and the combo written back in
// the new form reads again as the same combo.

#include <cstdint>
#include <string_view>

#include "fuzz/support/FuzzCheck.h"
#include "tq/keys/TQKeyCombo.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"

namespace {

using tq::fuzz::check;

bool isNumber(const tq::Id& object) { return std::dynamic_pointer_cast<tq::Number>(object) != nullptr; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tq::Id read;
  try {
    read = tq::PropertyList::read(std::string_view(reinterpret_cast<const char*>(data), size));
  } catch (const tq::Exception&) {
    return 0;  // the property-list targets hold the reader to its own rules
  }
  auto dictionary = std::dynamic_pointer_cast<tq::Dictionary>(read);
  if (!dictionary) return 0;
  try {
    auto combo = tq::TQKeyCombo::initWithDictionaryRepresentation(*dictionary);
    auto label = std::dynamic_pointer_cast<tq::String>(dictionary->objectForKey("keyLabel"));
    const bool mayBeNil = !isNumber(dictionary->objectForKey("code")) && isNumber(dictionary->objectForKey("keyCode")) &&
                          label && label->isEqualToString("NONE");
    check(combo != nullptr || mayBeNil);
    if (!combo) return 0;
    check((combo->modifierFlags() & ~tq::TQModifierFlag::Mask) == 0);
    auto again = tq::TQKeyCombo::initWithDictionaryRepresentation(*combo->dictionaryRepresentation());
    check(again && again->isEqual(*combo));
  } catch (const tq::Exception&) {
    check(false);  // a stored combo of any shape reads without raising
  }
  return 0;
}
