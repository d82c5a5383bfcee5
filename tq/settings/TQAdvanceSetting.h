#pragma once
// What an advanced setting offers (`TQAdvanceSetting`) and what the list of
// them offers (`TQAdvancedSettings`). Two kinds of setting answer the first:
// those read from the host's "AdvanceSettingsInfo.json" (`TQAdvSetting`) and
// those that code declares as preferences (`ExternalSetting`). Both are
// objects, so that lists of them are ordinary dictionaries.

#include <cstdint>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/Color.h"
#include "tq/platform/value/String.h"
#include "tq/settings/TQSettingType.h"

namespace tq {

class TQAdvanceSetting : public Object {
 public:
  virtual TQSettingType type() const = 0;
  virtual TQSettingVisibility visibility() const = 0;
  virtual Ref<String> key() const = 0;
  virtual Ref<String> descriptionInfo() const = 0;
  virtual Id defaultValue() const = 0;
  /// Labels of an integer choice: integer numbers to strings; nil otherwise.
  virtual Ref<Dictionary> choiceMappings() const = 0;
  /// Labels of a string choice: strings to strings; nil otherwise.
  virtual Ref<Dictionary> choiceStringMappings() const = 0;

  // The current value, typed. Values of another kind read as 0, 0.0, false,
  // an empty collection or nil.
  virtual std::int64_t integerVal() const = 0;
  virtual double floatVal() const = 0;
  virtual bool boolVal() const = 0;
  /// A string, or the value itself when it has no string form (kept: a
  /// caller may get an array here, so it checks what it got).
  virtual Id stringVal() const = 0;
  virtual Ref<Color> colorVal() const = 0;
  virtual Ref<Array> arrayVal() const = 0;
  virtual Ref<Dictionary> dictVal() const = 0;
};

class TQAdvancedSettings : public Object {
 public:
  /// Lists each setting under its key (replacing one listed there) and
  /// registers their defaults with the standard user defaults.
  virtual void registerWithSettings(const std::vector<Ref<TQAdvanceSetting>>& settings) = 0;
  /// Key to setting, a snapshot.
  virtual Ref<Dictionary> settingsList() const = 0;
};

}  // namespace tq
