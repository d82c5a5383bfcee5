// Setting a store up: its initial values merged under the stored ones, the
// stored version brought up to date once per process start, or the values
// repaired.

#include "tq/platform/system/FileCoordinator.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQFoundationDefaults.h"

namespace tq {

namespace {

constexpr const char* kDefaultVersions = "defaultVersions";

std::int64_t storedVersion(const Dictionary& defaults, const Ref<String>& versionKey) {
  auto versions = cast<Dictionary>(defaults.objectForKey(kDefaultVersions));
  if (!versions || !versionKey) return 0;
  Id version = versions->objectForKey(versionKey);
  if (auto text = cast<String>(version)) return text->integerValue();
  if (auto number = cast<Number>(version)) return number->integerValue();
  return 0;
}

void recordVersion(MutableDictionary& defaults, const Ref<String>& versionKey, std::int64_t version) {
  auto current = cast<Dictionary>(defaults.objectForKey(kDefaultVersions));
  auto versions = current ? MutableDictionary::dictionaryWithDictionary(*current) : MutableDictionary::dictionary();
  if (versionKey) versions->setObject(String::fromUTF8(std::to_string(version)), versionKey);
  defaults.setObject(versions, str(kDefaultVersions));
}

}  // namespace

void TQFoundationDefaults::init() {
  auto manager = _TQDefaultsFileManager::defaultsFileManagerForDefaults(*this);
  auto initial = MutableDictionary::dictionary();
  auto initialComponentKeys = MutableDictionary::dictionary();  // used as a set
  if (auto values = initialDefaults()) {
    for (const auto& [key, value] : values->entries()) {
      auto name = cast<String>(key);
      auto componentKey = name ? _componentKeyForKey(*name) : nullptr;
      if (!componentKey) continue;
      initialComponentKeys->setObject(num(true), componentKey);
      initial->setObject(value, componentKey);
    }
  }
  if (!manager) return;
  auto setUp = [&] {
    std::lock_guard<std::recursive_mutex> guard(manager->lock());
    mergeStoredValues(*initial, *initialComponentKeys);
    auto versionKey = defaultsVersionKey();
    std::int64_t version = storedVersion(*initial, versionKey);
    if (version < currentDefaultsVersion()) {
      upgradeDefaults(*initial, version);
      recordVersion(*initial, versionKey, currentDefaultsVersion());
      manager->_writeDefaultsToFile(*initial);
    } else if (repairDefaults(*initial) || initialComponentKeys->count() > 0) {
      manager->_writeDefaultsToFile(*initial);
    } else {
      manager->set_defaults_(initial);
    }
  };
  // The set-up writes back the whole file it read: another process's flush
  // between the two would be lost. So it holds the file's exclusive lock
  // throughout, reads the file afresh under it, and takes the lock before
  // the manager's own, in the order every flush takes them. The read and
  // the write inside run at once under the held lock. Without the lock (the
  // folder cannot hold one) it goes on, and the read and the write report
  // their own failures.
  bool ran = FileCoordinator::coordinateReadingThenWriting(manager->defaultsPathURL()->utf8(), [&](const std::string&) {
    manager->refresh();
    setUp();
  });
  if (!ran) setUp();
}

// Stored values win over initial ones; an initial key already stored is no
// longer new to the file.
void TQFoundationDefaults::mergeStoredValues(MutableDictionary& initial, MutableDictionary& newKeys) {
  auto stored = _manager_()->defaultsDictionaryForDefaultManager(*this);
  if (!stored) return;
  for (const auto& [key, value] : stored->entries()) {
    newKeys.removeObjectForKey(key);
    initial.setObject(value, key);
  }
}

}  // namespace tq
