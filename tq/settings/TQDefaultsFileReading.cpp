// Reading the defaults file: under the shared coordination lock, parsed with
// mutable containers, brought into the contents with a change set, and served
// from memory for 5 seconds after each disk access.

#include <optional>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Sorting.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/FileCoordinator.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/DictionaryChangeSet.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQFoundationDefaults.h"
#include "tq/settings/internal/DefaultsFileState.h"

namespace tq {

namespace {

// Reads within this many seconds of the last disk access come from memory.
constexpr double kCacheSeconds = 5.0;

// The file's top-level dictionary, mutable all the way down, or nil for a
// missing, unreadable or malformed file.
Ref<Dictionary> parseDefaultsFile(const std::string& path) {
  auto bytes = FileSystem::current()->readFile(path);
  if (!bytes) return nullptr;
  return cast<Dictionary>(PropertyList::read(*bytes, nullptr, nullptr, /*mutableContainers=*/true));
}

}  // namespace

Ref<Dictionary> _TQDefaultsFileManager::_readDefaultsFromFileReturningChangesInDictionary(Ref<Dictionary>* changes) {
  Ref<Dictionary> contents;
  std::string error;
  bool ran = FileCoordinator::coordinateReading(
      path_,
      [&](const std::string&) {
        {
          std::lock_guard<std::recursive_mutex> guard(lock_);
          lastDiskRead_ = now();
        }
        detail::cachedReadCounter() = 0;
        Ref<Dictionary> parsed = parseDefaultsFile(path_);
        std::lock_guard<std::recursive_mutex> guard(lock_);
        if (!defaults_) defaults_ = MutableDictionary::dictionary();
        if (parsed) {
          auto found = TQFoundation::changesForUpdatingDictionaryWithEntries(*defaults_, parsed.get());
          if (changes) *changes = found;
        }
        contents = defaults_;
      },
      &error);
  if (!ran) {
    platformLog("Error coordinating the reading of the defaults file at \u2018" + path_ + "\u2019.");
    std::lock_guard<std::recursive_mutex> guard(lock_);
    return defaults_;
  }
  return contents;
}

Ref<Dictionary> _TQDefaultsFileManager::dictionaryIncludingPendingChangesForDict(const Dictionary& dictionary) const {
  auto laidOver = MutableDictionary::dictionaryWithDictionary(dictionary);
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (pendingChanges_) {
    for (const auto& [key, value] : pendingChanges_->entries()) {
      if (cast<Null>(value)) {
        laidOver->removeObjectForKey(key);
      } else {
        laidOver->setObject(value, key);
      }
    }
  }
  return cast<Dictionary>(laidOver->copy());
}

Ref<Dictionary> _TQDefaultsFileManager::defaultsDictionaryForDefaultManager(TQFoundationDefaults& store) {
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    if (now() - lastDiskRead_ <= kCacheSeconds) {
      ++detail::cachedReadCounter();
      return dictionaryIncludingPendingChangesForDict(defaults_ ? *defaults_ : *Dictionary::dictionary());
    }
  }
  Ref<Dictionary> changes;
  _readDefaultsFromFileReturningChangesInDictionary(&changes);
  Ref<Dictionary> contents;
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    contents = dictionaryIncludingPendingChangesForDict(defaults_ ? *defaults_ : *Dictionary::dictionary());
  }
  if (changes) announceChanges(*changes, &store);
  return contents;
}

// The overlay of pending changes differs from the stored contents only in
// top-level entries, so a path's first step is taken in the pending changes
// (a null marker hides the stored entry) or else in the contents, and the
// rest of the path in what that step found: the value a lookup in a laid-over
// copy would find, without making the copy.
Id _TQDefaultsFileManager::defaultForKeyPath(const String& keyPath, TQFoundationDefaults& store) {
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    if (now() - lastDiskRead_ <= kCacheSeconds) {
      ++detail::cachedReadCounter();
      const std::u16string& units = keyPath.utf16();
      const std::size_t dot = units.find(u'.');
      Ref<String> firstStep = dot == std::u16string::npos ? nullptr : String::fromUTF16(units.substr(0, dot));
      const String& first = firstStep ? *firstStep : keyPath;
      Id found;
      if (Id pending = pendingChanges_ ? pendingChanges_->objectForKey(&first) : nullptr) {
        if (!cast<Null>(pending)) found = pending;
      } else if (defaults_) {
        found = defaults_->objectForKey(&first);
      }
      if (!firstStep || !found) return found;
      return valueForKeyPath(found, *String::fromUTF16(units.substr(dot + 1)));
    }
  }
  return valueForKeyPath(defaultsDictionaryForDefaultManager(store), keyPath);
}

Id _TQDefaultsFileManager::standardUserDefaultForKey(const String& key, TQFoundationDefaults& store) {
  bool stale = false;
  Ref<Dictionary> snapshot;
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    if (now() - lastDiskRead_ > kCacheSeconds) {
      cachedStandardUserDefaults_ = UserDefaults::standardUserDefaults()->dictionaryRepresentation();
      stale = true;
    }
    snapshot = cachedStandardUserDefaults_;
  }
  if (stale) {
    Ref<Dictionary> changes;
    _readDefaultsFromFileReturningChangesInDictionary(&changes);
    if (changes) announceChanges(*changes, &store);
  }
  return snapshot ? snapshot->objectForKey(&key) : nullptr;
}

void _TQDefaultsFileManager::refresh() {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  lastDiskRead_ = 0;
}

void _TQDefaultsFileManager::defaultsWereExternallyChanged() {
  Ref<Dictionary> changes;
  _readDefaultsFromFileReturningChangesInDictionary(&changes);
  if (!changes || changes->count() == 0) return;
  detail::cachedReadCounter() = 0;
  for (const auto& store : stores()) {
    announceChanges(*changes, store.get());
    store->notifyOfChanges(changes);
  }
}

}  // namespace tq
