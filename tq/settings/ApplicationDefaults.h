#pragma once
// Which defaults object the application uses (extension `Defaults` of the
// application object). Components that run both inside the mail host and in
// a companion application ask for `defaultsManager` rather than for the
// standard user defaults, and the host decides: its product store, or
// nothing set, and then the standard user defaults.

#include "tq/platform/object/Application.h"
#include "tq/settings/TQFoundationDefaults.h"

namespace tq::Defaults {

/// The object the host set, else the standard user defaults (as they are at
/// this call: a reset of the standard object is seen). Never nil.
Ref<TQDefaultsInstance> defaultsManager(const Application& application);
/// Sets the object: any object that answers `TQDefaultsInstance` (a store,
/// `Quillmere::defaultsInstance(...)`), or user defaults, which are taken
/// through `Quillmere::defaultsInstance`; nil goes back to the standard user
/// defaults. Any other object raises the parameter assertion.
void setDefaultsManager(Application& application, const Id& manager);

}  // namespace tq::Defaults
