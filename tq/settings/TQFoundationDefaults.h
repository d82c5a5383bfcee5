#pragma once
// The preferences store of an add-on. Each add-on derives its own store,
// names its file and its bundle, and reads and writes typed settings that
// live in five layers, searched in this order: values set for this process
// alone (volatile), the process's launch arguments, the argument domain of
// the user defaults, the product's shared property-list file, and the values
// registered by code. A setting's key is mapped to the key it is kept under in
// the shared file (the product's prefix + the key), and observers may watch
// either name.
//
// The stored values live in a `_TQDefaultsFileManager`, one per file per
// process, which batches writes, merges them into the file under a lock that
// every process of the product takes, and announces changes made by other
// processes (TQDefaultsFileManager.h).
//
// C++ cannot ask "which class is this static call made on", so a subclass
// derives from `TQDefaultsSubclass<Self>` and the class-wide calls are static
// members of its nested `Class` (`MyDefaults::Class::boolForKey(key)`): they
// forward to `Self::sharedDefaults()`, which a subclass declares itself.

#include <cstdint>
#include <mutex>
#include <string_view>

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/Sorting.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/Color.h"
#include "tq/platform/value/String.h"

namespace tq {

class _TQDefaultsFileManager;
template <class Store>
struct TQDefaultsClassMethods;

/// What every store answers about itself (`TQDefaultsProtocol`); the class
/// member `sharedDefaults` is the static of each store class.
class TQDefaultsProtocol {
 public:
  virtual ~TQDefaultsProtocol() = default;
  virtual std::int64_t currentDefaultsVersion() const = 0;
  virtual Ref<String> keyPrefix() const = 0;
};

/// Typed access to settings by key (`TQDefaultsInstance`).
class TQDefaultsInstance {
 public:
  virtual ~TQDefaultsInstance() = default;
  virtual Id defaultForKey(const String& key) = 0;
  virtual void setDefault(const Id& value, const String& key) = 0;
  virtual void removeDefaultForKey(const String& key) = 0;
  virtual Id objectForKey(const String& key) = 0;
  virtual void setObject(const Id& value, const String& key) = 0;
  virtual void removeObjectForKey(const String& key) = 0;
  virtual Ref<String> stringForKey(const String& key) = 0;
  virtual void setString(const Id& value, const String& key) = 0;
  virtual Ref<Dictionary> dictionaryForKey(const String& key) = 0;
  virtual void setDictionary(const Id& value, const String& key) = 0;
  virtual Ref<Array> arrayForKey(const String& key) = 0;
  virtual void setArray(const Id& value, const String& key) = 0;
  virtual std::int64_t integerForKey(const String& key) = 0;
  virtual void setInteger(std::int64_t value, const String& key) = 0;
  /// The single-precision value, widened.
  virtual double floatForKey(const String& key) = 0;
  virtual void setFloat(float value, const String& key) = 0;
  virtual bool boolForKey(const String& key) = 0;
  virtual void setBool(bool value, const String& key) = 0;
  virtual Ref<Color> colorForKey(const String& key) = 0;
  virtual void setColor(const Id& value, const String& key) = 0;
  virtual void registerDefaults(const Dictionary& values) = 0;
};

class TQFoundationDefaults : public Object,
                             public KeyValueCoding,
                             public TQDefaultsProtocol,
                             public TQDefaultsInstance {
 public:
  /// Allocates a store; `create` also sets it up. Use `create`.
  TQFoundationDefaults();
  ~TQFoundationDefaults() override;
  /// A store of class `Store`, set up: its file manager found or made, its
  /// initial values merged with the stored ones, its version upgraded or its
  /// values repaired.
  template <class Store = TQFoundationDefaults>
  static Ref<Store> create() {
    auto store = make<Store>();
    static_cast<TQFoundationDefaults&>(*store).init();
    return store;
  }

  std::string className() const override { return "TQFoundationDefaults"; }
  /// The class-wide calls (`TQFoundationDefaults::Class::boolForKey(key)`).
  using Class = TQDefaultsClassMethods<TQFoundationDefaults>;

  // ---- What a subclass overrides ----
  /// The file the store keeps its values in. The base raises the assertion
  /// failure "SubClasses must override this method and not call super" and
  /// answers nil.
  virtual Ref<String> pathToDefaults() const;
  /// The bundle that holds the store's class: its "InitialDefaults", its
  /// identifier (the version key) and its build information. The main bundle
  /// unless a subclass names its own.
  virtual Ref<Bundle> classBundle() const;
  /// The key of this store's entry in "defaultVersions": the class bundle's
  /// identifier.
  virtual Ref<String> defaultsVersionKey() const;
  std::int64_t currentDefaultsVersion() const override { return 20200911; }
  Ref<String> keyPrefix() const override;
  virtual Ref<String> notificationName() const;
  virtual Ref<Array> distributedNotificationKeys() const;
  virtual Ref<Array> silentKeys() const;
  virtual Ref<Array> unprefixedKeys() const;
  /// Called once per process start while the stored version is behind.
  virtual void upgradeDefaults(MutableDictionary& defaults, std::int64_t fromVersion);
  /// Answers whether it repaired something (then the values are written).
  virtual bool repairDefaults(MutableDictionary& defaults);
  /// After each batch of changes: the changed keys (this process's writes)
  /// or the change set (another process's writes).
  virtual void notifyOfChanges(const Id& changes);
  virtual void sendDestributedNotificationForChanges(const Id& changes);
  virtual void addLogKey(const String& key);
  virtual void removeLogKey(const String& key);
  virtual bool shouldLogForKey(const String& key) const;
  virtual Id _logKeysForCurrentBranch() const;
  virtual bool useDebugConfigs() const;
  virtual Ref<Dictionary> launchArguments() const;
  /// The class bundle's "InitialDefaults" property list, or nil.
  virtual Ref<Dictionary> initialDefaults() const;
  /// The class bundle's "TQBuildBranch" and "TQBuildSHA".
  virtual Ref<String> buildBranch() const;
  virtual Ref<String> buildCommit() const;

  // ---- The shared instance ----
  /// The one instance of the base class, made on first use.
  static Ref<TQFoundationDefaults> sharedDefaults();
  static Ref<TQFoundationDefaults> sharedUserDefaults() { return sharedDefaults(); }
  /// The one instance of `Store`, made on first use, thread-safely: what a
  /// subclass's own `sharedDefaults` answers.
  template <class Store>
  static Ref<Store> sharedInstance() {
    static Ref<Store> instance = create<Store>();
    return instance;
  }

  // ---- Reading ----
  Id defaultForKey(const String& key) override;
  Id objectForKey(const String& key) override { return defaultForKey(key); }
  Id valueForKey(const String& key) const override;
  Id valueForKeyPath(const String& keyPath) { return defaultForKey(keyPath); }
  Ref<String> stringForKey(const String& key) override;
  Ref<Dictionary> dictionaryForKey(const String& key) override;
  Ref<Array> arrayForKey(const String& key) override;
  std::int64_t integerForKey(const String& key) override;
  double floatForKey(const String& key) override;
  bool boolForKey(const String& key) override;
  Ref<Color> colorForKey(const String& key) override;
  /// Every key found, with its value; missing keys are absent. Also consults
  /// `launchArguments`.
  Ref<Dictionary> defaultsForKeys(const Array& keys);
  /// The file manager's whole stored dictionary for this store.
  Ref<Dictionary> defaultsDictionary();
  Id standardUserDefaultsForKey(const String& key);

  // ---- Writing ----
  void setDefault(const Id& value, const String& key) override;
  void setObject(const Id& value, const String& key) override { setDefault(value, key); }
  void setValueForKey(const Id& value, const String& key) override { setDefault(value, key); }
  void setValueForKeyPath(const Id& value, const String& keyPath) { setDefault(value, keyPath); }
  void removeDefaultForKey(const String& key) override;
  void removeObjectForKey(const String& key) override { removeDefaultForKey(key); }
  void setString(const Id& value, const String& key) override;
  void setDictionary(const Id& value, const String& key) override;
  void setArray(const Id& value, const String& key) override;
  void setInteger(std::int64_t value, const String& key) override;
  void setFloat(float value, const String& key) override;
  void setBool(bool value, const String& key) override;
  void setColor(const Id& value, const String& key) override;
  /// Translates every key and hands the whole change over at once.
  void setDefaultsInDictionary(const Dictionary& values);
  /// A value for this process alone, shadowing every layer; nil removes it.
  void setVolatileDefault(const Id& value, const String& key);
  /// Values that answer when no layer above has the key; never written.
  void registerDefaults(const Dictionary& values) override;
  /// The next read goes to the file.
  void refresh();

  // ---- The same with keys written as UTF-8 ----
  Id defaultForKey(std::string_view key) { return defaultForKey(*String::fromUTF8(key)); }
  Id objectForKey(std::string_view key) { return defaultForKey(*String::fromUTF8(key)); }
  Ref<String> stringForKey(std::string_view key) { return stringForKey(*String::fromUTF8(key)); }
  Ref<Dictionary> dictionaryForKey(std::string_view key) { return dictionaryForKey(*String::fromUTF8(key)); }
  Ref<Array> arrayForKey(std::string_view key) { return arrayForKey(*String::fromUTF8(key)); }
  std::int64_t integerForKey(std::string_view key) { return integerForKey(*String::fromUTF8(key)); }
  double floatForKey(std::string_view key) { return floatForKey(*String::fromUTF8(key)); }
  bool boolForKey(std::string_view key) { return boolForKey(*String::fromUTF8(key)); }
  Ref<Color> colorForKey(std::string_view key) { return colorForKey(*String::fromUTF8(key)); }
  void setDefault(const Id& value, std::string_view key) { setDefault(value, *String::fromUTF8(key)); }
  void setObject(const Id& value, std::string_view key) { setDefault(value, *String::fromUTF8(key)); }
  void removeDefaultForKey(std::string_view key) { removeDefaultForKey(*String::fromUTF8(key)); }
  void setString(const Id& value, std::string_view key) { setString(value, *String::fromUTF8(key)); }
  void setDictionary(const Id& value, std::string_view key) { setDictionary(value, *String::fromUTF8(key)); }
  void setArray(const Id& value, std::string_view key) { setArray(value, *String::fromUTF8(key)); }
  void setInteger(std::int64_t value, std::string_view key) { setInteger(value, *String::fromUTF8(key)); }
  void setFloat(float value, std::string_view key) { setFloat(value, *String::fromUTF8(key)); }
  void setBool(bool value, std::string_view key) { setBool(value, *String::fromUTF8(key)); }
  void setColor(const Id& value, std::string_view key) { setColor(value, *String::fromUTF8(key)); }
  void setVolatileDefault(const Id& value, std::string_view key) { setVolatileDefault(value, *String::fromUTF8(key)); }
  Ref<String> _componentKeyForKey(std::string_view key) { return _componentKeyForKey(*String::fromUTF8(key)); }
  Ref<String> mappedKeyForComponentKey(std::string_view key) const {
    return mappedKeyForComponentKey(*String::fromUTF8(key));
  }

  // ---- Key mapping ----
  /// The key unchanged when it begins with the prefix (or there is none),
  /// else prefix + key.
  Ref<String> componentKeyForKey(const String& key) const;
  /// The mapped component key, computing and recording it on first use.
  Ref<String> _componentKeyForKey(const String& key);
  /// The component key recorded for a key, or nil.
  Ref<String> mappedComponentKeyForKey(const String& key) const;
  /// The key recorded for a component key, or nil.
  Ref<String> mappedKeyForComponentKey(const String& componentKey) const;
  /// Records the pair and starts watching the component key, so that
  /// observers of the plain key hear of its changes too.
  void registerComponentKey(const String& componentKey, const String& key);

  // ---- Properties ----
  Id logKeys() const;
  void setLogKeys(Id keys);
  Ref<MutableDictionary> keyByComponentKey() const { return keyByComponentKey_; }
  Ref<MutableDictionary> componentKeyByKey() const { return componentKeyByKey_; }
  Ref<_TQDefaultsFileManager> _manager_() const;
  void set_manager_(Ref<_TQDefaultsFileManager> manager);
  Ref<MutableDictionary> _registeredDefaults() const;
  /// The store's own lock: key maps and registered values.
  std::recursive_mutex& lock() const { return lock_; }

  void observeValueForKeyPath(const String& keyPath, const Id& object, const Ref<Dictionary>& change,
                              void* context) override;

 protected:
  /// Sets the store up (`init`); `create` calls it once.
  void init();

 private:
  Id lookUpVolatile(const String& key, _TQDefaultsFileManager* manager) const;
  Id lookUpArgumentDomain(const String& key, const Ref<String>& componentKey) const;
  Id lookUpRegistered(const String& key, const Ref<String>& componentKey) const;
  Id defaultForKeyFirstTime(const String& key, const Ref<_TQDefaultsFileManager>& manager);
  void updateDefaults(const Ref<Dictionary>& changes);
  void mergeStoredValues(MutableDictionary& initial, MutableDictionary& newKeys);

  mutable std::recursive_mutex lock_;
  Id logKeys_;
  Ref<MutableDictionary> keyByComponentKey_;
  Ref<MutableDictionary> componentKeyByKey_;
  Ref<_TQDefaultsFileManager> manager_;
  Ref<MutableDictionary> registeredDefaults_;
  /// The standard user defaults' argument domain as last read, and the
  /// volatile domain count it was read at (0: never read).
  mutable Ref<Dictionary> argumentDomain_;
  mutable std::uint64_t argumentDomainGeneration_ = 0;
};

/// The class-wide calls of a store class: each forwards to
/// `Store::sharedDefaults()`.
template <class Store>
struct TQDefaultsClassMethods {
  // Keys as `String` or as UTF-8 text, as the store's own methods take them.
  static Ref<String> buildBranch() { return Store::sharedDefaults()->buildBranch(); }
  static Ref<String> buildCommit() { return Store::sharedDefaults()->buildCommit(); }
  static Ref<Dictionary> launchArguments() { return Store::sharedDefaults()->launchArguments(); }
  static Ref<Dictionary> defaultsForKeys(const Array& keys) { return Store::sharedDefaults()->defaultsForKeys(keys); }
  static Id defaultForKey(const auto& key) { return Store::sharedDefaults()->defaultForKey(key); }
  static Id objectForKey(const auto& key) { return Store::sharedDefaults()->objectForKey(key); }
  static Ref<String> stringForKey(const auto& key) { return Store::sharedDefaults()->stringForKey(key); }
  static bool boolForKey(const auto& key) { return Store::sharedDefaults()->boolForKey(key); }
  static std::int64_t integerForKey(const auto& key) { return Store::sharedDefaults()->integerForKey(key); }
  static double floatForKey(const auto& key) { return Store::sharedDefaults()->floatForKey(key); }
  static bool useDebugConfigs() { return Store::sharedDefaults()->useDebugConfigs(); }
  static Id standardUserDefaultsForKey(const auto& key) {
    return Store::sharedDefaults()->standardUserDefaultsForKey(key);
  }
  static void setDefault(const Id& value, const auto& key) { Store::sharedDefaults()->setDefault(value, key); }
  static void setBool(bool value, const auto& key) { Store::sharedDefaults()->setBool(value, key); }
  static void setObject(const Id& value, const auto& key) { Store::sharedDefaults()->setObject(value, key); }
  static void setDefaultsInDictionary(const Dictionary& values) {
    Store::sharedDefaults()->setDefaultsInDictionary(values);
  }
  static void setVolatileDefault(const Id& value, const auto& key) {
    Store::sharedDefaults()->setVolatileDefault(value, key);
  }
  /// The next read of the shared store goes to its file.
  static void resetCache() { Store::sharedDefaults()->refresh(); }
};

namespace detail {
/// Raises the assertion failure of a subclass that did not declare its own
/// `sharedDefaults`.
void reportSharedDefaultsNotOverridden();
}  // namespace detail

/// The base of an add-on's store. A subclass declares
///   static Ref<MyDefaults> sharedDefaults() { return sharedInstance<MyDefaults>(); }
/// and overrides `pathToDefaults` (and whatever hooks it needs). One that
/// forgets `sharedDefaults` reaches this one, which raises the assertion
/// failure "SubClasses TQFoundationDefaults must implement +sharedDefaults"
/// and answers the base class's instance.
template <class Self>
class TQDefaultsSubclass : public TQFoundationDefaults {
 public:
  using Class = TQDefaultsClassMethods<Self>;
  static Ref<TQFoundationDefaults> sharedDefaults() {
    detail::reportSharedDefaultsNotOverridden();
    return TQFoundationDefaults::sharedDefaults();
  }
};

}  // namespace tq
