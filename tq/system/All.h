#pragma once
// Umbrella header of tq/system/, the system services: file and folder
// watchers, cloud files, reachability, bundle resources and localisation,
// compact UUIDs, URL helpers, scripts and Unix tasks. It includes every
// public header of the folder, for users and tools; the library's own code
// includes what it uses.

#include "tq/system/TQBundle.h"
#include "tq/system/TQFileWatcher.h"
#include "tq/system/TQFileWatcherSwift.h"
#include "tq/system/TQFolderWatcher.h"
#include "tq/system/TQReachability.h"
#include "tq/system/TQScript.h"
#include "tq/system/URLTQFoundation.h"
#include "tq/system/UUIDTQFoundation.h"
#include "tq/system/UbiquityFiles.h"
#include "tq/system/UnixTaskTQFoundation.h"
