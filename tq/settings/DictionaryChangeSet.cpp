#include "tq/settings/DictionaryChangeSet.h"

#include "tq/platform/collection/Array.h"
#include "tq/platform/object/Monitor.h"
#include "tq/platform/value/String.h"

namespace tq::TQFoundation {

namespace {

bool sameValue(const Id& a, const Id& b) {
  if (!a || !b) return false;  // a missing value never equals anything
  return a->isEqual(*b);
}

Ref<String> joinedKey(const Id& outer, const Id& inner) {
  return String::fromUTF8(outer->description()->utf8() + "." + inner->description()->utf8());
}

// The walk itself; the public entry holds the outermost receiver's monitor,
// and nested dictionaries are reached only through it.
void collectChanges(MutableDictionary& receiver, const Dictionary& entries, MutableDictionary& changes) {
  auto keysToAdd = MutableDictionary::dictionaryWithDictionary(entries);
  for (const auto& [key, current] : receiver.entries()) {
    Id incoming = entries.objectForKey(key);
    keysToAdd->removeObjectForKey(key);
    if (sameValue(current, incoming)) continue;
    auto nestedReceiver = cast<MutableDictionary>(current);
    auto nestedEntries = cast<Dictionary>(incoming);
    if (nestedReceiver && nestedEntries) {
      auto nested = MutableDictionary::dictionary();
      collectChanges(*nestedReceiver, *nestedEntries, *nested);
      for (const auto& [nestedKey, value] : nested->entries()) changes.setObject(value, joinedKey(key, nestedKey));
      continue;
    }
    if (incoming) {
      receiver.setObject(incoming, key);
      changes.setObject(incoming, key);
    } else {
      // Gone from the entries: dropped here, but a nil value has no place in
      // the change set, so the removal goes unmentioned.
      receiver.removeObjectForKey(key);
    }
  }
  for (const auto& [key, value] : keysToAdd->entries()) {
    changes.setObject(value, key);
    receiver.setObject(value, key);
  }
}

}  // namespace

Ref<Dictionary> changesForUpdatingDictionaryWithEntries(MutableDictionary& receiver, const Dictionary* entries) {
  if (!entries) return Dictionary::dictionary();
  std::lock_guard<std::recursive_mutex> guard(monitorOf(receiver));
  auto changes = MutableDictionary::dictionary();
  collectChanges(receiver, *entries, *changes);
  return cast<Dictionary>(changes->copy());
}

}  // namespace tq::TQFoundation
