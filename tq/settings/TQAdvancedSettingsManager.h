#pragma once
// The process's list of advanced settings: those the host application ships
// in its main bundle's "AdvanceSettingsInfo.json" (an array of objects, see
// TQAdvSetting.h) and those code registers later. Settings of visibility 0
// are not offered and never listed; a later entry with the same key replaces
// an earlier one. A missing or malformed resource gives an empty list: an
// add-on without advanced settings is the ordinary case.
//
// The list is replaced whole under a lock and handed out as snapshots, so
// readers on other threads never see it half changed.

#include <mutex>
#include <string_view>

#include "tq/settings/TQAdvSetting.h"

namespace tq {

class TQAdvancedSettingsManager : public TQAdvancedSettings {
 public:
  /// A manager listing the settings of the main bundle's resource.
  static Ref<TQAdvancedSettingsManager> init();
  /// The settings a description holds (JSON text), key to `TQAdvSetting`,
  /// as `init` lists them; empty for text that is not a JSON array.
  static Ref<Dictionary> settingsInJSON(std::string_view json);

  std::string className() const override { return "TQAdvancedSettingsManager"; }
  void registerWithSettings(const std::vector<Ref<TQAdvanceSetting>>& settings) override;
  Ref<Dictionary> settingsList() const override;

  /// The list itself (`_internalSettingsList`); a copy, as `settingsList`.
  Ref<MutableDictionary> _internalSettingsList() const;
  void set_internalSettingsList(const Ref<MutableDictionary>& list);

  TQAdvancedSettingsManager() = default;

 private:
  mutable std::mutex mutex_;
  Ref<MutableDictionary> internalSettingsList_ = MutableDictionary::dictionary();
};

}  // namespace tq
