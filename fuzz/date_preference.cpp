// Reads arbitrary JSON as a stored date preference and checks what must hold
// for any input: nothing raises; the stored form, read again, stores the same
// dictionary; evaluating it at a fixed moment answers a date or nil (never
// raises), twice the same; the label is never empty.

#include <cstdint>
#include <memory>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/dates/DatePreference.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/TimeZoneSetting.h"

namespace {

using tq::fuzz::check;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static tq::ScopedTimeZone zone("America/Santiago");
  static tq::ScopedClock<tq::WallClock> clock(std::make_shared<tq::ManualClock>(1712451600.0));
  auto dictionary = tq::cast<tq::Dictionary>(tq::JSON::read(std::string_view(reinterpret_cast<const char*>(data), size)));
  if (!dictionary) return 0;
  try {
    auto preference = tq::DatePreference::initWithDictionaryRepresentation(*dictionary);
    auto stored = preference->dictionaryRepresentation();
    auto again = tq::DatePreference::initWithDictionaryRepresentation(*stored);
    check(again->dictionaryRepresentation()->isEqual(*stored));
    auto date = preference->dateRelativeToNow();
    auto sameDate = preference->dateRelativeToNow();
    check((date == nullptr) == (sameDate == nullptr));
    if (date) check(date->isEqual(*sameDate));
    check(preference->shortLabel()->length() > 0 || (preference->customLabel && preference->customLabel->length() == 0));
  } catch (const tq::Exception&) {
    check(false);
  }
  return 0;
}
