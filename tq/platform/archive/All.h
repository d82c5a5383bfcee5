#pragma once
// Umbrella header of tq/platform/archive/, the platform's archive room:
// property lists, JSON, keyed archives. It includes every public header of the
// folder, for users and tools; the library's own code includes what it uses.
// The CTest check Package.UmbrellasReachEveryHeader fails when a public header
// of the folder is not reached from here.

#include "tq/platform/archive/JSON.h"
#include "tq/platform/archive/KeyedArchive.h"
#include "tq/platform/archive/KeyedJSONCoding.h"
#include "tq/platform/archive/PropertyList.h"
