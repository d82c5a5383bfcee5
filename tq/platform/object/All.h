#pragma once
// Umbrella header of tq/platform/object/, the platform's object room: objects,
// references, exceptions, assertions, ranges. It includes every public header
// of the folder, for users and tools; the library's own code includes what it
// uses. The CTest check Package.UmbrellasReachEveryHeader fails when a public
// header of the folder is not reached from here.

#include "tq/platform/object/Application.h"
#include "tq/platform/object/AssociatedObjects.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/object/Comparable.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/object/Monitor.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/object/Range.h"
