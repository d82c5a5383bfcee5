#pragma once
// An advanced setting that code declares (a `PreferenceTypeSwift`), listed
// beside those of the JSON resource. Its description comes from the
// preference; its current values are read by the preference from the
// application's `defaultsManager`, so that a setting declared by an add-on
// reads the same store the add-on itself reads.

#include "tq/settings/PreferenceTypeSwift.h"
#include "tq/settings/TQAdvanceSetting.h"

namespace tq {

class ExternalSetting : public TQAdvanceSetting {
 public:
  /// `init(pref:)`
  explicit ExternalSetting(PreferenceTypeSwift pref) : pref_(std::move(pref)) {}
  std::string className() const override { return "ExternalSetting"; }
  const PreferenceTypeSwift& pref() const { return pref_; }

  TQSettingType type() const override { return pref_.type(); }
  TQSettingVisibility visibility() const override { return pref_.visibility(); }
  Ref<String> key() const override { return pref_.key(); }
  Ref<String> descriptionInfo() const override { return pref_.description(); }
  Id defaultValue() const override { return pref_.defaultValue(); }
  Ref<Dictionary> choiceMappings() const override { return pref_.choiceMappings(); }
  Ref<Dictionary> choiceStringMappings() const override { return pref_.choiceStringMappings(); }

  std::int64_t integerVal() const override;
  double floatVal() const override;
  bool boolVal() const override;
  Id stringVal() const override;
  Ref<Color> colorVal() const override;
  /// The stored array, else the default of an array preference, else empty.
  Ref<Array> arrayVal() const override;
  Ref<Dictionary> dictVal() const override;

 private:
  PreferenceTypeSwift pref_;
};

}  // namespace tq
