#pragma once
// Umbrella header of tq/platform/bundle/, the platform's bundle room: folders
// of resources described by an information dictionary, and the old-style text
// property lists their string tables use. It includes every public header of
// the folder, for users and tools; the library's own code includes what it
// uses.

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/bundle/TextPropertyList.h"
#include "tq/platform/bundle/PluralTable.h"
#include "tq/platform/bundle/StringTable.h"
#include "tq/platform/bundle/ModuleDeclarations.h"
