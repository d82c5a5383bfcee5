// Mapping a setting's key to the key it is kept under in the shared file,
// and telling observers of either name of a change.

#include "tq/platform/collection/KeyValueObserving.h"
#include "tq/settings/TQFoundationDefaults.h"

namespace tq {

Ref<String> TQFoundationDefaults::componentKeyForKey(const String& key) const {
  auto prefix = keyPrefix();
  if (!prefix || key.hasPrefix(prefix->utf16())) return String::fromUTF16(key.utf16());
  return String::fromUTF16(prefix->utf16() + key.utf16());
}

Ref<String> TQFoundationDefaults::_componentKeyForKey(const String& key) {
  if (auto mapped = mappedComponentKeyForKey(key)) return mapped;
  auto unprefixed = unprefixedKeys();
  auto componentKey = unprefixed && unprefixed->containsObject(key.self()) ? String::fromUTF16(key.utf16())
                                                                           : componentKeyForKey(key);
  if (componentKey) registerComponentKey(*componentKey, key);
  return componentKey;
}

Ref<String> TQFoundationDefaults::mappedComponentKeyForKey(const String& key) const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return cast<String>(componentKeyByKey_->objectForKey(&key));
}

Ref<String> TQFoundationDefaults::mappedKeyForComponentKey(const String& componentKey) const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return cast<String>(keyByComponentKey_->objectForKey(&componentKey));
}

void TQFoundationDefaults::registerComponentKey(const String& componentKey, const String& key) {
  auto componentName = String::fromUTF16(componentKey.utf16());
  auto name = String::fromUTF16(key.utf16());
  std::lock_guard<std::recursive_mutex> guard(lock_);
  keyByComponentKey_->setObject(name, componentName);
  componentKeyByKey_->setObject(componentName, name);
  // The store watches its own component key: a change announced under it
  // is announced again under the plain key.
  addObserver(self(), self(), *componentName, KeyValueObservingOptions::None, nullptr);
}

void TQFoundationDefaults::observeValueForKeyPath(const String& keyPath, const Id& object, const Ref<Dictionary>&,
                                                  void*) {
  if (object.get() != this) return;
  auto key = mappedKeyForComponentKey(keyPath);
  if (!key || key->isEqualToString(keyPath)) return;
  willChangeValueForKey(self(), *key);
  didChangeValueForKey(self(), *key);
}

}  // namespace tq
