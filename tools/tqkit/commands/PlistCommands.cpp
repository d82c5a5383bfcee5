// tqkit plist: show, query and edit property-list files (XML or binary).
//
// Key paths are dotted: "window.frame.width". A component addresses a
// dictionary entry by its key, or an array element by its decimal index.
// Keys that contain dots cannot be addressed.
//
// get: strings print raw; other values print as pretty JSON with sorted keys,
// data as a Base64 string and dates as ISO 8601 UTC strings (JSON has
// neither), infinities and NaN as "+infinity"/"-infinity"/"nan".
// set: VALUE is parsed as JSON (numbers, booleans, strings, arrays, objects);
// text that is not JSON is stored as a string; null removes the entry. Missing
// dictionaries on the path are created; an array index equal to the count
// appends. The file keeps its format (XML or binary) and is replaced
// atomically; a missing file is created as XML.

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "Command.h"
#include "ValueJSON.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/value/String.h"

using namespace tqkit;

namespace {

struct LoadedPlist {
  tq::Id root;
  tq::PropertyListFormat format = tq::PropertyListFormat::XML;
};

// A property list from a file, or from standard input for "-".
LoadedPlist load(Arguments& arguments, const std::string& path, bool mutableContainers) {
  LoadedPlist loaded;
  tq::Ref<tq::Error> error;
  if (path == "-") {
    const std::string bytes = readInput(arguments, path);
    loaded.root = tq::PropertyList::read(bytes, &error, &loaded.format, mutableContainers);
  } else {
    loaded.root = tq::PropertyList::readFile(path, &error, &loaded.format, mutableContainers);
  }
  if (!loaded.root) {
    throw FailureException{"cannot read " + inputName(path) + ": " +
                           (error ? error->localizedDescription() : std::string("not a property list"))};
  }
  return loaded;
}

std::vector<std::string> splitKeyPath(const std::string& keyPath) {
  std::vector<std::string> components;
  std::size_t start = 0;
  while (true) {
    std::size_t dot = keyPath.find('.', start);
    components.push_back(keyPath.substr(start, dot == std::string::npos ? std::string::npos : dot - start));
    if (components.back().empty()) throw UsageException{"empty component in key path \"" + keyPath + "\""};
    if (dot == std::string::npos) return components;
    start = dot + 1;
  }
}

// The array index a component names; false unless it is all decimal digits.
bool parseIndex(const std::string& component, tq::Index* index) {
  if (component.empty() || component.size() > 18) return false;
  for (char c : component) {
    if (c < '0' || c > '9') return false;
  }
  *index = std::stoull(component);
  return true;
}

// The child of a container by one path component; nil when absent.
tq::Id child(const tq::Id& container, const std::string& component) {
  if (auto dictionary = tq::cast<tq::Dictionary>(container))
    return dictionary->objectForKey(std::string_view(component));
  tq::Index index;
  if (auto array = tq::cast<tq::Array>(container); array && parseIndex(component, &index) && index < array->count()) {
    return array->objectAtIndex(index);
  }
  return nullptr;
}

int show(Arguments& arguments) {
  auto words = arguments.positionals(1, 1);
  LoadedPlist loaded = load(arguments, words[0], false);
  tq::Ref<tq::Error> error;
  auto xml = tq::PropertyList::write(loaded.root.get(), tq::PropertyListFormat::XML, &error);
  if (!xml) throw FailureException{error->localizedDescription()};
  writeOut(arguments, std::string_view(reinterpret_cast<const char*>(xml->bytes()), xml->length()));
  return Success;
}

int get(Arguments& arguments) {
  auto words = arguments.positionals(2, 2);
  auto components = splitKeyPath(words[1]);  // a usage error whether or not the file exists
  tq::Id value = load(arguments, words[0], false).root;
  std::string path;
  for (const std::string& component : components) {
    path += (path.empty() ? "" : ".") + component;
    value = child(value, component);
    if (!value) throw FailureException{"no value at '" + path + "' in " + inputName(words[0])};
  }
  if (auto text = tq::cast<tq::String>(value)) {
    writeOut(arguments, text->utf8() + "\n");
  } else {
    writeOut(arguments, toJSON(value) + "\n");
  }
  return Success;
}

// Stores (or, for nil, removes) a value in a mutable container.
void store(const tq::Id& container, const std::string& component, const tq::Id& value, const std::string& path) {
  if (auto dictionary = tq::cast<tq::MutableDictionary>(container)) {
    dictionary->setObjectForKeyedSubscript(value, tq::str(component));
    return;
  }
  auto array = tq::cast<tq::MutableArray>(container);
  if (!array) {
    throw FailureException{"cannot set \"" + path + "\": the property list holds a " + container->className() +
                           " there, not a dictionary or an array"};
  }
  tq::Index index;
  if (!parseIndex(component, &index) || index > array->count()) {
    throw FailureException{"cannot set \"" + path + "\": no such dictionary key or array index"};
  }
  if (!value) {
    if (index < array->count()) array->removeObjectAtIndex(index);
  } else if (index == array->count()) {
    array->addObject(value);
  } else {
    array->replaceObjectAtIndex(index, value);
  }
}

int set(Arguments& arguments) {
  auto words = arguments.positionals(3, 3);
  const std::string& file = words[0];
  auto components = splitKeyPath(words[1]);
  tq::Id value = parseValue(words[2]);
  if (tq::isKindOf<tq::Null>(value)) {
    value = nullptr;  // null removes the entry
  } else if (holdsNull(value)) {
    throw FailureException{"cannot store a JSON null inside a value: property lists have no null"};
  }

  LoadedPlist loaded;
  if (std::filesystem::exists(file)) {
    loaded = load(arguments, file, true);
  } else {
    loaded.root = tq::make<tq::MutableDictionary>();
  }
  tq::Id container = loaded.root;
  std::string path;
  for (std::size_t i = 0; i + 1 < components.size(); ++i) {
    path += (path.empty() ? "" : ".") + components[i];
    tq::Id next = child(container, components[i]);
    if (!next) {
      if (!value) return Success;  // removing beneath a missing entry changes nothing
      next = tq::make<tq::MutableDictionary>();
      store(container, components[i], next, path);
    } else if (!tq::isKindOf<tq::MutableDictionary>(next) && !tq::isKindOf<tq::MutableArray>(next)) {
      throw FailureException{"cannot set beneath \"" + path + "\": it holds a " + next->className() +
                             ", not a dictionary or an array"};
    }
    container = next;
  }
  store(container, components.back(), value, words[1]);

  tq::Ref<tq::Error> error;
  if (!tq::PropertyList::writeFile(loaded.root.get(), file, loaded.format, true, &error)) {
    throw FailureException{"cannot write '" + file + "': " + error->localizedDescription()};
  }
  return Success;
}

int toJSONCommand(Arguments& arguments) {
  auto words = arguments.positionals(1, 1);
  writeOut(arguments, toJSON(load(arguments, words[0], false).root) + "\n");
  return Success;
}

const CommandGroup plistGroup{
    "plist",
    "show, query and edit property lists (XML or binary)",
    {
        {.name = "show",
         .synopsis = "FILE|-",
         .summary = "Prints the property list as XML.",
         .run = show,
         .examples = {{"tqkit plist show settings.plist", "shows a binary or XML property list as XML"}}},
        {.name = "get",
         .synopsis = "FILE|- KEY.PATH",
         .summary = "Prints the value at a key path; exit 1 if there is none.",
         .run = get,
         .description = "KEY.PATH is dotted: a component is a dictionary key or a decimal array index (keys that "
                        "hold dots cannot be addressed). Strings print as they are; other values as pretty JSON with "
                        "sorted keys, data as Base64, dates as ISO 8601 UTC, infinities and NaN as +infinity, "
                        "-infinity and nan.",
         .examples = {{"tqkit plist get settings.plist window.frame.width", "prints one number"},
                      {"tqkit plist get settings.plist accounts.0", "prints the first account as JSON"}}},
        {.name = "set",
         .synopsis = "FILE KEY.PATH VALUE",
         .summary = "Sets the value at a key path, keeping the file's format.",
         .run = set,
         .description = "VALUE is read as JSON (numbers, booleans, strings, arrays, objects); text that is not JSON "
                        "is stored as a string, and null removes the entry. Missing dictionaries on the path are "
                        "created; an array index equal to the count appends. The file is replaced atomically; a "
                        "missing file is created as XML.",
         .examples = {{"tqkit plist set settings.plist window.frame.width 640", "stores a number"},
                      {"tqkit plist set settings.plist obsolete null", "removes an entry"}}},
        {.name = "to-json",
         .synopsis = "FILE|-",
         .summary = "Prints the property list as pretty JSON with sorted keys.",
         .run = toJSONCommand,
         .examples = {{"tqkit plist to-json settings.plist | jq .accounts", "queries it with jq"}}},
    }};

}  // namespace
