#include "tq/platform/object/AssociatedObjects.h"

#include <algorithm>

namespace tq {

namespace {

template <class Entries>
auto findKey(Entries& entries, std::string_view key) {
  return std::find_if(entries.begin(), entries.end(), [&](const auto& entry) { return entry.first == key; });
}

}  // namespace

Id AssociatedObjects::objectForKey(std::string_view key) const {
  std::lock_guard lock(mutex_);
  auto found = findKey(entries_, key);
  return found == entries_.end() ? nullptr : found->second;
}

void AssociatedObjects::setObjectForKey(std::string_view key, Id object) {
  Id replaced;  // released after the lock, in case its destructor reaches back here
  std::lock_guard lock(mutex_);
  auto found = findKey(entries_, key);
  if (found != entries_.end()) {
    replaced = std::move(found->second);
    if (object) {
      found->second = std::move(object);
    } else {
      entries_.erase(found);
    }
  } else if (object) {
    entries_.emplace_back(std::string(key), std::move(object));
  }
}

Id AssociatedObjects::objectForKeyOrStore(std::string_view key, Id object) {
  std::lock_guard lock(mutex_);
  auto found = findKey(entries_, key);
  if (found != entries_.end()) return found->second;
  if (object) entries_.emplace_back(std::string(key), object);
  return object;
}

}  // namespace tq
