#pragma once
// Umbrella header of tq/settings/, the defaults store that each add-on
// derives, the manager that keeps its values in a property-list file shared
// by the processes of a product, the dictionary change set they use, the advanced
// settings, typed preferences and launch arguments. It
// includes every public header of the folder, for users and tools; the
// library's own code includes what it uses.

#include "tq/settings/ApplicationDefaults.h"
#include "tq/settings/DictionaryChangeSet.h"
#include "tq/settings/ExternalSetting.h"
#include "tq/settings/PreferenceTypeSwift.h"
#include "tq/settings/Synced.h"
#include "tq/settings/TQAdvSetting.h"
#include "tq/settings/TQAdvanceSetting.h"
#include "tq/settings/TQAdvancedSettingsApplication.h"
#include "tq/settings/TQAdvancedSettingsManager.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQDefaultsInstancePreferences.h"
#include "tq/settings/TQFoundationDefaults.h"
#include "tq/settings/TQSettingType.h"
#include "tq/settings/UserDefaultsQuillmere.h"
