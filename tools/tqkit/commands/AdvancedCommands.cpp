// tqkit advanced: an add-on's advanced settings, as its bundle describes them
// in "AdvanceSettingsInfo.json", with their current values read through the
// layers the add-on itself reads (launch arguments, then the user defaults or
// the product's shared defaults file, then the setting's default), and typed
// writes that refuse a value of the wrong kind before anything is stored.
//
// The bundle becomes the main bundle for the command, as it is inside the
// add-on: its identifier names the user defaults' application domain.
// Launch arguments for `list` follow "--" ("-key value" pairs), since the
// tool's own command line is not the add-on's.

#include <algorithm>
#include <string>
#include <vector>

#include "AdvancedSettingValues.h"
#include "Command.h"
#include "ToolStore.h"
#include "ValueJSON.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/TQAdvancedSettingsManager.h"
#include "tq/settings/UserDefaultsQuillmere.h"

using namespace tqkit;

namespace {

constexpr const char* Resource = "AdvanceSettingsInfo.json";

// The add-on's world for one command: its bundle as the main bundle, its
// listed settings, and the defaults its values are read from and written to.
struct AddOn {
  tq::Ref<tq::Bundle> bundle;
  std::string bundleName;
  tq::Ref<tq::Dictionary> settings;
  std::string defaultsPath;  // empty: the user defaults
  OpenedStore store;
  tq::Ref<tq::TQDefaultsInstance> defaults;
};

tq::Ref<tq::Bundle> bundleAt(const std::string& path) {
  if (path.empty()) return tq::Bundle::mainBundle();
  auto bundle = tq::Bundle::bundleWithPath(path);
  if (!bundle) throw FailureException{"cannot open bundle '" + path + "': No such folder"};
  return bundle;
}

// The description is checked here, so that the user hears why a bundle lists
// nothing; the manager itself answers an empty list for the same faults.
void requireDescription(const AddOn& addOn) {
  auto path = addOn.bundle->pathForResource(*tq::str("AdvanceSettingsInfo"), tq::str("json"));
  if (!path) throw FailureException{"'" + addOn.bundleName + "' has no " + Resource};
  auto bytes = tq::FileSystem::current()->readFile(path->utf8());
  if (!bytes) throw FailureException{"cannot read '" + path->utf8() + "'"};
  tq::Ref<tq::Error> error;
  tq::Id description = tq::JSON::read(*bytes, &error);
  if (!description) throw FailureException{"cannot read '" + path->utf8() + "': " + error->localizedDescription()};
  if (!tq::isKindOf<tq::Array>(description)) {
    throw FailureException{"cannot read '" + path->utf8() + "': not a JSON array of settings"};
  }
}

// The options every command takes, read before the positional words so that
// a usage error is reported before anything is opened.
struct Where {
  std::string bundle;
  std::string defaults;
};

Where whereFrom(Arguments& arguments) {
  Where where;
  where.bundle = arguments.option("--bundle", "");
  where.defaults = arguments.option("--defaults", "");
  return where;
}

AddOn openAddOn(const Where& where, bool defaultsMustExist) {
  AddOn addOn;
  addOn.bundle = bundleAt(where.bundle);
  addOn.bundleName = addOn.bundle->bundlePath()->utf8();
  addOn.defaultsPath = where.defaults;
  requireDescription(addOn);
  tq::Bundle::setMainBundle(addOn.bundle);
  tq::UserDefaults::resetStandardUserDefaults();  // its application domain is the bundle's now
  addOn.settings = tq::TQAdvancedSettingsManager::init()->settingsList();
  if (addOn.defaultsPath.empty()) {
    addOn.defaults = tq::Quillmere::defaultsInstance(tq::UserDefaults::standardUserDefaults());
    return addOn;
  }
  if (defaultsMustExist && !tq::FileSystem::current()->status(addOn.defaultsPath).isRegularFile) {
    throw FailureException{"cannot read '" + addOn.defaultsPath + "': No such file"};
  }
  return addOn;
}

void openStoreOf(AddOn& addOn) {
  addOn.store = openStore(addOn.defaultsPath);
  addOn.defaults = addOn.store.store;
}

std::vector<tq::Ref<tq::TQAdvanceSetting>> sortedSettings(const tq::Dictionary& settings) {
  std::vector<tq::Ref<tq::TQAdvanceSetting>> sorted;
  for (const auto& [key, setting] : settings.entries()) sorted.push_back(tq::cast<tq::TQAdvanceSetting>(setting));
  std::sort(sorted.begin(), sorted.end(),
            [](const auto& a, const auto& b) { return a->key()->utf16() < b->key()->utf16(); });
  return sorted;
}

// ---- list ----

struct Row {
  tq::Ref<tq::TQAdvanceSetting> setting;
  std::optional<tq::PreferenceTypeSwift> preference;
  tq::Id current;
};

std::vector<Row> rowsOf(AddOn& addOn) {
  std::vector<Row> rows;
  for (const auto& setting : sortedSettings(*addOn.settings)) {
    Row row{setting, tq::PreferenceTypeSwift::withSetting(*setting), nullptr};
    if (row.preference) row.current = readAdvancedValue(*addOn.defaults, *row.preference);
    rows.push_back(std::move(row));
  }
  return rows;
}

std::string kindName(const tq::TQAdvanceSetting& setting) {
  auto type = tq::settingTypeWithRawValue(std::int64_t(setting.type()));
  return type ? std::string(tq::settingTypeName(*type))
              : "invalid (" + std::to_string(std::int64_t(setting.type())) + ")";
}

std::string visibilityName(const tq::TQAdvanceSetting& setting) {
  auto visibility = tq::settingVisibilityWithRawValue(std::int64_t(setting.visibility()));
  return visibility ? std::string(tq::settingVisibilityName(*visibility))
                    : std::to_string(std::int64_t(setting.visibility()));
}

tq::Id rowObject(const Row& row) {
  auto object = tq::MutableDictionary::dictionary();
  auto put = [&](const char* name, const tq::Id& value) {
    object->setObject(value ? value : tq::Null::null(), tq::str(name));
  };
  put("key", row.setting->key());
  put("kind", tq::str(kindName(*row.setting)));
  put("type", tq::num(std::int64_t(row.setting->type())));
  put("visibility", tq::num(std::int64_t(row.setting->visibility())));
  put("default", row.preference ? storedForm(row.preference->defaultValue()) : row.setting->defaultValue());
  put("current", storedForm(row.current));
  put("description", row.setting->descriptionInfo());
  put("choices", row.preference ? choiceLabelsObject(*row.preference) : nullptr);
  return object;
}

// Cells hold one line each: line breaks and tabs in a description become
// spaces.
std::string cell(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
  return text;
}

std::size_t columnsOf(const std::string& text) {
  return std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
}

std::string table(const std::vector<std::vector<std::string>>& lines) {
  std::vector<std::size_t> widths(lines.front().size(), 0);
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], columnsOf(line[i]));
  }
  std::string out;
  for (const auto& line : lines) {
    std::string text;
    for (std::size_t i = 0; i < line.size(); ++i) {
      text += line[i];
      if (i + 1 < line.size()) text += std::string(widths[i] - columnsOf(line[i]) + 2, ' ');
    }
    text.erase(text.find_last_not_of(' ') + 1);
    out += text + "\n";
  }
  return out;
}

std::vector<std::string> tableLine(const Row& row) {
  const auto& p = row.preference;
  return {cell(row.setting->key()->utf8()),
          kindName(*row.setting),
          visibilityName(*row.setting),
          cell(shownValue(p ? storedForm(p->defaultValue()) : row.setting->defaultValue())),
          cell(shownValue(row.current)),
          cell(shownValue(row.setting->descriptionInfo())),
          cell(p ? choiceLabels(*p) : "")};
}

// The words after "--" are the add-on's launch arguments; the rest are the
// command's own.
std::vector<std::string> launchArguments(Arguments& arguments) {
  const auto& words = arguments.words();
  auto dashes = std::find(words.begin(), words.end(), "--");
  if (dashes == words.end()) return {};
  return {dashes + 1, words.end()};
}

int list(Arguments& arguments) {
  auto launch = launchArguments(arguments);
  const auto& words = arguments.words();
  Arguments own({words.begin(), std::find(words.begin(), words.end(), "--")}, arguments.streams(),
                arguments.commandName());
  const bool json = own.flag("--json");
  const Where where = whereFrom(own);
  own.positionals(0, 0);
  tq::UserDefaults::setArguments(launch);
  AddOn addOn = openAddOn(where, true);
  if (!addOn.defaultsPath.empty()) openStoreOf(addOn);
  auto rows = rowsOf(addOn);
  if (json) {
    auto all = tq::MutableArray::array();
    for (const Row& row : rows) all->addObject(rowObject(row));
    writeOut(arguments, toJSON(all) + "\n");
    return Success;
  }
  std::vector<std::vector<std::string>> lines{
      {"KEY", "KIND", "VISIBILITY", "DEFAULT", "CURRENT", "DESCRIPTION", "CHOICES"}};
  for (const Row& row : rows) lines.push_back(tableLine(row));
  writeOut(arguments, table(lines));
  return Success;
}

// ---- set and reset ----

tq::PreferenceTypeSwift preferenceFor(const AddOn& addOn, const std::string& key) {
  auto setting = tq::cast<tq::TQAdvanceSetting>(addOn.settings->objectForKey(key));
  if (!setting) throw FailureException{"no advanced setting '" + key + "' in '" + addOn.bundleName + "'"};
  auto preference = tq::PreferenceTypeSwift::withSetting(*setting);
  if (!preference)
    throw FailureException{"cannot change '" + key + "': its kind " + kindName(*setting) + " is unknown"};
  return *preference;
}

void save(AddOn& addOn) {
  if (!addOn.defaultsPath.empty()) return requireWritten(addOn.store, addOn.defaultsPath);
  if (!tq::UserDefaults::standardUserDefaults()->synchronize()) {
    auto name = tq::UserDefaults::applicationDomainName();
    throw FailureException{"cannot write the user defaults of '" + (name ? name->utf8() : addOn.bundleName) +
                           "': see the system log"};
  }
}

int set(Arguments& arguments) {
  const Where where = whereFrom(arguments);
  auto words = arguments.positionals(2, 2);
  AddOn addOn = openAddOn(where, false);
  auto preference = preferenceFor(addOn, words[0]);
  tq::Id value;
  try {
    value = advancedValueFromText(preference, words[1]);
  } catch (const FailureException& refused) {
    throw FailureException{"cannot set '" + words[0] + "': " + refused.reason};
  }
  if (!addOn.defaultsPath.empty()) {
    createStoreFileIfMissing(addOn.defaultsPath, tq::dict({{tq::str(words[0]), storedForm(value)}}));
    openStoreOf(addOn);
  }
  writeAdvancedValue(*addOn.defaults, preference, value);
  save(addOn);
  return Success;
}

int reset(Arguments& arguments) {
  const Where where = whereFrom(arguments);
  auto words = arguments.positionals(1, 1);
  AddOn addOn = openAddOn(where, true);
  auto preference = preferenceFor(addOn, words[0]);
  if (!addOn.defaultsPath.empty()) openStoreOf(addOn);
  writeAdvancedValue(*addOn.defaults, preference, nullptr);
  save(addOn);
  return Success;
}

const OptionHelp BundleOption{"--bundle PATH", "the add-on's bundle folder (default: the main bundle)"};
const OptionHelp DefaultsOption{"--defaults FILE", "the product's shared defaults file instead of the user defaults"};

const CommandGroup advancedGroup{
    "advanced",
    "an add-on's advanced settings: list them, set and reset them by kind",
    {
        {.name = "list",
         .synopsis = "[--bundle PATH] [--defaults FILE] [--json] [-- -KEY VALUE ...]",
         .summary = "Lists the advanced settings of a bundle with their current values.",
         .run = list,
         .description =
             "Reads the bundle's AdvanceSettingsInfo.json. Settings of visibility 0 are not offered and not "
             "listed; 'hidden' ones are meant for support staff. CURRENT is read as the add-on reads it: a "
             "launch argument given after --, else the user defaults of the bundle's identifier (or the "
             "--defaults file), else the default; values of another kind read as the default. A choice shows "
             "its labels as value=label. Launch arguments are text, which only string and boolean settings "
             "take; give other kinds as property lists ('<plist><integer>5</integer></plist>').",
         .options = {BundleOption, DefaultsOption, {"--json", "one JSON array of the settings, for scripts"}},
         .examples = {{"tqkit advanced list --bundle My.bundle", "the settings and their values"},
                      {"tqkit advanced list --bundle My.bundle -- -verbose YES",
                       "as the add-on sees them when launched with -verbose YES"},
                      {"tqkit advanced list --bundle My.bundle --json | jq '.[].key'", "just the keys"}}},
        {.name = "set",
         .synopsis = "[--bundle PATH] [--defaults FILE] KEY VALUE",
         .summary = "Sets one advanced setting, refusing a value of the wrong kind.",
         .run = set,
         .description = "VALUE is read by the setting's kind: a boolean is yes, no, true, false, 1 or 0; an integer a "
                        "whole number; a float a number; a colour a colour text (red, #3366cc, rgb(...)); an array or "
                        "dict JSON; a choice one of its values or labels. The value goes to the user defaults of the "
                        "bundle's identifier, or merged into the --defaults file under the product's lock.",
         .options = {BundleOption, DefaultsOption},
         .examples = {{"tqkit advanced set --bundle My.bundle maxRetries 5", "stores the integer 5"},
                      {"tqkit advanced set --bundle My.bundle layout Wide", "a choice, by its label"}}},
        {.name = "reset",
         .synopsis = "[--bundle PATH] [--defaults FILE] KEY",
         .summary = "Removes one advanced setting's value, so its default applies again.",
         .run = reset,
         .options = {BundleOption, DefaultsOption},
         .examples = {{"tqkit advanced reset --bundle My.bundle maxRetries", "back to the default"}}},
    }};

}  // namespace
