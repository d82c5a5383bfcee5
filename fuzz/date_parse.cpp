// Reads arbitrary text with the shared date readers (RFC 3339 in a zone and
// in UTC, RFC 2822 mail dates, JSON dates) and checks what must hold for any
// input: no reader raises; a date that was read, written back with the same
// formatter, reads back as the same instant to the second (to the minute for
// the mail and JSON forms, whose fixed "Z" offset cannot write the seconds of
// a local mean time offset before 1900).
//
// Input layout: byte 0 chooses the reader, the rest is the text as UTF-8.

#include <cmath>
#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/dates/ISODates.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/system/TimeZoneSetting.h"

namespace {

using tq::fuzz::check;

template <class Formatter>
void roundTrip(const Formatter& formatter, const tq::String& text, double tolerance) {
  tq::Ref<tq::Date> date = formatter.dateFromString(text);
  if (!date) return;
  tq::Ref<tq::String> written = formatter.stringFromDate(*date);
  tq::Ref<tq::Date> readBack = formatter.dateFromString(*written);
  check(readBack != nullptr);
  check(std::fabs(std::floor(readBack->timeIntervalSince1970()) - std::floor(date->timeIntervalSince1970())) <= tolerance);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A zone with half-hour daylight saving, so offsets of every shape are met.
  static tq::ScopedTimeZone zone("Australia/Lord_Howe");
  if (size < 1) return 0;
  auto text = tq::String::fromUTF8(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  try {
    switch (data[0] % 4) {
      case 0: roundTrip(*tq::ISODates::FKISO8601dateFormatter(), *text, 0); break;
      case 1: roundTrip(*tq::ISODates::FKISO8601dateFormatterUTC(), *text, 0); break;
      case 2: roundTrip(*tq::ISODates::FKRFC2822dateFormatter(), *text, 59); break;
      default: roundTrip(*tq::ISODates::dateFormatterForJson(), *text, 59); break;
    }
  } catch (const tq::Exception&) {
    check(false);  // readers answer nil; they never raise
  }
  return 0;
}
