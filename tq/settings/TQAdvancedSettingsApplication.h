#pragma once
// The application object's advanced settings manager and colour manager
// (extension `TQAdvancedSettings`): both are objects the host attaches once
// and every component of the process then finds there. Each is a plain
// attached object, retained and read atomically; nil until the host sets it.
//
//   setAdvancedTQSettings(*Application::shared(), TQAdvancedSettingsManager::init());

#include "tq/platform/object/Application.h"
#include "tq/settings/TQAdvanceSetting.h"

namespace tq {

Ref<TQAdvancedSettings> advancedTQSettings(const Application& application);
void setAdvancedTQSettings(Application& application, Ref<TQAdvancedSettings> settings);

/// The colour Parts' manager, kept here as any object.
Id colorManager(const Application& application);
void setColorManager(Application& application, Id manager);

}  // namespace tq
