// The store's hooks, its shared instance, and reading and writing settings
// through the five layers. Key mapping is in TQFoundationDefaultsKeys.cpp,
// the set-up in TQFoundationDefaultsSetUp.cpp.

#include "tq/settings/TQFoundationDefaults.h"

#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/TQDefaultsFileManager.h"

namespace tq {

TQFoundationDefaults::TQFoundationDefaults()
    : keyByComponentKey_(MutableDictionary::dictionary()), componentKeyByKey_(MutableDictionary::dictionary()) {}

TQFoundationDefaults::~TQFoundationDefaults() = default;

// ---- Hooks ----

Ref<String> TQFoundationDefaults::pathToDefaults() const {
  TQ_ASSERT_PLACE(false, AssertionPlaces::DefaultsPathNotOverridden,
                  "SubClasses must override this method and not call super");
  return nullptr;
}

Ref<Bundle> TQFoundationDefaults::classBundle() const { return Bundle::mainBundle(); }

Ref<String> TQFoundationDefaults::defaultsVersionKey() const {
  auto bundle = classBundle();
  return bundle ? bundle->bundleIdentifier() : nullptr;
}

Ref<String> TQFoundationDefaults::keyPrefix() const { return str(""); }
Ref<String> TQFoundationDefaults::notificationName() const { return str("CorePreferencesDidChange"); }
Ref<Array> TQFoundationDefaults::distributedNotificationKeys() const { return Array::array(); }
Ref<Array> TQFoundationDefaults::silentKeys() const { return Array::array(); }
Ref<Array> TQFoundationDefaults::unprefixedKeys() const { return Array::array(); }
void TQFoundationDefaults::upgradeDefaults(MutableDictionary&, std::int64_t) {}
bool TQFoundationDefaults::repairDefaults(MutableDictionary&) { return false; }
void TQFoundationDefaults::notifyOfChanges(const Id&) {}
void TQFoundationDefaults::sendDestributedNotificationForChanges(const Id&) {}
void TQFoundationDefaults::addLogKey(const String&) {}
void TQFoundationDefaults::removeLogKey(const String&) {}
bool TQFoundationDefaults::shouldLogForKey(const String&) const { return false; }
Id TQFoundationDefaults::_logKeysForCurrentBranch() const { return nullptr; }
bool TQFoundationDefaults::useDebugConfigs() const { return false; }
Ref<Dictionary> TQFoundationDefaults::launchArguments() const { return Dictionary::dictionary(); }

Ref<Dictionary> TQFoundationDefaults::initialDefaults() const {
  auto bundle = classBundle();
  auto path = bundle ? bundle->pathForResource(*str("InitialDefaults"), str("plist")) : nullptr;
  if (!path) return nullptr;
  return cast<Dictionary>(PropertyList::readFile(path->utf8()));
}

Ref<String> TQFoundationDefaults::buildBranch() const {
  auto bundle = classBundle();
  return bundle ? cast<String>(bundle->objectForInfoDictionaryKey(*str("TQBuildBranch"))) : nullptr;
}

Ref<String> TQFoundationDefaults::buildCommit() const {
  auto bundle = classBundle();
  return bundle ? cast<String>(bundle->objectForInfoDictionaryKey(*str("TQBuildSHA"))) : nullptr;
}

// ---- The shared instance ----

Ref<TQFoundationDefaults> TQFoundationDefaults::sharedDefaults() { return sharedInstance<TQFoundationDefaults>(); }

namespace detail {
void reportSharedDefaultsNotOverridden() {
  TQ_ASSERT_PLACE(false, AssertionPlaces::DefaultsSharedNotOverridden,
                  "SubClasses TQFoundationDefaults must implement +sharedDefaults");
}
}  // namespace detail

// ---- Properties ----

Id TQFoundationDefaults::logKeys() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return logKeys_;
}

void TQFoundationDefaults::setLogKeys(Id keys) {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  logKeys_ = std::move(keys);
}

Ref<_TQDefaultsFileManager> TQFoundationDefaults::_manager_() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return manager_;
}

void TQFoundationDefaults::set_manager_(Ref<_TQDefaultsFileManager> manager) {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  manager_ = std::move(manager);
}

Ref<MutableDictionary> TQFoundationDefaults::_registeredDefaults() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return registeredDefaults_;
}

// ---- Reading ----

Id TQFoundationDefaults::lookUpVolatile(const String& key, _TQDefaultsFileManager* manager) const {
  return manager ? manager->volatileDefaultForKey(key) : nullptr;
}

namespace {
Id argumentValue(const Dictionary* arguments, const String& key, const Ref<String>& componentKey) {
  if (!arguments) return nullptr;
  if (Id value = arguments->objectForKey(&key)) return value;
  return componentKey ? arguments->objectForKey(componentKey) : nullptr;
}
}  // namespace

// Reads the domain from the standard user defaults (two locks) and keeps it
// with the count it was read at, for the reads that follow.
Id TQFoundationDefaults::lookUpArgumentDomain(const String& key, const Ref<String>& componentKey) const {
  // The domain's name is made once: making it cost a third of a read.
  static const Ref<String> argumentDomain = str(UserDefaults::ArgumentDomain);
  // Loaded before the domain is read: a change in between leaves the kept
  // count behind, and the next read asks again.
  const std::uint64_t generation = UserDefaults::volatileDomainsGeneration();
  auto arguments = UserDefaults::standardUserDefaults()->volatileDomainForName(*argumentDomain);
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    argumentDomain_ = arguments;
    argumentDomainGeneration_ = generation;
  }
  return argumentValue(arguments.get(), key, componentKey);
}

Id TQFoundationDefaults::lookUpRegistered(const String& key, const Ref<String>& componentKey) const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (!registeredDefaults_) return nullptr;
  if (Id value = registeredDefaults_->objectForKey(&key)) return value;
  return componentKey ? registeredDefaults_->objectForKey(componentKey) : nullptr;
}

// The layers, first found wins: volatile values, the argument domain, the
// file, registered values. A read of a key seen before takes the store's lock
// once for the manager, the key's component key and the argument domain kept
// since the last change of the volatile domains, and the manager's lock once
// for the file (volatile values are looked at only once any were set). The
// argument domain is looked up before the volatile values are, which costs a
// lookup only when a volatile value wins.
Id TQFoundationDefaults::defaultForKey(const String& key) {
  const std::uint64_t generation = UserDefaults::volatileDomainsGeneration();
  Ref<_TQDefaultsFileManager> manager;
  Ref<String> componentKey;
  Id argument;
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    manager = manager_;
    if (argumentDomainGeneration_ == generation) {
      componentKey = cast<String>(componentKeyByKey_->objectForKey(&key));
      if (componentKey) argument = argumentValue(argumentDomain_.get(), key, componentKey);
    }
  }
  if (!componentKey) return defaultForKeyFirstTime(key, manager);
  if (Id value = lookUpVolatile(key, manager.get())) return value;
  if (argument) return argument;
  if (manager) {
    if (Id value = manager->defaultForKeyPath(*componentKey, *this)) return value;
  }
  return lookUpRegistered(key, componentKey);
}

// A key not mapped yet, or the argument domain changed: each layer asked in
// turn, which maps the key and keeps the argument domain.
Id TQFoundationDefaults::defaultForKeyFirstTime(const String& key, const Ref<_TQDefaultsFileManager>& manager) {
  if (Id value = lookUpVolatile(key, manager.get())) return value;
  auto componentKey = _componentKeyForKey(key);
  if (Id value = lookUpArgumentDomain(key, componentKey)) return value;
  if (manager && componentKey) {
    if (Id value = manager->defaultForKeyPath(*componentKey, *this)) return value;
  }
  return lookUpRegistered(key, componentKey);
}

Id TQFoundationDefaults::valueForKey(const String& key) const {
  return const_cast<TQFoundationDefaults*>(this)->defaultForKey(key);
}

Ref<String> TQFoundationDefaults::stringForKey(const String& key) { return cast<String>(defaultForKey(key)); }
Ref<Dictionary> TQFoundationDefaults::dictionaryForKey(const String& key) {
  return cast<Dictionary>(defaultForKey(key));
}
Ref<Array> TQFoundationDefaults::arrayForKey(const String& key) { return cast<Array>(defaultForKey(key)); }

// Numbers and strings answer their numeric values, as the platform's values
// do; anything else reads as zero.
namespace {
double doubleValueOf(const Id& value) {
  if (auto number = cast<Number>(value)) return number->doubleValue();
  if (auto text = cast<String>(value)) return text->doubleValue();
  return 0;
}
std::int64_t integerValueOf(const Id& value) {
  if (auto number = cast<Number>(value)) return number->integerValue();
  if (auto text = cast<String>(value)) return text->integerValue();
  return 0;
}
bool boolValueOf(const Id& value) {
  if (auto number = cast<Number>(value)) return number->boolValue();
  if (auto text = cast<String>(value)) return text->boolValue();
  return false;
}
}  // namespace

std::int64_t TQFoundationDefaults::integerForKey(const String& key) { return integerValueOf(defaultForKey(key)); }
double TQFoundationDefaults::floatForKey(const String& key) {
  return static_cast<double>(static_cast<float>(doubleValueOf(defaultForKey(key))));
}
bool TQFoundationDefaults::boolForKey(const String& key) { return boolValueOf(defaultForKey(key)); }

Ref<Color> TQFoundationDefaults::colorForKey(const String& key) {
  Id value = defaultForKey(key);
  if (auto text = cast<String>(value)) return TQFoundation::colorFromStringRepresentation(*text);
  return cast<Color>(value);
}

Ref<Dictionary> TQFoundationDefaults::defaultsForKeys(const Array& keys) {
  auto found = MutableDictionary::dictionary();
  auto open = MutableArray::array();
  auto launch = launchArguments();
  for (const auto& object : keys.storage()) {
    auto key = cast<String>(object);
    if (!key) continue;
    Id value = lookUpVolatile(*key, _manager_().get());
    if (!value) value = lookUpArgumentDomain(*key, nullptr);
    if (!value && launch) value = launch->objectForKey(key);
    if (value) {
      found->setObject(value, key);
    } else {
      open->addObject(key);
    }
  }
  if (open->count() == 0) return cast<Dictionary>(found->copy());
  auto stored = defaultsDictionary();
  auto missing = MutableArray::array();
  for (const auto& object : open->storage()) {
    auto key = cast<String>(object);
    Id value = stored ? stored->objectForKey(key) : nullptr;
    if (!value && stored) {
      if (auto componentKey = mappedComponentKeyForKey(*key)) value = stored->objectForKey(componentKey);
    }
    if (value) {
      found->setObject(value, key);
    } else {
      missing->addObject(key);
    }
  }
  for (const auto& object : missing->storage()) {
    auto key = cast<String>(object);
    if (Id value = lookUpRegistered(*key, mappedComponentKeyForKey(*key))) found->setObject(value, key);
  }
  return cast<Dictionary>(found->copy());
}

Ref<Dictionary> TQFoundationDefaults::defaultsDictionary() {
  auto manager = _manager_();
  return manager ? manager->defaultsDictionaryForDefaultManager(*this) : nullptr;
}

Id TQFoundationDefaults::standardUserDefaultsForKey(const String& key) {
  auto manager = _manager_();
  return manager ? manager->standardUserDefaultForKey(key, *this) : nullptr;
}

// ---- Writing ----

void TQFoundationDefaults::updateDefaults(const Ref<Dictionary>& changes) {
  if (auto manager = _manager_()) manager->_updateDefaults(changes);
}

void TQFoundationDefaults::setDefault(const Id& value, const String& key) {
  auto componentKey = _componentKeyForKey(key);
  if (!componentKey) return;
  auto change = MutableDictionary::dictionary();
  change->setObject(value ? value : Id(Null::null()), componentKey);
  updateDefaults(change);
}

void TQFoundationDefaults::removeDefaultForKey(const String& key) { setDefault(nullptr, key); }

void TQFoundationDefaults::setString(const Id& value, const String& key) {
  if (cast<String>(value)) setDefault(value, key);
}
void TQFoundationDefaults::setDictionary(const Id& value, const String& key) {
  if (cast<Dictionary>(value)) setDefault(value, key);
}
void TQFoundationDefaults::setArray(const Id& value, const String& key) {
  if (cast<Array>(value)) setDefault(value, key);
}
void TQFoundationDefaults::setInteger(std::int64_t value, const String& key) { setDefault(num(value), key); }
void TQFoundationDefaults::setFloat(float value, const String& key) { setDefault(num(double(value)), key); }
void TQFoundationDefaults::setBool(bool value, const String& key) { setDefault(num(value), key); }

void TQFoundationDefaults::setColor(const Id& value, const String& key) {
  if (auto colour = cast<Color>(value)) setDefault(TQFoundation::jsonStringRepresentation(*colour), key);
}

void TQFoundationDefaults::setDefaultsInDictionary(const Dictionary& values) {
  auto changes = MutableDictionary::dictionary();
  for (const auto& [key, value] : values.entries()) {
    auto name = cast<String>(key);
    if (!name) continue;
    if (auto componentKey = _componentKeyForKey(*name)) changes->setObject(value, componentKey);
  }
  updateDefaults(changes);
}

void TQFoundationDefaults::setVolatileDefault(const Id& value, const String& key) {
  auto manager = _manager_();
  if (!manager) return;
  std::lock_guard<std::recursive_mutex> guard(manager->lock());
  auto current = manager->_volatileDefaults_();
  auto values = current ? MutableDictionary::dictionaryWithDictionary(*current) : MutableDictionary::dictionary();
  values->setObjectForKeyedSubscript(value, String::fromUTF16(key.utf16()));
  manager->set_volatileDefaults_(cast<Dictionary>(values->copy()));
}

void TQFoundationDefaults::registerDefaults(const Dictionary& values) {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  if (!registeredDefaults_) registeredDefaults_ = MutableDictionary::dictionary();
  for (const auto& [key, value] : values.entries()) {
    auto name = cast<String>(key);
    if (!name) continue;
    if (auto componentKey = _componentKeyForKey(*name)) registeredDefaults_->setObject(value, componentKey);
  }
}

void TQFoundationDefaults::refresh() {
  if (auto manager = _manager_()) manager->refresh();
}

}  // namespace tq
