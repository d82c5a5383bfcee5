#include "tq/settings/TQAdvancedSettingsManager.h"

#include "tq/platform/archive/JSON.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/system/FileSystem.h"

namespace tq {

Ref<Dictionary> TQAdvancedSettingsManager::settingsInJSON(std::string_view json) {
  auto listed = MutableDictionary::dictionary();
  auto entries = cast<Array>(JSON::read(json));
  if (!entries) return listed;
  for (const Id& object : entries->storage()) {
    // An entry that is no object describes nothing; the others still count.
    auto entry = cast<Dictionary>(object);
    if (!entry) continue;
    auto setting = TQAdvSetting::initWithDictionary(*entry);
    if (setting->visibility() != TQSettingVisibility::none) listed->setObject(setting, setting->key());
  }
  return listed;
}

Ref<TQAdvancedSettingsManager> TQAdvancedSettingsManager::init() {
  auto manager = make<TQAdvancedSettingsManager>();
  auto bundle = Bundle::mainBundle();
  auto path = bundle ? bundle->pathForResource(*str("AdvanceSettingsInfo"), str("json")) : nullptr;
  auto bytes = path ? FileSystem::current()->readFile(path->utf8()) : std::nullopt;
  if (bytes) manager->internalSettingsList_ = MutableDictionary::dictionaryWithDictionary(*settingsInJSON(*bytes));
  return manager;
}

void TQAdvancedSettingsManager::registerWithSettings(const std::vector<Ref<TQAdvanceSetting>>& settings) {
  auto defaults = MutableDictionary::dictionary();
  {
    std::lock_guard lock(mutex_);
    auto list = MutableDictionary::dictionaryWithDictionary(*internalSettingsList_);
    for (const auto& setting : settings) {
      if (!setting || !setting->key()) continue;
      list->setObject(setting, setting->key());
      // A setting without a default has nothing to register.
      if (Id value = setting->defaultValue()) defaults->setObject(value, setting->key());
    }
    internalSettingsList_ = list;
  }
  UserDefaults::standardUserDefaults()->registerDefaults(*defaults);
}

Ref<Dictionary> TQAdvancedSettingsManager::settingsList() const {
  std::lock_guard lock(mutex_);
  return cast<Dictionary>(internalSettingsList_->copy());
}

Ref<MutableDictionary> TQAdvancedSettingsManager::_internalSettingsList() const {
  std::lock_guard lock(mutex_);
  return MutableDictionary::dictionaryWithDictionary(*internalSettingsList_);
}

void TQAdvancedSettingsManager::set_internalSettingsList(const Ref<MutableDictionary>& list) {
  std::lock_guard lock(mutex_);
  internalSettingsList_ = list ? MutableDictionary::dictionaryWithDictionary(*list) : MutableDictionary::dictionary();
}

}  // namespace tq
