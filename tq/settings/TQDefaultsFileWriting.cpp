// Writing the defaults file: changes wait in a batch until a flush on the
// main run loop merges them, key by key, into the file's latest contents
// under the exclusive coordination lock and replaces the file atomically.

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Sorting.h"
#include "tq/platform/dispatch/OperationQueue.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/FileCoordinator.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Color.h"
#include "tq/platform/value/Number.h"
#include "tq/colour/ColorTQFoundation.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQFoundationDefaults.h"
#include "tq/settings/internal/DefaultsFileState.h"

namespace tq {

namespace {

bool isTrue(const Id& value) {
  auto number = cast<Number>(value);
  return number && number->boolValue();
}

std::string describeValue(const Id& value) { return value ? value->description()->utf8() : "(null)"; }

// Colours are kept in the file as their text form.
Id storableValue(Id value) {
  if (auto colour = cast<Color>(value)) return TQFoundation::jsonStringRepresentation(*colour);
  return value;
}

// The contents as the file reads back: every dictionary and array a new
// mutable one. Kept as the caller's objects, a dictionary this process stored
// would stay immutable in memory (a later dotted key into it would be
// dropped here, though applied by every process that read the file) or stay
// the caller's own (and be changed under the caller's feet).
Id withMutableContainers(const Id& value) {
  if (auto dictionary = cast<Dictionary>(value)) {
    auto copy = MutableDictionary::dictionary();
    for (const auto& [key, object] : dictionary->entries()) copy->setObject(withMutableContainers(object), key);
    return copy;
  }
  if (auto list = cast<Array>(value)) {
    auto copy = MutableArray::array();
    for (const auto& object : list->storage()) copy->addObject(withMutableContainers(object));
    return copy;
  }
  return value;
}

bool differs(const Id& stored, const Id& incoming) { return !stored || !incoming || !stored->isEqual(*incoming); }

// A dotted key changes one entry of the dictionary stored under its first
// part. Answers false when there is no such container, so that the key is
// taken whole; true when the key was dealt with (even when the container is
// not a dictionary that can change, and nothing happens).
bool mergeIntoContainer(MutableDictionary& contents, const String& key, const Id& value, MutableArray& changed) {
  const std::u16string& units = key.utf16();
  auto dot = units.find(u'.');
  if (dot == std::u16string::npos) return false;
  Id container = contents.objectForKey(String::fromUTF16(units.substr(0, dot)));
  if (!container) return false;
  if (auto nested = cast<MutableDictionary>(container)) {
    auto subKey = String::fromUTF16(units.substr(dot + 1));
    Id current = nested->objectForKey(subKey);
    if (!current) current = Null::null();
    if (differs(current, value)) {
      if (cast<Null>(value)) {
        nested->removeObjectForKey(subKey);
      } else {
        nested->setObject(value, subKey);
      }
      changed.addObject(key.self());
    }
  }
  return true;
}

}  // namespace

void _TQDefaultsFileManager::_updateDefaults(const Ref<Dictionary>& changes) {
  if (!changes) return;
  bool schedule = false;
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    if (!pendingChanges_) pendingChanges_ = MutableDictionary::dictionary();
    pendingChanges_->addEntriesFromDictionary(*changes);
    // The first change of a batch schedules its flush; later ones join it.
    // A batch whose flush failed is flushed again with the next change.
    schedule = !flushScheduled_;
    flushScheduled_ = true;
  }
  if (schedule) scheduleFlush();
}

void _TQDefaultsFileManager::scheduleFlush() {
  if (RunLoop::isMainThread()) return flushPendingChanges();
  std::weak_ptr<_TQDefaultsFileManager> weakSelf = cast<_TQDefaultsFileManager>(self());
  OperationQueue::mainQueue()->addOperationWithBlock([weakSelf] {
    if (auto manager = weakSelf.lock()) manager->flushPendingChanges();
  });
}

void _TQDefaultsFileManager::flushPendingChanges() {
  Ref<Array> changedKeys;
  std::string error;
  bool ran = FileCoordinator::coordinateReadingThenWriting(
      path_,
      [&](const std::string&) {
        std::lock_guard<std::recursive_mutex> guard(lock_);
        flushScheduled_ = false;
        auto batch = pendingChanges_ ? cast<Dictionary>(pendingChanges_->copy()) : Dictionary::dictionary();
        Ref<Dictionary> changesFromFile;
        _readDefaultsFromFileReturningChangesInDictionary(&changesFromFile);
        auto contents = MutableDictionary::dictionaryWithDictionary(defaults_ ? *defaults_ : *Dictionary::dictionary());
        if (contents->count() == 0) {
          platformLog("Defaults is empty -- this should not happen");
          return;
        }
        auto changed = _updateChanges(changesFromFile ? *changesFromFile : *Dictionary::dictionary(), *contents, *batch);
        for (const auto& key : changed->storage()) _willChangeValueForKey(*cast<String>(key));
        // A batch that did not reach the file stays pending: nothing a
        // caller set is dropped because the disk refused it once.
        // The lock is held since the batch was copied: nothing joined it.
        if (_writeDefaults(*contents, path_)) pendingChanges_->removeAllObjects();
        for (const auto& key : changed->storage()) _didChangeValueForKey(*cast<String>(key));
        changedKeys = changed;
      },
      &error);
  if (!ran) {
    {
      std::lock_guard<std::recursive_mutex> guard(lock_);
      flushScheduled_ = false;
    }
    platformLog("There was an error with the update file coordination: \u2018" + error + "\u2019.");
    return;
  }
  detail::cachedReadCounter() = 0;
  _notifyOfChanges(changedKeys);
}

Ref<Array> _TQDefaultsFileManager::_updateChanges(const Dictionary& changesFromFile, MutableDictionary& fileDefaults,
                                                  const Dictionary& newValues) {
  const bool logChanges = isTrue(fileDefaults.objectForKey("logPreferenceChanges"));
  auto changed = MutableArray::arrayWithArray(*changesFromFile.allKeys());
  auto keys = newValues.allKeys();
  for (auto index = keys->count(); index-- > 0;) {
    auto key = cast<String>(keys->objectAtIndex(index));
    if (!key) continue;
    changed->removeObject(key);
    // A batch holds a dotted key as one entry ("window.width"), so the
    // value is taken under the key itself, not along it as a path.
    Id value = storableValue(newValues.objectForKey(key));
    if (mergeIntoContainer(fileDefaults, *key, value, *changed)) continue;
    Id stored = valueForKeyPath(fileDefaults.self(), *key);
    if (!differs(stored, value)) continue;
    if (!value || cast<Null>(value)) {
      fileDefaults.removeObjectForKey(key);
    } else {
      fileDefaults.setObject(value, key);
    }
    changed->addObject(key);
    if (logChanges) platformLog("[logPreferenceChanges] default changed " + key->utf8() + " " + describeValue(value));
  }
  return cast<Array>(changed->copy());
}

bool _TQDefaultsFileManager::_writeDefaults(const Dictionary& contents, const std::string& path) {
  Ref<Error> error;
  std::string xml = PropertyList::writeXML(&contents, &error);
  if (xml.empty() || !FileSystem::current()->writeFileAtomically(path, xml)) {
    platformLog("Error writing the defaults data to: \u2018file://" + path + "\u2019.");
    return false;
  }
  std::lock_guard<std::recursive_mutex> guard(lock_);
  defaults_ = cast<MutableDictionary>(withMutableContainers(contents.self()));
  lastDiskRead_ = now();
  detail::cachedReadCounter() = 0;
  return true;
}

void _TQDefaultsFileManager::_writeDefaultsToFile(const Dictionary& contents) {
  bool ran = FileCoordinator::coordinateWriting(path_, [&](const std::string&) { _writeDefaults(contents, path_); });
  if (!ran) platformLog("Error coordinating the writing of the defaults file at \u2018" + path_ + "\u2019.");
}

}  // namespace tq
