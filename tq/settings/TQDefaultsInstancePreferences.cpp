#include "tq/settings/TQDefaultsInstancePreferences.h"

#include "tq/colour/ColorTQFoundation.h"
#include "tq/settings/internal/LenientValues.h"

namespace tq {

namespace {

Id stored(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  return defaults.objectForKey(*preference.key());
}

// The preference's default as a collection, for the cases that have one.
template <class Collection>
Ref<Collection> defaultCollection(const PreferenceTypeSwift& preference, PreferenceTypeSwift::Case kind) {
  return preference.kind() == kind ? cast<Collection>(preference.defaultValue()) : nullptr;
}

bool hasOnlyStringKeys(const Dictionary& dictionary) {
  for (const auto& [key, ignored] : dictionary.entries()) {
    if (!cast<String>(key)) return false;
  }
  return true;
}

// Nil removes the key; anything else goes to the typed setter.
template <class Value, class Setter>
void setOrRemove(TQDefaultsInstance& defaults, const Value& value, const PreferenceTypeSwift& preference,
                 Setter setter) {
  if (!value) {
    defaults.removeObjectForKey(*preference.key());
  } else {
    setter(*preference.key());
  }
}

}  // namespace

Ref<String> stringForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  if (auto text = cast<String>(stored(defaults, preference))) return text;
  return preference.defaultString();
}

std::optional<std::int64_t> integerForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  if (auto value = detail::exactIntegerValue(stored(defaults, preference))) return value;
  return preference.defaultInt();
}

std::optional<double> floatForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  if (auto value = detail::realValue(stored(defaults, preference))) return value;
  return preference.defaultFloat();
}

std::optional<bool> boolForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  if (Id value = stored(defaults, preference)) return detail::lenientBoolValue(value);
  return preference.defaultBool();
}

Ref<Color> colorForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  Id value = stored(defaults, preference);
  if (auto colour = cast<Color>(value)) return colour;
  if (auto text = cast<String>(value)) {
    if (auto colour = TQFoundation::colorFromStringRepresentation(*text)) return colour;
  }
  return preference.defaultColor();
}

Ref<Array> arrayForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  if (auto array = cast<Array>(stored(defaults, preference))) return array;
  return defaultCollection<Array>(preference, PreferenceTypeSwift::Case::array);
}

Ref<Dictionary> dictionaryForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  auto dictionary = cast<Dictionary>(stored(defaults, preference));
  if (dictionary && hasOnlyStringKeys(*dictionary)) return dictionary;
  return defaultCollection<Dictionary>(preference, PreferenceTypeSwift::Case::dict);
}

Ref<Dictionary> anyKeyDictionaryForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  if (auto dictionary = cast<Dictionary>(stored(defaults, preference))) return dictionary;
  return defaultCollection<Dictionary>(preference, PreferenceTypeSwift::Case::dict);
}

Id objectForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  if (Id value = stored(defaults, preference)) return value;
  return preference.defaultValue();
}

void setStringForPref(TQDefaultsInstance& defaults, const Ref<String>& value, const PreferenceTypeSwift& preference) {
  setOrRemove(defaults, value, preference, [&](const String& key) { defaults.setString(value, key); });
}

void setIntegerForPref(TQDefaultsInstance& defaults, std::optional<std::int64_t> value,
                       const PreferenceTypeSwift& preference) {
  setOrRemove(defaults, value, preference, [&](const String& key) { defaults.setInteger(*value, key); });
}

void setFloatForPref(TQDefaultsInstance& defaults, std::optional<double> value, const PreferenceTypeSwift& preference) {
  setOrRemove(defaults, value, preference, [&](const String& key) { defaults.setFloat(float(*value), key); });
}

void setBoolForPref(TQDefaultsInstance& defaults, std::optional<bool> value, const PreferenceTypeSwift& preference) {
  setOrRemove(defaults, value, preference, [&](const String& key) { defaults.setBool(*value, key); });
}

void setColorForPref(TQDefaultsInstance& defaults, const Ref<Color>& value, const PreferenceTypeSwift& preference) {
  setOrRemove(defaults, value, preference, [&](const String& key) { defaults.setColor(value, key); });
}

void setArrayForPref(TQDefaultsInstance& defaults, const Ref<Array>& value, const PreferenceTypeSwift& preference) {
  setOrRemove(defaults, value, preference, [&](const String& key) { defaults.setArray(value, key); });
}

void setDictionaryForPref(TQDefaultsInstance& defaults, const Ref<Dictionary>& value,
                          const PreferenceTypeSwift& preference) {
  setOrRemove(defaults, value, preference, [&](const String& key) { defaults.setDictionary(value, key); });
}

void setAnyKeyDictionaryForPref(TQDefaultsInstance& defaults, const Ref<Dictionary>& value,
                                const PreferenceTypeSwift& preference) {
  setDictionaryForPref(defaults, value, preference);
}

void setObjectForPref(TQDefaultsInstance& defaults, const Id& value, const PreferenceTypeSwift& preference) {
  setOrRemove(defaults, value, preference, [&](const String& key) { defaults.setObject(value, key); });
}

void removeDefault(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference) {
  defaults.removeObjectForKey(*preference.key());
}

}  // namespace tq
