// tqkit defaults: read, change and watch a product's shared defaults file
// through the same file manager an add-on's store uses, so that a write here
// is merged into the latest file under the product's lock (never losing what
// another process wrote) and a running add-on hears of it within a second,
// and `watch` hears of other processes' writes as an add-on does.
//
// read: strings print raw, other values as JSON (as `plist get` prints them);
// a dotted key reaches into dictionaries. write: VALUE is JSON, or a plain
// string when it is not JSON. watch: one JSON line per key that another
// process changed, {"key": ..., "value": ...}, as the manager announces
// them. The manager's change set does not carry removals made elsewhere (its
// long-standing behaviour, which add-ons see too): watch prints a removal
// (value null) when it comes with a change the manager announces, found by
// comparing the keys before and after; a removal alone is not announced.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Command.h"
#include "ToolStore.h"
#include "ValueJSON.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/Sorting.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQFoundationDefaults.h"

using namespace tqkit;

namespace {

int read(Arguments& arguments) {
  auto words = arguments.positionals(1, 2);
  if (!tq::FileSystem::current()->status(words[0]).isRegularFile) {
    throw FailureException{"cannot read '" + words[0] + "': No such file"};
  }
  auto opened = openStore(words[0]);
  tq::Id value = opened.manager->defaultsDictionaryForDefaultManager(*opened.store);
  if (words.size() == 2) {
    value = tq::valueForKeyPath(value, *tq::str(words[1]));
    if (!value) throw FailureException{"no value for '" + words[1] + "' in '" + words[0] + "'"};
  }
  if (auto text = tq::cast<tq::String>(value)) {
    writeOut(arguments, text->utf8() + "\n");
  } else {
    writeOut(arguments, toJSON(value) + "\n");
  }
  return Success;
}

void change(Arguments& arguments, const std::string& path, const std::string& key, const tq::Id& value) {
  auto changes = tq::dict({{tq::str(key), value}});
  if (!tq::isKindOf<tq::Null>(value)) {
    createStoreFileIfMissing(path, changes);
  } else if (!tq::FileSystem::current()->status(path).isRegularFile) {
    throw FailureException{"cannot change '" + path + "': No such file"};
  }
  auto opened = openStore(path);
  opened.manager->_updateDefaults(changes);  // on the main thread: merged and written at once
  requireWritten(opened, path);
  (void)arguments;
}

int write(Arguments& arguments) {
  auto words = arguments.positionals(3, 3);
  tq::Id value = parseValue(words[2]);
  if (holdsNull(value)) throw UsageException{"VALUE may not be or hold null (use 'tqkit defaults delete')"};
  change(arguments, words[0], words[1], value);
  return Success;
}

int remove(Arguments& arguments) {
  auto words = arguments.positionals(2, 2);
  change(arguments, words[0], words[1], tq::Null::null());
  return Success;
}

double number(const std::string& text, const std::string& option) {
  char* end = nullptr;
  double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(value > 0)) throw UsageException{option + " needs a positive number"};
  return value;
}

int watch(Arguments& arguments) {
  const std::string countText = arguments.option("--count", "");
  const std::string timeoutText = arguments.option("--timeout", "");
  auto words = arguments.positionals(1, 1);
  const long limit = countText.empty() ? -1 : long(number(countText, "--count"));
  const double timeout = timeoutText.empty() ? -1 : number(timeoutText, "--timeout");
  auto opened = openStore(words[0]);
  if (!opened.manager->isWatching()) throw FailureException{"cannot watch the folder of '" + words[0] + "'"};
  opened.manager->defaultsDictionaryForDefaultManager(*opened.store);  // the baseline changes are measured from
  tq::Ref<tq::Dictionary> seen = opened.manager->defaultsDictionary();
  long printed = 0;
  auto print = [&](const tq::Id& key, const tq::Id& value) {
    if (limit >= 0 && printed >= limit) return;
    auto line = tq::dict({{tq::str("key"), key}, {tq::str("value"), value ? value : tq::Id(tq::Null::null())}});
    writeOut(arguments, toJSON(line, false) + "\n");
    std::fflush(arguments.streams().out);
    ++printed;
  };
  opened.store->onChanges = [&](const tq::Id& changes) {
    auto changed = tq::cast<tq::Dictionary>(changes);
    if (!changed) return;  // this process's own writes come as a list of keys
    auto now = opened.manager->defaultsDictionary();
    for (const auto& [key, ignored] : changed->entries()) print(key, tq::valueForKeyPath(now, *tq::cast<tq::String>(key)));
    // The announcement carries no removals; the keys gone since the last
    // one are found by comparing what the manager holds.
    for (const auto& [key, ignored] : seen->entries()) {
      if (!now->objectForKey(key)) print(key, nullptr);
    }
    seen = now;
  };
  auto done = [&] { return limit >= 0 && printed >= limit; };
  if (timeout > 0) {
    tq::RunLoop::main().runUntil(done, timeout);
  } else {
    while (!done()) tq::RunLoop::main().runUntil(done, 3600);
  }
  return Success;
}

const OptionHelp CountOption{"--count N", "stops after N changes"};
const OptionHelp TimeoutOption{"--timeout SECONDS", "stops after SECONDS (fractions allowed)"};

const CommandGroup defaultsGroup{
    "defaults",
    "read, change and watch a product's shared defaults file",
    {
        {.name = "read",
         .synopsis = "FILE [KEY]",
         .summary = "Prints the whole file, or one key's value; exit 1 if absent.",
         .run = read,
         .description = "Reads through the same manager an add-on uses. A dotted KEY reaches into dictionaries "
                        "(window.width). Strings print raw; other values as JSON with sorted keys.",
         .examples = {{"tqkit defaults read ~/.config/Product/Defaults.plist", "prints every setting as JSON"},
                      {"tqkit defaults read Defaults.plist TQaccentColor", "prints one setting"}}},
        {.name = "write",
         .synopsis = "FILE KEY VALUE",
         .summary = "Sets one key, merged into the latest file under the product's lock.",
         .run = write,
         .description = "VALUE is JSON (numbers, booleans, arrays, objects, quoted strings); text that is not "
                        "JSON is stored as a string. A dotted KEY changes one entry of the dictionary stored "
                        "under its first part, when there is one. Running add-ons hear of the change within "
                        "about a second. A missing file is created.",
         .examples = {{"tqkit defaults write Defaults.plist TQvolume 11", "stores a number"},
                      {"tqkit defaults write Defaults.plist TQgreeting 'Hello there'", "stores a string"}}},
        {.name = "delete",
         .synopsis = "FILE KEY",
         .summary = "Removes one key, merged into the latest file under the product's lock.",
         .run = remove,
         .examples = {{"tqkit defaults delete Defaults.plist TQobsolete", "removes a setting"}}},
        {.name = "watch",
         .synopsis = "[--count N] [--timeout SECONDS] FILE",
         .summary = "Prints a JSON line for each key another process changes.",
         .run = watch,
         .description = "Each line is {\"key\": KEY, \"value\": VALUE}, as the manager announces a change made "
                        "by another process (about a second after it, grouped); a key removed along with it shows "
                        "with value null. A removal alone is not announced, as add-ons do not hear of it either. "
                        "Runs until interrupted, or until --count changes or --timeout seconds.",
         .options = {CountOption, TimeoutOption},
         .examples = {{"tqkit defaults watch --count 1 Defaults.plist", "waits for one change"},
                      {"tqkit defaults watch --timeout 60 Defaults.plist | jq .key", "lists the keys changed in a minute"}}},
    }};

}  // namespace
