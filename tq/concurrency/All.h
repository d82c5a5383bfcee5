#pragma once
// Umbrella header of tq/concurrency/, operation queues with barriers, dispatch
// groups, thread helpers. It includes every public header of the folder, for
// users and tools; the library's own code includes what it uses. The CTest
// check Package.UmbrellasReachEveryHeader fails when a public header of the
// folder is not reached from here.

#include "tq/concurrency/TQDispatchGroup.h"
#include "tq/concurrency/TQOperationQueue.h"
#include "tq/concurrency/TQSignallingOperation.h"
#include "tq/concurrency/ThreadHelpers.h"
