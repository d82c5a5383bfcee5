// tqkit bundle: what an add-on bundle tells the library about itself (its
// identity, build information and resource bundles), and its localized texts
// looked up as the add-on looks them up: resource bundles first, in the
// user's languages or the one given.
//
// tqkit uuid: UUIDs in their standard and compact (22-character) forms.

#include <charconv>
#include <string>

#include "Command.h"
#include "TextInput.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/Environment.h"
#include "tq/system/TQBundle.h"
#include "tq/system/UUIDTQFoundation.h"

using namespace tqkit;

namespace {

namespace F = tq::TQFoundation;

tq::Ref<tq::Bundle> openBundle(const std::string& path) {
  auto bundle = tq::Bundle::bundleWithPath(path);
  if (!bundle) throw FailureException{"cannot open bundle '" + path + "': not a folder"};
  return bundle;
}

std::string textOr(const tq::Ref<tq::String>& text, const std::string& fallback) {
  return text ? text->utf8() : fallback;
}

std::string joined(const tq::Ref<tq::Array>& items) {
  std::string text;
  for (const tq::Id& item : *items) text += (text.empty() ? "" : ", ") + tq::describeUTF8(item);
  return text.empty() ? "(none)" : text;
}

// The resource bundles a lookup searches, as paths below the bundle.
std::string searchedResourceBundles(const tq::Bundle& bundle) {
  const std::string root = bundle.bundlePath()->utf8() + "/";
  std::string text;
  const auto paths = bundle.pathsForResourcesOfType(tq::str("bundle"), tq::str("Resources"));
  for (const tq::Id& path : *paths) {
    std::string relative = tq::describeUTF8(path);
    if (relative.starts_with(root)) relative = relative.substr(root.size());
    text += (text.empty() ? "" : ", ") + relative;
  }
  return text.empty() ? "(none)" : text;
}

// The code bundle's own resource bundle, or why there is none.
std::string ownResourceBundle(const tq::Bundle& bundle) {
  try {
    auto found = F::resourceBundle(bundle);
    return found ? found->bundlePath()->utf8() : "(none)";
  } catch (const tq::Exception& e) {
    return "(none: " + e.reason() + ")";
  }
}

int info(Arguments& arguments) {
  auto words = arguments.positionals(1, 1);
  auto bundle = openBundle(words[0]);
  // The search reports to the platform log; here the answer says it.
  tq::PlatformLogHandler quiet = tq::setPlatformLogHandler([](const std::string&) {});
  const std::string own = ownResourceBundle(*bundle);
  tq::setPlatformLogHandler(quiet);
  const auto version = tq::cast<tq::String>(bundle->objectForInfoDictionaryKey("CFBundleShortVersionString"));
  const auto build = tq::cast<tq::String>(bundle->objectForInfoDictionaryKey("CFBundleVersion"));
  std::string text;
  auto line = [&](const char* label, const std::string& value) { text += std::string(label) + ": " + value + "\n"; };
  line("path", bundle->bundlePath()->utf8());
  line("identifier", textOr(bundle->bundleIdentifier(), "(none)"));
  line("version", textOr(version, "(none)") + (build ? " (" + build->utf8() + ")" : ""));
  line("log identifier", F::logIdentifier(*bundle)->utf8());
  line("branch", textOr(F::tqBranch(*bundle), "(none)"));
  line("bug number", std::to_string(F::tqBugNum(*bundle)->integerValue()));
  line("localizations", joined(bundle->localizations()));
  line("preferred", joined(bundle->preferredLocalizations()));
  line("searched resource bundles", searchedResourceBundles(*bundle));
  line("own resource bundle", own);
  writeOut(arguments, text);
  return Success;
}

// --plural N: an integer, or a number with a fraction.
void formatPlural(Arguments& arguments, const tq::Bundle& bundle, const tq::String& key,
                  const tq::Ref<tq::String>& table, const std::string& count) {
  long long integer = 0;
  double real = 0;
  const char* end = count.data() + count.size();
  if (auto [at, error] = std::from_chars(count.data(), end, integer); error == std::errc() && at == end) {
    printLine(arguments, F::localizePlural(bundle, key, table, integer));
  } else if (auto [at2, error2] = std::from_chars(count.data(), end, real); error2 == std::errc() && at2 == end) {
    printLine(arguments, F::localizePlural(bundle, key, table, real));
  } else {
    throw UsageException{"--plural needs a number, not '" + count + "'"};
  }
}

int localize(Arguments& arguments) {
  const std::string table = arguments.option("--table", "");
  const std::string language = arguments.option("--lang", "");
  const bool plural = arguments.hasOption("--plural");
  const std::string count = arguments.option("--plural", "");
  auto words = arguments.positionals(2, 2);
  requireUTF8(words[1], "the KEY argument");
  auto bundle = openBundle(words[0]);
  // A language given is the user's only language for this lookup; the
  // process environment is left alone.
  std::optional<tq::ScopedEnvironment> scoped;
  if (!language.empty()) scoped.emplace(tq::FixedEnvironment{{"LC_ALL", language}});
  const auto key = tq::str(words[1]);
  const auto tableName = table.empty() ? nullptr : tq::str(table);
  if (plural) {
    formatPlural(arguments, *bundle, *key, tableName, count);
  } else {
    printLine(arguments, bundle->localizedStringForKey(*key, nullptr, tableName));
  }
  return Success;
}

int uuid(Arguments& arguments) {
  auto words = arguments.positionals(0, 2);
  if (words.empty()) {
    auto fresh = tq::make<tq::UUID>();
    writeOut(arguments, fresh->UUIDString() + "\t" + F::base64String(*fresh)->utf8() + "\n");
    return Success;
  }
  const std::string mode = words[0];
  if (mode != "compact" && mode != "expand") throw UsageException{"unknown mode '" + mode + "' (compact or expand)"};
  std::vector<std::string> rest(words.begin() + 1, words.end());
  Arguments valueArguments(rest, arguments.streams(), arguments.commandName());
  const std::string value = textArgument(valueArguments);
  if (mode == "compact") {
    auto parsed = tq::UUID::fromString(value);
    if (!parsed) throw FailureException{"'" + value + "' is not a UUID (8-4-4-4-12 hexadecimal digits)"};
    writeOut(arguments, F::base64String(*parsed)->utf8() + "\n");
    return Success;
  }
  auto text = tq::str(value);
  if (text->length() != 22) throw FailureException{"'" + value + "' is not a compact UUID: it needs 22 characters"};
  auto expanded = F::newWithBase64String(*text);
  if (!expanded) throw FailureException{"'" + value + "' is not a compact UUID: it is not Base64"};
  writeOut(arguments, expanded->UUIDString() + "\n");
  return Success;
}

const CommandGroup bundleGroup{
    "bundle",
    "an add-on bundle's identity, build information and localized texts",
    {
        {.name = "info",
         .synopsis = "PATH",
         .summary = "Prints what the library reads from a bundle.",
         .run = info,
         .description =
             "PATH is a bundle folder (with Contents/Info.plist and Contents/Resources). Prints its identifier, "
             "version, log identifier (TQLogIdentifier, else TQS), build branch (TQBuildBranch) with the bug "
             "number it names (bugs/#1234_fix gives 1234), its localizations in the order a lookup tries them "
             "for the user's languages, the resource bundles a lookup searches first "
             "(Contents/Resources/Resources/*.bundle) and the code bundle's own resource bundle.",
         .examples = {{"tqkit bundle info samples/SampleAddOn.bundle", "the sample add-on's information"},
                      {"LANGUAGE=pl tqkit bundle info Mail.bundle", "with Polish as the first language"}}},
        {.name = "localize",
         .synopsis = "[--table T] [--lang L] [--plural N] PATH KEY",
         .summary = "Looks a key up as the add-on would and prints its text.",
         .run = localize,
         .description =
             "The key is looked up in the bundle's resource bundles first, then in the bundle, in the "
             "localization folders the user's languages choose (LANGUAGE, LC_ALL, LC_MESSAGES, LANG), then the "
             "development region, Base and en. A key found nowhere prints itself. A plural table "
             "(.stringsdict) wins over a string table for the same key; --plural formats its text with the "
             "number, choosing each variant by the language's plural rules.",
         .options = {{"--table T", "the table (T.strings, T.stringsdict); Localizable by default"},
                     {"--lang L", "the user's only language for this lookup (pl, en_GB)"},
                     {"--plural N", "formats the text with the number N"}},
         .examples = {{"tqkit bundle localize --lang pl samples/SampleAddOn.bundle greeting", "the Polish text"},
                      {"tqkit bundle localize --lang pl --plural 5 samples/SampleAddOn.bundle '%d messages'",
                       "5 in Polish: the 'many' variant"}}},
    }};

const CommandGroup uuidGroup{
    "uuid",
    "UUIDs in their standard and compact 22-character forms",
    {
        {.name = "",
         .synopsis = "[compact|expand] [VALUE | -]",
         .summary = "Makes a UUID, or turns one into the other form.",
         .run = uuid,
         .description =
             "Without arguments, makes a random UUID and prints it in both forms, tab-separated. compact turns "
             "an 8-4-4-4-12 UUID into its compact form: the Base64 of its 16 bytes without the '==' padding. "
             "expand turns a compact form back. With - or no VALUE the value is read from standard input.",
         .examples = {{"tqkit uuid", "a new UUID in both forms"},
                      {"tqkit uuid compact FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF", "prints /////////////////////w"},
                      {"tqkit uuid expand AAAAAAAAAAAAAAAAAAAAAA", "the nil UUID"}}},
    }};

}  // namespace
