#pragma once
// An object's monitor: the lock that code takes on an object itself to guard
// its contents (a dictionary updated in place while others read it). Objects
// carry no lock of their own, so monitors come from a fixed table of
// recursive locks chosen by the object's address: two objects may share one,
// which is why code never holds two monitors at once.

#include <mutex>

#include "tq/platform/object/Object.h"

namespace tq {

/// The recursive lock that stands for `object`'s monitor.
std::recursive_mutex& monitorOf(const Object& object);

}  // namespace tq
