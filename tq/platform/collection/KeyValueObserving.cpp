#include "tq/platform/collection/KeyValueObserving.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/collection/Sorting.h"

namespace tq {

namespace {

struct Registration {
  std::uint64_t serial;      // tells a registration from an equal later one
  WeakRef<Object> observed;  // weak: observing does not keep the object alive
  const Object* observerAddress;
  WeakRef<Object> observer;  // weak: the platform does not retain observers
  Ref<String> keyPath;
  KeyValueObservingOptions options;
  void* context;
};

// A registration made ready to call: the observer held for the call.
struct Delivery {
  std::uint64_t serial;
  Ref<Object> observer;
  Ref<String> keyPath;
  KeyValueObservingOptions options;
  void* context;
};

// Registrations by the observed object's address. An entry holds a weak
// reference to that object, whose control block keeps the address from being
// reused while the entry stands; entries of objects or observers that have
// gone are dropped whenever their list is touched.
std::mutex registryLock;
std::unordered_map<const Object*, std::vector<Registration>> registry;
std::uint64_t nextSerial = 1;
// Live registrations, read without the lock so that unobserved changes cost
// one atomic load.
std::atomic<std::size_t> registrationCount{0};

// A change between will and did on this thread.
struct PendingChange {
  const Object* object;
  std::u16string key;
  std::vector<Delivery> deliveries;
  Id oldValue;
};
thread_local std::vector<PendingChange> pendingChanges;

// "0x..." for any pointer, nil included (where "%p" would print "(nil)").
std::string addressText(const void* pointer) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "0x%llx",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(pointer)));
  return buffer;
}

// "<Class 0x...>", as the observing failures name objects.
std::string shortName(const Object* object) {
  return "<" + (object ? object->className() : std::string("nil")) + " " + addressText(object) + ">";
}

void dropGone(std::vector<Registration>& list) {
  std::size_t before = list.size();
  std::erase_if(list, [](const Registration& r) { return r.observed.expired() || r.observer.expired(); });
  registrationCount -= before - list.size();
}

// Objects that die while observed, or whose observers die, leave entries
// behind until their list is touched again. A sweep of the whole registry,
// whenever it has doubled since the last one, bounds them at the live
// entries' number (amortised constant per registration). Under the lock.
std::size_t sweepAt = 64;
void sweepIfGrown() {
  if (registry.size() < sweepAt) return;
  for (auto it = registry.begin(); it != registry.end();) {
    dropGone(it->second);
    it = it->second.empty() ? registry.erase(it) : std::next(it);
  }
  sweepAt = std::max<std::size_t>(64, 2 * registry.size());
}

void requireObservable(const Id& object, const Id& observer, const String& keyPath, const char* selector) {
  if (!object) raiseNilArgument("Object", selector, "object");
  if (!observer) raiseNilArgument(object->className().c_str(), selector, "observer");
  if (isKindOf<Array>(object) || isKindOf<Set>(object)) {
    raise(ExceptionName::InvalidArgument,
          "[" + shortName(object.get()) + " " + selector + "] is not supported. Key path: " + keyPath.utf8());
  }
}

// The value at a key or dotted key path.
Id valueAtKeyPath(const Id& object, const String& keyPath) {
  const std::u16string& units = keyPath.utf16();
  std::size_t dot = units.find(u'.');
  if (dot == std::u16string::npos) return valueForKey(object, keyPath);
  Id next = valueForKey(object, *String::fromUTF16(units.substr(0, dot)));
  return valueAtKeyPath(next, *String::fromUTF16(units.substr(dot + 1)));
}

Id orNull(const Id& value) { return value ? value : Id(Null::null()); }

void deliver(const Delivery& d, const Id& object, const Ref<Dictionary>& change) {
  d.observer->observeValueForKeyPath(*d.keyPath, object, change, d.context);
}

// The live registrations of (object, key), ready to call.
std::vector<Delivery> deliveriesFor(const Object* object, const std::u16string& key) {
  std::vector<Delivery> deliveries;
  std::lock_guard<std::mutex> guard(registryLock);
  auto found = registry.find(object);
  if (found == registry.end()) return deliveries;
  dropGone(found->second);
  for (const Registration& r : found->second) {
    if (r.keyPath->utf16() != key) continue;
    if (Ref<Object> observer = r.observer.lock()) {
      deliveries.push_back({r.serial, std::move(observer), r.keyPath, r.options, r.context});
    }
  }
  if (found->second.empty()) registry.erase(found);
  return deliveries;
}

bool stillRegistered(const Object* object, std::uint64_t serial) {
  std::lock_guard<std::mutex> guard(registryLock);
  auto found = registry.find(object);
  if (found == registry.end()) return false;
  for (const Registration& r : found->second) {
    if (r.serial == serial) return true;
  }
  return false;
}

void removeRegistration(const Id& object, const Id& observer, const String& keyPath, bool matchContext, void* context) {
  std::lock_guard<std::mutex> guard(registryLock);
  auto found = registry.find(object.get());
  if (found != registry.end()) {
    std::vector<Registration>& list = found->second;
    // The most recent registration goes first, as the platform removes them.
    for (auto r = list.rbegin(); r != list.rend(); ++r) {
      if (r->observerAddress == observer.get() && r->keyPath->isEqualToString(keyPath) &&
          (!matchContext || r->context == context)) {
        list.erase(std::next(r).base());
        --registrationCount;
        dropGone(list);
        if (list.empty()) registry.erase(found);
        return;
      }
    }
  }
  raise(ExceptionName::Range, "Cannot remove an observer " + shortName(observer.get()) + " for the key path \"" +
                                  keyPath.utf8() + "\" from " + shortName(object.get()) +
                                  " because it is not registered as an observer.");
}

Ref<MutableDictionary> settingChange() {
  auto change = make<MutableDictionary>();
  change->setObject(num(std::int64_t(KeyValueChange::Setting)), str(KeyValueChangeKey::Kind));
  return change;
}

}  // namespace

void Object::observeValueForKeyPath(const String& keyPath, const Id& object, const Ref<Dictionary>& change,
                                    void* context) {
  raise(ExceptionName::InternalInconsistency,
        describeUTF8(this) +
            ": An -observeValueForKeyPath:ofObject:change:context: message was received but not "
            "handled.\nKey path: " +
            keyPath.utf8() + "\nObserved object: " + describeUTF8(object) + "\nChange: " + describeUTF8(change) +
            "\nContext: " + addressText(context));
}

void addObserver(const Id& object, const Id& observer, const String& keyPath, KeyValueObservingOptions options,
                 void* context) {
  requireObservable(object, observer, keyPath, "addObserver:forKeyPath:options:context:");
  Ref<String> path = String::fromUTF16(keyPath.utf16());
  std::uint64_t serial;
  {
    std::lock_guard<std::mutex> guard(registryLock);
    serial = nextSerial++;
    sweepIfGrown();
    std::vector<Registration>& list = registry[object.get()];
    dropGone(list);
    list.push_back({serial, object, observer.get(), observer, path, options, context});
    ++registrationCount;
  }
  if (has(options, KeyValueObservingOptions::Initial)) {
    auto change = settingChange();
    if (has(options, KeyValueObservingOptions::New)) {
      change->setObject(orNull(valueAtKeyPath(object, keyPath)), str(KeyValueChangeKey::New));
    }
    deliver({serial, observer, path, options, context}, object, change);
  }
}

void removeObserver(const Id& object, const Id& observer, const String& keyPath) {
  if (object && (isKindOf<Array>(object) || isKindOf<Set>(object))) {
    requireObservable(object, observer, keyPath, "removeObserver:forKeyPath:");
  }
  removeRegistration(object, observer, keyPath, false, nullptr);
}

void removeObserver(const Id& object, const Id& observer, const String& keyPath, void* context) {
  if (object && (isKindOf<Array>(object) || isKindOf<Set>(object))) {
    requireObservable(object, observer, keyPath, "removeObserver:forKeyPath:context:");
  }
  removeRegistration(object, observer, keyPath, true, context);
}

void addObserver(const Array& list, const Id& observer, const IndexSet& toObjectsAtIndexes, const String& keyPath,
                 KeyValueObservingOptions options, void* context) {
  // Taking the elements first makes an out-of-range index raise before any
  // element is registered.
  Ref<Array> elements = list.objectsAtIndexes(toObjectsAtIndexes);
  for (const Id& element : *elements) addObserver(element, observer, keyPath, options, context);
}

void removeObserver(const Array& list, const Id& observer, const IndexSet& fromObjectsAtIndexes,
                    const String& keyPath) {
  Ref<Array> elements = list.objectsAtIndexes(fromObjectsAtIndexes);
  for (const Id& element : *elements) removeObserver(element, observer, keyPath);
}

void willChangeValueForKey(const Id& object, const String& key) {
  if (!object || registrationCount.load() == 0) return;
  PendingChange pending{object.get(), key.utf16(), deliveriesFor(object.get(), key.utf16()), nullptr};
  bool wantsOld = false;
  for (const Delivery& d : pending.deliveries) wantsOld |= has(d.options, KeyValueObservingOptions::Old);
  if (wantsOld) pending.oldValue = valueAtKeyPath(object, key);
  for (const Delivery& d : pending.deliveries) {
    if (!has(d.options, KeyValueObservingOptions::Prior)) continue;
    auto change = settingChange();
    change->setObject(num(true), str(KeyValueChangeKey::NotificationIsPrior));
    if (has(d.options, KeyValueObservingOptions::Old)) {
      change->setObject(orNull(pending.oldValue), str(KeyValueChangeKey::Old));
    }
    deliver(d, object, change);
  }
  pendingChanges.push_back(std::move(pending));
}

void didChangeValueForKey(const Id& object, const String& key) {
  if (!object) return;
  auto match = std::find_if(pendingChanges.rbegin(), pendingChanges.rend(),
                            [&](const PendingChange& p) { return p.object == object.get() && p.key == key.utf16(); });
  if (match == pendingChanges.rend()) return;
  PendingChange pending = std::move(*match);
  pendingChanges.erase(std::next(match).base());
  bool wantsNew = false;
  for (const Delivery& d : pending.deliveries) wantsNew |= has(d.options, KeyValueObservingOptions::New);
  Id newValue = wantsNew ? valueAtKeyPath(object, key) : nullptr;
  for (const Delivery& d : pending.deliveries) {
    // An observer removed while the change was made hears nothing of it.
    if (!stillRegistered(object.get(), d.serial)) continue;
    auto change = settingChange();
    if (has(d.options, KeyValueObservingOptions::New)) change->setObject(orNull(newValue), str(KeyValueChangeKey::New));
    if (has(d.options, KeyValueObservingOptions::Old)) {
      change->setObject(orNull(pending.oldValue), str(KeyValueChangeKey::Old));
    }
    deliver(d, object, change);
  }
}

ValueChangeScope::ValueChangeScope(const Id& object, const String& key) {
  if (!object || registrationCount.load() == 0) return;
  willChangeValueForKey(object, key);
  object_ = object;
  key_ = String::fromUTF16(key.utf16());
}

void ValueChangeScope::commit() {
  if (!object_) return;
  Id object = std::move(object_);
  object_ = nullptr;
  didChangeValueForKey(object, *key_);
  key_ = nullptr;
}

ValueChangeScope::~ValueChangeScope() {
  if (!object_) return;
  // The change raised: forget it without notifying.
  auto match = std::find_if(pendingChanges.rbegin(), pendingChanges.rend(), [&](const PendingChange& p) {
    return p.object == object_.get() && p.key == key_->utf16();
  });
  if (match != pendingChanges.rend()) pendingChanges.erase(std::next(match).base());
}

std::size_t observationCount(const Object& object) {
  std::lock_guard<std::mutex> guard(registryLock);
  auto found = registry.find(&object);
  if (found == registry.end()) return 0;
  dropGone(found->second);
  return found->second.size();
}

}  // namespace tq
