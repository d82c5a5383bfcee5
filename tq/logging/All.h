#pragma once
// Umbrella header of tq/logging/, the process logger, its log entries and the
// console model. It includes every public header of the folder, for users and
// tools; the library's own code includes what it uses. The CTest check
// Package.UmbrellasReachEveryHeader fails when a public header of the folder is
// not reached from here.

#include "tq/logging/LogConsoleSink.h"
#include "tq/logging/TQConsoleWindowController.h"
#include "tq/logging/TQLogEntry.h"
#include "tq/logging/TQLogEntryPoints.h"
#include "tq/logging/TQLogger.h"
