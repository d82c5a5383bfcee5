// tqkit version: dotted version numbers as the add-ons read, compare and show
// them, and the running system's version number.

#include <charconv>
#include <string>

#include "Command.h"
#include "tq/dates/TQVersionDetails.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/system/OperatingSystemVersion.h"

using namespace tqkit;

namespace {

/// A version read from text; a malformed one is a failure carrying the
/// assertion's message (and nothing written to the process's stderr).
tq::Ref<tq::TQVersionDetails> versionArgument(const std::string& text) {
  requireUTF8(text, "the VERSION argument");
  tq::AssertionHandler previous = tq::setAssertionHandler(
      [](const tq::AssertionFailure& failure) { throw FailureException{failure.description}; });
  try {
    auto version = tq::TQVersionDetails::initWithVersionString(text);
    tq::setAssertionHandler(previous);
    return version;
  } catch (...) {
    tq::setAssertionHandler(previous);
    throw;
  }
}

std::uint16_t numberOption(Arguments& arguments, const std::string& name, const std::string& fallback) {
  const std::string text = arguments.option(name, fallback);
  unsigned value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value > 0xFFFF) {
    throw UsageException{name + " needs a number from 0 to 65535, not '" + text + "'"};
  }
  return std::uint16_t(value);
}

int parse(Arguments& arguments) {
  auto version = versionArgument(arguments.positionals(1, 1)[0]);
  writeOut(arguments, "major " + std::to_string(version->major()) + "\nminor " + std::to_string(version->minor()) +
                          "\nmaintenance " + std::to_string(version->maintenance()) + "\nbuild " +
                          std::to_string(version->build()) + "\n");
  return Success;
}

int compare(Arguments& arguments) {
  const std::uint16_t options = numberOption(arguments, "--options", "15");
  auto words = arguments.positionals(2, 2);
  auto a = versionArgument(words[0]), b = versionArgument(words[1]);
  const tq::ComparisonResult result = a->compare(*b, options);
  writeOut(arguments, result == tq::ComparisonResult::Ascending   ? "ascending\n"
                      : result == tq::ComparisonResult::Same      ? "same\n"
                                                                  : "descending\n");
  return Success;
}

int display(Arguments& arguments) {
  const std::uint16_t option = numberOption(arguments, "--option", "0");
  auto version = versionArgument(arguments.positionals(1, 1)[0]);
  writeOut(arguments, version->displayStringWithOptions(option)->utf8() + "\n");
  return Success;
}

int os(Arguments& arguments) {
  arguments.positionals(0, 0);
  writeOut(arguments, "TQ_OSVersion " + std::to_string(tq::TQ_OSVersion()) + "\nTQ_Full_OSVersion " +
                          std::to_string(tq::TQ_Full_OSVersion()) + "\n");
  return Success;
}

const CommandGroup versionGroup{
    "version",
    "dotted version numbers: read, compare, display; the system's version",
    {
        {.name = "parse",
         .synopsis = "VERSION",
         .summary = "Prints the major, minor, maintenance and build numbers of a version.",
         .run = parse,
         .description = "VERSION is major.minor.maintenance with an optional build after a 'b' (4.2.1b123). "
                        "Missing parts are 0 (4 reads as 4.0.0), parts that are not numbers read as 0. More "
                        "than three dot-separated parts are a failure.",
         .examples = {{"tqkit version parse 4.2.1b123", "major 4, minor 2, maintenance 1, build 123"}}},
        {.name = "compare",
         .synopsis = "A B [--options N]",
         .summary = "Prints ascending, same or descending for version A against B.",
         .run = compare,
         .description = "The options choose the parts that count: 4 minor, 2 maintenance, 1 build; 15 or 0 "
                        "all (the default). Major always counts, and each part counts only when the one above "
                        "it does: with 1 alone, only major is compared.",
         .options = {{"--options N", "the parts that count (default 15)"}},
         .examples = {{"tqkit version compare 4.2.1b5 4.2.1b7", "ascending"},
                      {"tqkit version compare 4.3.0 4.2.9 --options 2", "same: minor is not compared"}}},
        {.name = "display",
         .synopsis = "VERSION [--option N]",
         .summary = "Prints a version as shown to users.",
         .run = display,
         .description = "Option 1 writes '4.2.1 build 123' (no build part when it is 0), option 3 '4.2.1b123', "
                        "any other '4.2.1'.",
         .options = {{"--option N", "1, 3 or any other number (default 0)"}},
         .examples = {{"tqkit version display 4.2.1b123 --option 1", "4.2.1 build 123"}}},
        {.name = "os",
         .synopsis = "",
         .summary = "Prints the running system's version numbers.",
         .run = os,
         .description = "The system's version is the kernel release (uname -r): TQ_OSVersion is major times "
                        "100 plus minor, TQ_Full_OSVersion major times 10000 plus minor times 100 plus patch.",
         .examples = {{"tqkit version os", "TQ_OSVersion 601 and TQ_Full_OSVersion 60100 on kernel 6.1.0"}}},
    }};

}  // namespace
