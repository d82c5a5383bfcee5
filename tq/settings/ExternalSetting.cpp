#include "tq/settings/ExternalSetting.h"

#include "tq/settings/ApplicationDefaults.h"
#include "tq/settings/TQDefaultsInstancePreferences.h"

namespace tq {

namespace {
TQDefaultsInstance& applicationDefaults() { return *Defaults::defaultsManager(*Application::shared()); }
}  // namespace

std::int64_t ExternalSetting::integerVal() const { return integerForPref(applicationDefaults(), pref_).value_or(0); }
double ExternalSetting::floatVal() const { return floatForPref(applicationDefaults(), pref_).value_or(0.0); }
bool ExternalSetting::boolVal() const { return boolForPref(applicationDefaults(), pref_).value_or(false); }
Id ExternalSetting::stringVal() const { return stringForPref(applicationDefaults(), pref_); }
Ref<Color> ExternalSetting::colorVal() const { return colorForPref(applicationDefaults(), pref_); }

Ref<Array> ExternalSetting::arrayVal() const {
  auto array = arrayForPref(applicationDefaults(), pref_);
  return array ? array : Array::array();
}

Ref<Dictionary> ExternalSetting::dictVal() const {
  auto dictionary = dictionaryForPref(applicationDefaults(), pref_);
  return dictionary ? dictionary : Dictionary::dictionary();
}

}  // namespace tq
