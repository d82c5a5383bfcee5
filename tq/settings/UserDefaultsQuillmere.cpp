#include "tq/settings/UserDefaultsQuillmere.h"

#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace Quillmere {

Id defaultForKey(const UserDefaults& defaults, const String& key) { return defaults.objectForKey(key); }
void setDefault(UserDefaults& defaults, const Id& value, const String& key) { defaults.setObjectForKey(value, key); }
void removeDefaultForKey(UserDefaults& defaults, const String& key) { defaults.removeObjectForKey(key); }

void setString(UserDefaults& defaults, const Id& value, const String& key) {
  if (cast<String>(value)) defaults.setObjectForKey(value, key);
}

void setDictionary(UserDefaults& defaults, const Id& value, const String& key) {
  if (cast<Dictionary>(value)) defaults.setObjectForKey(value, key);
}

Ref<Color> colorForKey(const UserDefaults& defaults, const String& key) {
  Id value = defaults.objectForKey(key);
  if (auto text = cast<String>(value)) return TQFoundation::colorFromStringRepresentation(*text);
  return cast<Color>(value);
}

void setColor(UserDefaults& defaults, const Id& value, const String& key) {
  if (auto colour = cast<Color>(value)) setDefault(defaults, TQFoundation::jsonStringRepresentation(*colour), key);
}

Id launchArgumentForKey(const UserDefaults& defaults, const String& key) {
  auto domain = defaults.volatileDomainForName(*str(UserDefaults::ArgumentDomain));
  return domain ? domain->objectForKey(&key) : nullptr;
}

void setLaunchArgument(UserDefaults& defaults, const Id& value, const String& key) {
  const auto name = str(UserDefaults::ArgumentDomain);
  auto current = defaults.volatileDomainForName(*name);
  auto domain = current ? MutableDictionary::dictionaryWithDictionary(*current) : MutableDictionary::dictionary();
  domain->setObjectForKeyedSubscript(value, String::fromUTF16(key.utf16()));
  defaults.setVolatileDomain(*domain, *name);
}

Id launchArg(const String& key) { return launchArgumentForKey(*UserDefaults::standardUserDefaults(), key); }
Id launchArg(const PreferenceTypeSwift& preference) { return launchArg(*preference.key()); }

bool launchFlag(const String& key) {
  Id value = launchArg(key);
  if (auto text = cast<String>(value)) return text->boolValue();
  if (auto number = cast<Number>(value); number && number->isBool()) return number->boolValue();
  return false;
}

bool launchFlag(const PreferenceTypeSwift& preference) { return launchFlag(*preference.key()); }

Ref<TQDefaultsInstance> defaultsInstance(Ref<UserDefaults> defaults) {
  if (!defaults) return nullptr;
  return make<UserDefaultsInstance>(std::move(defaults));
}

}  // namespace Quillmere

Id UserDefaultsInstance::defaultForKey(const String& key) { return Quillmere::defaultForKey(*defaults_, key); }
void UserDefaultsInstance::setDefault(const Id& value, const String& key) {
  Quillmere::setDefault(*defaults_, value, key);
}
void UserDefaultsInstance::removeDefaultForKey(const String& key) { Quillmere::removeDefaultForKey(*defaults_, key); }
Id UserDefaultsInstance::objectForKey(const String& key) { return defaults_->objectForKey(key); }
void UserDefaultsInstance::setObject(const Id& value, const String& key) { defaults_->setObjectForKey(value, key); }
void UserDefaultsInstance::removeObjectForKey(const String& key) { defaults_->removeObjectForKey(key); }
Ref<String> UserDefaultsInstance::stringForKey(const String& key) { return defaults_->stringForKey(key); }
void UserDefaultsInstance::setString(const Id& value, const String& key) {
  Quillmere::setString(*defaults_, value, key);
}
Ref<Dictionary> UserDefaultsInstance::dictionaryForKey(const String& key) { return defaults_->dictionaryForKey(key); }
void UserDefaultsInstance::setDictionary(const Id& value, const String& key) {
  Quillmere::setDictionary(*defaults_, value, key);
}
Ref<Array> UserDefaultsInstance::arrayForKey(const String& key) { return defaults_->arrayForKey(key); }
void UserDefaultsInstance::setArray(const Id& value, const String& key) {
  if (cast<Array>(value)) defaults_->setObjectForKey(value, key);
}
std::int64_t UserDefaultsInstance::integerForKey(const String& key) { return defaults_->integerForKey(key); }
void UserDefaultsInstance::setInteger(std::int64_t value, const String& key) { defaults_->setInteger(value, key); }
double UserDefaultsInstance::floatForKey(const String& key) { return defaults_->floatForKey(key); }
void UserDefaultsInstance::setFloat(float value, const String& key) { defaults_->setFloat(value, key); }
bool UserDefaultsInstance::boolForKey(const String& key) { return defaults_->boolForKey(key); }
void UserDefaultsInstance::setBool(bool value, const String& key) { defaults_->setBool(value, key); }
Ref<Color> UserDefaultsInstance::colorForKey(const String& key) { return Quillmere::colorForKey(*defaults_, key); }
void UserDefaultsInstance::setColor(const Id& value, const String& key) { Quillmere::setColor(*defaults_, value, key); }
void UserDefaultsInstance::registerDefaults(const Dictionary& values) { defaults_->registerDefaults(values); }

}  // namespace tq
