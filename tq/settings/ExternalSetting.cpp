#include "tq/settings/ExternalSetting.h"

#include "tq/settings/ApplicationDefaults.h"
#include "tq/settings/TQDefaultsInstancePreferences.h"

namespace tq {

namespace {

// Reads the application's defaults, which live for the call (the standard
// user defaults come wrapped in an object made for it).
template <class Reader>
auto readApplicationDefaults(const PreferenceTypeSwift& preference, Reader reader) {
  auto defaults = Defaults::defaultsManager(*Application::shared());
  return reader(*defaults, preference);
}

}  // namespace

std::int64_t ExternalSetting::integerVal() const { return readApplicationDefaults(pref_, integerForPref).value_or(0); }
double ExternalSetting::floatVal() const { return readApplicationDefaults(pref_, floatForPref).value_or(0.0); }
bool ExternalSetting::boolVal() const { return readApplicationDefaults(pref_, boolForPref).value_or(false); }
Id ExternalSetting::stringVal() const { return readApplicationDefaults(pref_, stringForPref); }
Ref<Color> ExternalSetting::colorVal() const { return readApplicationDefaults(pref_, colorForPref); }

Ref<Array> ExternalSetting::arrayVal() const {
  auto array = readApplicationDefaults(pref_, arrayForPref);
  return array ? array : Array::array();
}

Ref<Dictionary> ExternalSetting::dictVal() const {
  auto dictionary = readApplicationDefaults(pref_, dictionaryForPref);
  return dictionary ? dictionary : Dictionary::dictionary();
}

}  // namespace tq
