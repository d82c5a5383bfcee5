#include "tq/settings/TQAdvancedSettingsApplication.h"

namespace tq {

namespace {
constexpr const char* kAdvancedSettingsKey = "advancedTQSettings";
constexpr const char* kColorManagerKey = "colorManager";
}  // namespace

Ref<TQAdvancedSettings> advancedTQSettings(const Application& application) {
  return cast<TQAdvancedSettings>(application.associatedObject(kAdvancedSettingsKey));
}

void setAdvancedTQSettings(Application& application, Ref<TQAdvancedSettings> settings) {
  application.setAssociatedObject(kAdvancedSettingsKey, std::move(settings));
}

Id colorManager(const Application& application) { return application.associatedObject(kColorManagerKey); }

void setColorManager(Application& application, Id manager) {
  application.setAssociatedObject(kColorManagerKey, std::move(manager));
}

}  // namespace tq
