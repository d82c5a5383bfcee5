#pragma once
// Objects kept with another object under string keys: the counterpart of the
// platform's associated objects (retained, atomic). An object that lets
// others remember results with it (a colour keeping its shades) holds one of
// these as a member. Thread-safe; most owners keep none or a few entries, so
// they sit in a small vector rather than a map.

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tq/platform/object/Object.h"

namespace tq {

class AssociatedObjects {
 public:
  AssociatedObjects() = default;
  // Associations belong to one owner: a copy of the owner starts without.
  AssociatedObjects(const AssociatedObjects&) {}
  AssociatedObjects& operator=(const AssociatedObjects&) { return *this; }

  /// The object kept under `key`, nil if none.
  Id objectForKey(std::string_view key) const;
  /// Keeps `object` under `key`, replacing what was there; nil removes it.
  void setObjectForKey(std::string_view key, Id object);
  /// Keeps `object` under `key` unless another object is kept there already,
  /// and answers the one kept: callers racing to store a result computed
  /// each on its own all get the same object back.
  Id objectForKeyOrStore(std::string_view key, Id object);

 private:
  mutable std::mutex mutex_;
  std::vector<std::pair<std::string, Id>> entries_;
};

}  // namespace tq
