#pragma once
// Umbrella header of tq/platform/dispatch/, the platform's dispatch room:
// queues, operations, notifications, run loops. It includes every public header
// of the folder, for users and tools; the library's own code includes what it
// uses. The CTest check Package.UmbrellasReachEveryHeader fails when a public
// header of the folder is not reached from here.

#include "tq/platform/dispatch/DispatchGroup.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/dispatch/DispatchSemaphore.h"
#include "tq/platform/dispatch/DispatchSource.h"
#include "tq/platform/dispatch/FileEventStream.h"
#include "tq/platform/dispatch/FolderEventStream.h"
#include "tq/platform/dispatch/NotificationCenter.h"
#include "tq/platform/dispatch/Operation.h"
#include "tq/platform/dispatch/OperationQueue.h"
#include "tq/platform/dispatch/RunLoop.h"
