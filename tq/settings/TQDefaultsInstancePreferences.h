#pragma once
// Typed reading and writing of any `TQDefaultsInstance` (a product's store,
// or the user defaults through `Quillmere::defaultsInstance`) by preference:
// the preference gives the key and, when nothing usable is stored, the
// default.
//
//   auto retries = PreferenceTypeSwift::integer("maxRetries", 3);
//   std::int64_t n = integerForPref(*store, retries).value_or(0);  // 3 until set
//   setIntegerForPref(*store, 5, retries);
//   setIntegerForPref(*store, std::nullopt, retries);               // removes it
//
// Reading takes the stored object when it is of the wanted type; when it is
// missing, or of another type, the answer is the preference's default when
// the preference is of that kind, else nothing. Booleans are read leniently:
// a number by its truth, a string true only when it is "yes", "1" or "true"
// in any case, and anything else false. Writing calls the store's typed
// setter; nil (or nothing) removes the key.

#include <cstdint>
#include <optional>

#include "tq/settings/PreferenceTypeSwift.h"
#include "tq/settings/TQFoundationDefaults.h"

namespace tq {

Ref<String> stringForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);
/// A stored number that holds an integer exactly (1.0 does, 1.5 does not).
std::optional<std::int64_t> integerForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);
std::optional<double> floatForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);
std::optional<bool> boolForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);
/// A stored colour, or a stored string that reads as a colour text.
Ref<Color> colorForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);
Ref<Array> arrayForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);
/// A stored dictionary whose keys are all strings.
Ref<Dictionary> dictionaryForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);
/// A stored dictionary, whatever its keys.
Ref<Dictionary> anyKeyDictionaryForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);
/// Whatever is stored, else the preference's default of any case.
Id objectForPref(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);

void setStringForPref(TQDefaultsInstance& defaults, const Ref<String>& value, const PreferenceTypeSwift& preference);
void setIntegerForPref(TQDefaultsInstance& defaults, std::optional<std::int64_t> value,
                       const PreferenceTypeSwift& preference);
void setFloatForPref(TQDefaultsInstance& defaults, std::optional<double> value, const PreferenceTypeSwift& preference);
void setBoolForPref(TQDefaultsInstance& defaults, std::optional<bool> value, const PreferenceTypeSwift& preference);
void setColorForPref(TQDefaultsInstance& defaults, const Ref<Color>& value, const PreferenceTypeSwift& preference);
void setArrayForPref(TQDefaultsInstance& defaults, const Ref<Array>& value, const PreferenceTypeSwift& preference);
void setDictionaryForPref(TQDefaultsInstance& defaults, const Ref<Dictionary>& value,
                          const PreferenceTypeSwift& preference);
void setAnyKeyDictionaryForPref(TQDefaultsInstance& defaults, const Ref<Dictionary>& value,
                                const PreferenceTypeSwift& preference);
void setObjectForPref(TQDefaultsInstance& defaults, const Id& value, const PreferenceTypeSwift& preference);

/// Removes the preference's key (`removeDefault(forPref:)`).
void removeDefault(TQDefaultsInstance& defaults, const PreferenceTypeSwift& preference);

}  // namespace tq
