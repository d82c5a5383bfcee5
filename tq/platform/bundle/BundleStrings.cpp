// The platform's localized-string lookup: string and plural tables found in
// the localisation folders, chosen by the user's languages, read once.

#include <atomic>

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/bundle/PluralTable.h"
#include "tq/platform/bundle/StringTable.h"
#include "tq/platform/bundle/internal/StringTables.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/Environment.h"
#include "tq/platform/system/FileSystem.h"

namespace tq {

namespace detail {

std::string computeSignature() {
  const auto environment = Environment::current();
  std::string signature;
  for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (auto value = environment->variable(name)) signature += *value;
    signature += '\x1f';
  }
  return signature;
}

namespace {

// The language a table's plural rules follow: its folder's, except for the
// folders that stand for no language.
std::string rulesLanguage(const Bundle& bundle, const std::string& localization) {
  if (!localization.empty() && localization != "Base") return localization;
  auto development = bundle.developmentLocalization();
  return development ? development->utf8() : "en";
}

}  // namespace

const std::string*& snapshotSignaturePointer() {
  thread_local const std::string* signature = nullptr;
  return signature;
}

const std::string& languageSignature(std::string& storage) {
  if (const std::string* snapshot = snapshotSignaturePointer()) return *snapshot;
  storage = computeSignature();
  return storage;
}

Ref<Dictionary> StringTables::parsed(const std::string& path, bool plural) {
  auto found = files_.find(path);
  if (found != files_.end()) return found->second;
  Ref<Dictionary> table;
  if (auto bytes = FileSystem::current()->readFile(path)) {
    Ref<Error> error;
    table = plural ? PluralTable::read(*bytes, &error) : StringTable::read(*bytes, &error);
    // Lookups have no error slot; the file is reported once and left out.
    if (!table) platformLog("Bundle: " + path + " is left out: " + (error ? error->localizedDescription() : ""));
  }
  files_.emplace(path, table);
  return table;
}

std::shared_ptr<const TableChain> StringTables::chain(const Bundle& bundle, const std::string& signature,
                                                      std::string_view table) {
  std::lock_guard lock(mutex_);
  if (lastChain_ && lastTable_ == table && lastSignature_ == signature) return lastChain_;
  bool kept = false;
  std::shared_ptr<const TableChain> found = build(bundle, signature, table, kept);
  if (!kept) return found;
  lastSignature_ = signature;
  lastTable_ = table;
  lastChain_ = found;
  return found;
}

// Under the lock. `kept` says whether the chain is kept for later lookups.
std::shared_ptr<const TableChain> StringTables::build(const Bundle& bundle, const std::string& signature,
                                                      std::string_view tableName, bool& kept) {
  const std::string table(tableName);
  std::string key = signature + "\n" + table;
  if (auto found = chains_.find(key); found != chains_.end()) {
    kept = true;
    return found->second;
  }
  auto chain = std::make_shared<TableChain>();
  const std::string resources = bundle.resourcePath()->utf8();
  auto add = [&](const std::string& folder, const std::string& localization) {
    LocalizedTable entry{rulesLanguage(bundle, localization), parsed(folder + "/" + table + ".stringsdict", true),
                         parsed(folder + "/" + table + ".strings", false)};
    if (entry.plurals || entry.strings) chain->push_back(std::move(entry));
  };
  const Ref<Array> localizations = bundle.preferredLocalizations();
  for (const Id& localization : *localizations) {
    const std::string name = describeUTF8(localization);
    add(resources + "/" + name + ".lproj", name);
  }
  add(resources, "");
  // The order was read from the environment as it is now; a chain built
  // while the languages changed under a snapshot is used once, not kept
  // under a signature it does not match.
  kept = computeSignature() == signature;
  if (!kept) return chain;
  return chains_.emplace(std::move(key), std::move(chain)).first->second;
}

}  // namespace detail

namespace {

std::atomic<Bundle::LocalizedStringLookup>& installedLookup() {
  static std::atomic<Bundle::LocalizedStringLookup> lookup{nullptr};
  return lookup;
}

}  // namespace

std::shared_ptr<const std::vector<Bundle::LocalizedTable>> Bundle::localizedTables(const Ref<String>& table) const {
  const std::string tableName = table && table->length() > 0 ? table->utf8() : std::string();
  std::string storage;
  return tables_->chain(*this, detail::languageSignature(storage),
                        tableName.empty() ? std::string_view("Localizable") : tableName);
}

std::string Bundle::currentLanguageSignature() { return detail::computeSignature(); }

Ref<String> Bundle::platformLocalizedStringForKey(const Bundle& bundle, const String& key, const Ref<String>& value,
                                                  const Ref<String>& table) {
  const auto chain = bundle.localizedTables(table);
  for (const detail::LocalizedTable& tables : *chain) {
    if (tables.plurals) {
      if (auto entry = cast<Dictionary>(tables.plurals->objectForKey(&key))) {
        auto format = cast<String>(entry->objectForKey(std::string_view(StringLocalizedFormatKey)));
        return make<PluralFormatString>(format->utf16(), entry, tables.localization);
      }
    }
    if (tables.strings) {
      if (auto text = cast<String>(tables.strings->objectForKey(&key))) return text;
    }
  }
  if (value && value->length() > 0) return value;
  return String::fromUTF16(key.utf16());
}

Ref<String> Bundle::localizedStringForKey(const String& key, const Ref<String>& value, const Ref<String>& table) const {
  LocalizedStringLookup lookup = installedLookup().load(std::memory_order_acquire);
  return (lookup ? lookup : &platformLocalizedStringForKey)(*this, key, value, table);
}

Bundle::LocalizedStringLookup Bundle::exchangeLocalizedStringLookup(LocalizedStringLookup replacement) {
  LocalizedStringLookup previous = installedLookup().exchange(replacement, std::memory_order_acq_rel);
  return previous ? previous : &platformLocalizedStringForKey;
}

Bundle::LanguageSnapshot::LanguageSnapshot() : previous_(detail::snapshotSignaturePointer()) {
  std::string storage;
  signature_ = detail::languageSignature(storage);
  detail::snapshotSignaturePointer() = &signature_;
}

Bundle::LanguageSnapshot::~LanguageSnapshot() { detail::snapshotSignaturePointer() = previous_; }

}  // namespace tq
