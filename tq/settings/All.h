#pragma once
// Umbrella header of tq/settings/, the defaults store that each add-on
// derives, the manager that keeps its values in a property-list file shared
// by the processes of a product, and the dictionary change set they use. It
// includes every public header of the folder, for users and tools; the
// library's own code includes what it uses.

#include "tq/settings/DictionaryChangeSet.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQFoundationDefaults.h"
