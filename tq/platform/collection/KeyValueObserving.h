#pragma once
// Key-value observing: an object asks to hear when a value of another object
// changes through key-value coding.
//
// Observers are registered per observed object and key path, with options
// and a context pointer, and are held weakly (registering does not keep an
// observer alive; a registration whose observer has gone is dropped). The
// callback is the observer's `Object::observeValueForKeyPath`. Observed
// objects are held weakly too: registrations of an object that goes away are
// dropped quietly, as are those whose observer has gone.
//
// What notifies: `setValueForKey` and `setValueForKeyPath` (tq/platform/
// Sorting.h) bracket every change they make with `willChangeValueForKey` and
// `didChangeValueForKey`, and so may any class of its own changes. A dotted
// key path registered on an object is notified when the change is made
// through `setValueForKeyPath` from that object; a change made directly on
// a nested object reaches only the nested object's own observers.
//
// The change dictionary carries plain string keys ("kind", "new", "old",
// "notificationIsPrior"); nil values appear as the null marker, as the
// platform hands them out. Kind is always "setting" (1): no operation here
// reports insertions or removals.
//
// Lists and sets cannot be observed themselves (their observers go to their
// elements, `addObserver(list, observer, indexes, ...)`); asking raises the
// invalid-argument failure "[<Class 0x...> addObserver:forKeyPath:options:context:]
// is not supported. Key path: ...".
//
// Thread safety: registrations are guarded by one lock; callbacks run on the
// thread that made the change, outside the lock, so an observer may add or
// remove observers from its callback. A change in progress is tracked per
// thread between will and did.

#include <cstdint>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

/// What a registration asks to hear (bits, combined with `|`).
enum class KeyValueObservingOptions : std::uint32_t {
  None = 0,
  New = 0x01,      // the change carries the new value
  Old = 0x02,      // the change carries the old value
  Initial = 0x04,  // one notification at once, when registering
  Prior = 0x08,    // one notification before each change as well as after
};
constexpr KeyValueObservingOptions operator|(KeyValueObservingOptions a, KeyValueObservingOptions b) {
  return KeyValueObservingOptions(std::uint32_t(a) | std::uint32_t(b));
}
constexpr bool has(KeyValueObservingOptions options, KeyValueObservingOptions flag) {
  return (std::uint32_t(options) & std::uint32_t(flag)) != 0;
}

/// The kinds of change ("kind" in the change dictionary).
enum class KeyValueChange : std::int64_t { Setting = 1, Insertion = 2, Removal = 3, Replacement = 4 };

/// Keys of the change dictionary.
namespace KeyValueChangeKey {
inline constexpr const char* Kind = "kind";
inline constexpr const char* New = "new";
inline constexpr const char* Old = "old";
/// Present (true) only in the notification sent before a change.
inline constexpr const char* NotificationIsPrior = "notificationIsPrior";
}  // namespace KeyValueChangeKey

/// `addObserver:forKeyPath:options:context:`. Raises the not-supported failure
/// for a list or a set, the invalid-argument failure for a nil object or
/// observer. With `Initial`, the observer hears the current value at once.
void addObserver(const Id& object, const Id& observer, const String& keyPath, KeyValueObservingOptions options,
                 void* context);
/// `removeObserver:forKeyPath:`: the most recent matching registration.
/// Raises the range failure "Cannot remove an observer <...> for the key path
/// "..." from <...> because it is not registered as an observer." when there
/// is none.
void removeObserver(const Id& object, const Id& observer, const String& keyPath);
/// `removeObserver:forKeyPath:context:`: the same, matching the context too.
void removeObserver(const Id& object, const Id& observer, const String& keyPath, void* context);

/// `addObserver:toObjectsAtIndexes:forKeyPath:options:context:`: registers on
/// each element at the indexes (the range failure when one is out of bounds,
/// before anything is registered).
void addObserver(const Array& list, const Id& observer, const IndexSet& toObjectsAtIndexes, const String& keyPath,
                 KeyValueObservingOptions options, void* context);
/// `removeObserver:fromObjectsAtIndexes:forKeyPath:`.
void removeObserver(const Array& list, const Id& observer, const IndexSet& fromObjectsAtIndexes, const String& keyPath);

/// Brackets a change of the value at `key` (a key or a dotted key path) of
/// `object`: will takes the old value and sends prior notifications; did takes
/// the new value and notifies. Calls pair up per thread and may nest; a did
/// without its will does nothing.
void willChangeValueForKey(const Id& object, const String& key);
void didChangeValueForKey(const Id& object, const String& key);

/// Will on construction, did on `commit()`. A change that raises before the
/// commit leaves the scope without notifying (observers asking for prior
/// notifications have heard that one already).
class ValueChangeScope {
 public:
  ValueChangeScope(const Id& object, const String& key);
  ~ValueChangeScope();
  ValueChangeScope(const ValueChangeScope&) = delete;
  ValueChangeScope& operator=(const ValueChangeScope&) = delete;
  void commit();

 private:
  // Set only while a change is pending; the key is copied, as the caller's
  // may be a temporary.
  Id object_;
  Ref<String> key_;
};

/// How many live registrations an object has (for tests and diagnostics).
std::size_t observationCount(const Object& object);

}  // namespace tq
