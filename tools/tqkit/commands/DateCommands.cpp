// tqkit date: relative date ranges, day and minute ranges, the shared date
// formats and stored date preferences, each computed in a world the options
// can fix: --now (an RFC 3339 moment), --tz (a zone) and --locale.

#include <charconv>
#include <memory>
#include <optional>
#include <string>

#include "Command.h"
#include "tq/dates/DatePreference.h"
#include "tq/dates/DateTQFoundation.h"
#include "tq/dates/ISODates.h"
#include "tq/dates/TQDateRange.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/LocaleSetting.h"
#include "tq/platform/system/TimeZoneSetting.h"

using namespace tqkit;

namespace {

const OptionHelp NowOption{"--now MOMENT", "computes as if it were MOMENT (RFC 3339, e.g. 2024-02-10T12:00:00Z)"};
const OptionHelp ZoneOption{"--tz ZONE", "the time zone (e.g. Europe/Paris); else TZ, else the system's"};
const OptionHelp LocaleOption{"--locale L", "the locale (e.g. de_DE); else LC_ALL, LC_TIME or LANG"};

/// A moment in RFC 3339 form, or a usage error naming the option or argument.
tq::Ref<tq::Date> momentArgument(const std::string& text, const std::string& what) {
  tq::Ref<tq::Date> date = tq::ISODates::FKISO8601dateFormatterUTC()->dateFromString(*tq::str(text));
  if (!date) throw UsageException{what + " needs an RFC 3339 moment such as 2024-02-10T12:00:00Z, not '" + text + "'"};
  return date;
}

/// The clock, zone and locale the options ask for, installed while the
/// command runs.
class World {
 public:
  explicit World(Arguments& arguments) {
    const std::string now = arguments.option("--now"), zone = arguments.option("--tz"),
                      locale = arguments.option("--locale");
    if (!zone.empty() && !tq::TimeZone::timeZoneWithName(zone)) throw UsageException{"unknown time zone '" + zone + "'"};
    if (!now.empty()) {
      clock_.emplace(std::make_shared<tq::ManualClock>(momentArgument(now, "--now")->timeIntervalSince1970()));
    }
    if (!zone.empty()) zone_.emplace(zone);
    if (!locale.empty()) locale_.emplace(locale);
  }

 private:
  std::optional<tq::ScopedClock<tq::WallClock>> clock_;
  std::optional<tq::ScopedTimeZone> zone_;
  std::optional<tq::ScopedLocale> locale_;
};

std::uint64_t rangeOption(Arguments& arguments) {
  const std::string text = arguments.option("--option", "1");
  std::uint64_t value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw UsageException{"--option needs a number (0 or 1), not '" + text + "'"};
  }
  return value;
}

void printRange(Arguments& arguments, const tq::Ref<tq::TQDateRange>& range) {
  writeOut(arguments, range->description()->utf8() + "\n");
}

int range(Arguments& arguments) {
  World world(arguments);
  const std::string identifier = arguments.positionals(1, 1)[0];
  auto result = tq::TQDateRange::dateRangeForRelativeDateRangeIdentifier(identifier);
  if (!result) {
    throw FailureException{"unknown identifier '" + identifier +
                           "': TODAY, TOMORROW, YESTERDAY, PASTDUE, LAST_WEEK, THIS_WEEK, NEXT_WEEK, LAST_MONTH, "
                           "THIS_MONTH, NEXT_MONTH or FUTURE"};
  }
  printRange(arguments, result);
  return Success;
}

int day(Arguments& arguments) {
  World world(arguments);
  auto words = arguments.positionals(0, 1);
  auto date = words.empty() ? tq::Date::date() : momentArgument(words[0], "MOMENT");
  printRange(arguments, tq::TQDateRange::rangeForDayContainingDate(*date));
  return Success;
}

int between(Arguments& arguments, bool days) {
  World world(arguments);
  const std::uint64_t option = rangeOption(arguments);
  auto words = arguments.positionals(2, 2);
  auto start = momentArgument(words[0], "START"), end = momentArgument(words[1], "END");
  printRange(arguments, days ? tq::TQDateRange::rangeForDaysBetweenStartDate(start, end, option)
                             : tq::TQDateRange::rangeForMinutesBetweenStartDate(*start, *end, option));
  return Success;
}

/// The formatter a --style names; the relative one writes "Today, 3:07 PM".
std::function<tq::Ref<tq::String>(const tq::Date&)> writerFor(const std::string& style) {
  if (style == "rfc2822") return [](const tq::Date& d) { return tq::ISODates::FKRFC2822dateFormatter()->stringFromDate(d); };
  if (style == "iso") return [](const tq::Date& d) { return tq::ISODates::FKISO8601dateFormatter()->stringFromDate(d); };
  if (style == "iso-utc") return [](const tq::Date& d) { return tq::ISODates::FKISO8601dateFormatterUTC()->stringFromDate(d); };
  if (style == "json") return [](const tq::Date& d) { return tq::ISODates::dateFormatterForJson()->stringFromDate(d); };
  if (style == "relative") return [](const tq::Date& d) { return tq::ISODates::relativeDateTimeFormatter()->stringFromDate(d); };
  throw UsageException{"unknown style '" + style + "' (rfc2822, iso, iso-utc, json or relative)"};
}

int format(Arguments& arguments) {
  World world(arguments);
  auto write = writerFor(arguments.option("--style", "iso"));
  auto words = arguments.positionals(0, 1);
  auto date = words.empty() ? tq::Date::date() : momentArgument(words[0], "MOMENT");
  writeOut(arguments, write(*date)->utf8() + "\n");
  return Success;
}

int parse(Arguments& arguments) {
  World world(arguments);
  const std::string style = arguments.option("--style", "iso");
  const std::string text = arguments.positionals(1, 1)[0];
  requireUTF8(text, "the TEXT argument");
  tq::Ref<tq::Date> date;
  if (style == "rfc2822") date = tq::ISODates::FKRFC2822dateFormatter()->dateFromString(*tq::str(text));
  else if (style == "iso" || style == "iso-utc") date = tq::TQFoundation::dateWithISO8601String(tq::str(text));
  else if (style == "json") date = tq::ISODates::dateFormatterForJson()->dateFromString(*tq::str(text));
  else throw UsageException{"unknown style '" + style + "' (rfc2822, iso, iso-utc or json)"};
  if (!date) throw FailureException{"'" + text + "' is not a date in the " + style + " form"};
  writeOut(arguments, tq::ISODates::FKISO8601dateFormatterUTC()->stringFromDate(*date)->utf8() + "\n");
  return Success;
}

int preference(Arguments& arguments) {
  World world(arguments);
  const bool label = arguments.flag("--label");
  const std::string text = arguments.positionals(1, 1)[0];
  tq::Ref<tq::Error> error;
  auto dictionary = tq::cast<tq::Dictionary>(tq::JSON::read(text, &error));
  if (!dictionary) throw FailureException{"the date preference is not a JSON object"};
  auto preference = tq::DatePreference::initWithDictionaryRepresentation(*dictionary);
  auto date = preference->dateRelativeToNow();
  if (!date) throw FailureException{"the date preference names no date the calendar can hold"};
  std::string line = tq::TQFoundation::tq_ISO8601String(*date)->utf8();
  if (label) line += "\t" + preference->shortLabel()->utf8();
  writeOut(arguments, line + "\n");
  return Success;
}

const std::vector<OptionHelp> WorldOptions{NowOption, ZoneOption, LocaleOption};

std::vector<OptionHelp> withWorld(std::vector<OptionHelp> options) {
  options.insert(options.end(), WorldOptions.begin(), WorldOptions.end());
  return options;
}

const CommandGroup dateGroup{
    "date",
    "relative date ranges, day ranges, date formats and date preferences",
    {
        {.name = "range",
         .synopsis = "ID [--now MOMENT] [--tz ZONE] [--locale L]",
         .summary = "Prints the range a relative identifier stands for now.",
         .run = range,
         .description =
             "ID is one of TODAY, TOMORROW, YESTERDAY, PASTDUE, LAST_WEEK, THIS_WEEK, NEXT_WEEK, LAST_MONTH, "
             "THIS_MONTH, NEXT_MONTH or FUTURE, in capitals. The range prints as its first and last instants, "
             "'yyyy-MM-dd HH:mm:ss Z' in the time zone. Weeks run from the Sunday of the week the locale counts. "
             "An unknown ID is a failure.",
         .options = WorldOptions,
         .examples = {{"tqkit date range LAST_WEEK", "last week, in this machine's zone"},
                      {"tqkit date range TODAY --now 2024-03-10T15:00:00Z --tz America/New_York",
                       "a day with a daylight-saving change"}}},
        {.name = "day",
         .synopsis = "[MOMENT] [--now MOMENT] [--tz ZONE]",
         .summary = "Prints the day that holds a moment, to the next midnight.",
         .run = day,
         .description = "MOMENT is RFC 3339 (now when left out). The end is the start of the next day.",
         .options = WorldOptions,
         .examples = {{"tqkit date day 2024-02-10T10:00:00Z --tz Asia/Tokyo", "that day in Tokyo"}}},
        {.name = "days",
         .synopsis = "START END [--option N] [--tz ZONE]",
         .summary = "Prints the whole days from START's day to END's.",
         .run = [](Arguments& a) { return between(a, true); },
         .description = "With option 1 (the default) the range ends at 23:59:59 of END's day; with 0, of the "
                        "day before.",
         .options = withWorld({{"--option N", "1: include END's day whole (the default); 0: stop before it"}}),
         .examples = {{"tqkit date days 2024-02-10T15:00:00Z 2024-02-12T08:00:00Z --option 0",
                       "ends 2024-02-11 23:59:59"}}},
        {.name = "minutes",
         .synopsis = "START END [--option N] [--tz ZONE]",
         .summary = "Prints the whole minutes from START's minute to END's.",
         .run = [](Arguments& a) { return between(a, false); },
         .description = "With option 1 (the default) the range ends at the last second of END's minute; with "
                        "0, of the minute before.",
         .options = withWorld({{"--option N", "1: include END's minute whole (the default); 0: stop before it"}}),
         .examples = {{"tqkit date minutes 2024-02-10T10:05:30Z 2024-02-10T10:07:10Z", "10:05:00 to 10:07:59"}}},
        {.name = "format",
         .synopsis = "[--style S] [MOMENT] [--now MOMENT] [--tz ZONE] [--locale L]",
         .summary = "Writes a moment (now by default) in one of the shared date formats.",
         .run = format,
         .description = "Styles: rfc2822 (mail headers, English names), iso (RFC 3339 in the zone; the "
                        "default), iso-utc, json ('@yyyy-MM-dd HH:mm:ss Z@') and relative ('Today, 3:07 PM' "
                        "in the locale).",
         .options = withWorld({{"--style S", "rfc2822, iso, iso-utc, json or relative"}}),
         .examples = {{"tqkit date format --style rfc2822 --tz Europe/Paris 2024-03-05T14:07:09Z",
                       "Tue, 5 Mar 2024 15:07:09 +0100"},
                      {"tqkit date format --style relative --locale de_DE", "now, as the German display reads"}}},
        {.name = "parse",
         .synopsis = "[--style S] TEXT [--tz ZONE]",
         .summary = "Reads a date in one of the shared formats and prints it in UTC.",
         .run = parse,
         .description = "Styles: rfc2822, iso (the default; any RFC 3339 offset) and json. The whole TEXT must "
                        "be in the form; anything else is a failure.",
         .options = withWorld({{"--style S", "rfc2822, iso or json"}}),
         .examples = {{"tqkit date parse --style rfc2822 'Tue, 5 Mar 2024 15:07:09 +0100'", "2024-03-05T14:07:09Z"}}},
        {.name = "preference",
         .synopsis = "JSON [--label] [--now MOMENT] [--tz ZONE]",
         .summary = "Prints the date a stored date preference resolves to now.",
         .run = preference,
         .description =
             "JSON is the stored dictionary: presetType (0 preset day, 1 offset), relativeDateType, "
             "relativeTimeType, offsetDayAmount, offsetTime, offsetHasTimeComponent, atHour, atMinute, "
             "customLabel. The date prints in RFC 3339 in the zone.",
         .options = withWorld({{"--label", "also prints the short label, after a tab"}}),
         .examples = {{"tqkit date preference '{\"presetType\":0,\"relativeDateType\":13}'", "next Tuesday"},
                      {"tqkit date preference '{\"presetType\":1,\"relativeTimeType\":1,\"offsetTime\":2}' --label",
                       "two hours from now, with its label"}}},
    }};

}  // namespace
