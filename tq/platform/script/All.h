#pragma once
// Umbrella header of tq/platform/script/, the platform's scripting room:
// typed descriptors, compiled scripts run as executables, the registry of
// scripting suites and users' Unix tasks. It includes every public header of
// the folder, for users and tools; the library's own code includes what it
// uses.

#include "tq/platform/script/EventDescriptor.h"
#include "tq/platform/script/CompiledScript.h"
#include "tq/platform/script/ScriptJSON.h"
#include "tq/platform/script/ScriptSuiteRegistry.h"
#include "tq/platform/script/UserUnixTask.h"
