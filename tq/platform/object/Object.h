#pragma once
// The object model every collection and value type of the library shares:
// identity, equality, hashing, description and copying, with shared ownership.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

namespace tq {

class Object;
class String;
class Dictionary;

/// A strong reference; an empty reference is nil.
template <class T>
using Ref = std::shared_ptr<T>;
/// A weak reference, for delegates and back pointers.
template <class T>
using WeakRef = std::weak_ptr<T>;
/// Any object (the counterpart of an untyped object reference).
using Id = Ref<Object>;

/// Creates an object owned by a reference.
template <class T, class... Args>
Ref<T> make(Args&&... args) {
  return std::make_shared<T>(std::forward<Args>(args)...);
}

/// The root of every library object.
///
/// Equality and hashing default to identity; value classes override both and
/// keep `a.isEqual(b)` implying `a.hash() == b.hash()`. `copy()` of an
/// immutable object answers the object itself; mutable classes answer a new
/// immutable object, and `mutableCopy()` a new mutable one.
class Object : public std::enable_shared_from_this<Object> {
 public:
  Object() = default;
  Object(const Object&) : std::enable_shared_from_this<Object>() {}
  Object& operator=(const Object&) { return *this; }
  virtual ~Object() = default;

  virtual bool isEqual(const Object& other) const { return this == &other; }
  virtual std::size_t hash() const;
  /// "<ClassName: 0x...>" unless the class says better.
  virtual Ref<String> description() const;
  /// `descriptionWithLocale:`: the description for a locale (any object that
  /// names one, such as a locale identifier string; nil for the neutral
  /// rendering). Classes whose text depends on a locale override it; the
  /// default is `description()`.
  virtual Ref<String> descriptionWithLocale(const Id& locale) const;
  /// `descriptionWithLocale:indent:`: the description of a value nested
  /// `level` deep in a collection's description. Collections override it to
  /// indent their lines; the default is `descriptionWithLocale(locale)`, so a
  /// caller always gets the most specific rendering a value offers.
  virtual Ref<String> descriptionWithLocale(const Id& locale, std::uint64_t level) const;
  /// The class's name, as descriptions and archives use it.
  virtual std::string className() const { return "Object"; }
  /// `observeValueForKeyPath:ofObject:change:context:`: what an observer
  /// registered with `addObserver` (KeyValueObserving.h) hears. The default
  /// raises the internal-inconsistency failure "<Class: 0x...>: An
  /// -observeValueForKeyPath:ofObject:change:context: message was received
  /// but not handled." with the key path, object, change and context.
  virtual void observeValueForKeyPath(const String& keyPath, const Id& object, const Ref<Dictionary>& change,
                                      void* context);
  /// Raises the unrecognised-message exception unless the class can be copied.
  virtual Id copy() const;
  virtual Id mutableCopy() const;

  /// The reference that owns this object. Objects must be created through
  /// `make` (or another shared owner) before this is used.
  Id self() const;
  template <class T>
  Ref<T> selfAs() const {
    return std::static_pointer_cast<T>(self());
  }
};

/// Nil-safe equality: two nils are equal, nil and an object are not.
bool isEqual(const Object* a, const Object* b);
inline bool isEqual(const Id& a, const Id& b) { return isEqual(a.get(), b.get()); }

/// Nil-safe description; nil renders as "(null)".
Ref<String> describe(const Object* object);
inline Ref<String> describe(const Id& object) { return describe(object.get()); }
/// The description as UTF-8, for messages and tests.
std::string describeUTF8(const Object* object);
inline std::string describeUTF8(const Id& object) { return describeUTF8(object.get()); }

/// Nil-safe nested description: `descriptionWithLocale(locale, level)`, with
/// nil rendered as "(null)".
Ref<String> describe(const Object* object, const Id& locale, std::uint64_t level);
inline Ref<String> describe(const Id& object, const Id& locale, std::uint64_t level) {
  return describe(object.get(), locale, level);
}

/// Guards the walk of a collection that visits its own elements (a
/// description, an equality test) against a collection that contains itself,
/// directly or through others: such a walk would recurse until the stack runs
/// out and the process dies. While the scope lives, the object (or the pair
/// of objects compared) is on the calling thread's stack of walks; meeting it
/// again further down means the walk would never end. The stack is per thread,
/// so walks of the same collection on other threads do not disturb it.
class RecursionScope {
 public:
  enum class Walk { Description, Equality };
  RecursionScope(Walk walk, const Object* object, const Object* other = nullptr);
  ~RecursionScope();
  RecursionScope(const RecursionScope&) = delete;
  RecursionScope& operator=(const RecursionScope&) = delete;

  /// True when this walk was already under way further up the stack. The
  /// assertion failure ("description of a collection that contains itself",
  /// "equality of a collection that contains itself") has then been reported;
  /// when the handler returns or assertions are compiled out, the caller
  /// stops descending (a description shows "<Class: 0x...>" for the object,
  /// equality answers false).
  bool reentered() const { return reentered_; }

 private:
  bool reentered_ = false;
};

/// Casts a reference to a subclass; nil when it is not one.
template <class T, class U>
Ref<T> cast(const Ref<U>& ref) {
  return std::dynamic_pointer_cast<T>(ref);
}
template <class T>
bool isKindOf(const Object* object) {
  return dynamic_cast<const T*>(object) != nullptr;
}
template <class T, class U>
bool isKindOf(const Ref<U>& object) {
  return dynamic_cast<const T*>(object.get()) != nullptr;
}

/// Hash and equality by the objects' own `hash` and `isEqual`, for the
/// standard unordered containers. Transparent, so lookups by a raw pointer
/// need no reference-count traffic.
struct ObjectHash {
  using is_transparent = void;
  std::size_t operator()(const Object* o) const { return o ? o->hash() : 0; }
  std::size_t operator()(const Id& o) const { return (*this)(o.get()); }
};
struct ObjectEqual {
  using is_transparent = void;
  bool operator()(const Object* a, const Object* b) const { return isEqual(a, b); }
  bool operator()(const Id& a, const Id& b) const { return isEqual(a.get(), b.get()); }
  bool operator()(const Id& a, const Object* b) const { return isEqual(a.get(), b); }
  bool operator()(const Object* a, const Id& b) const { return isEqual(a, b.get()); }
};

/// Combines hashes (boost's mixing constant), for composite values.
inline std::size_t hashCombine(std::size_t seed, std::size_t value) {
  return seed ^ (value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
}

}  // namespace tq
