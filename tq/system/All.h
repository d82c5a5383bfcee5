#pragma once
// Umbrella header of tq/system/, the system services: bundle resources and
// localisation, compact UUIDs, URL helpers, scripts and Unix tasks. It
// includes every public header of the folder, for users and tools; the
// library's own code includes what it uses.

#include "tq/system/TQBundle.h"
#include "tq/system/TQScript.h"
#include "tq/system/URLTQFoundation.h"
#include "tq/system/UUIDTQFoundation.h"
#include "tq/system/UnixTaskTQFoundation.h"
