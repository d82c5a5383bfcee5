#pragma once
// Runs a piece of work under an object's monitor (`synced(_:closure:)`), the
// lock that code takes on an object itself; the monitor is left however the
// work ends, an exception included. Monitors are recursive, so the work may
// call code that takes the same object's monitor again.
//
//   synced(*list, [&] { list->addObject(item); });

#include <mutex>
#include <utility>

#include "tq/platform/object/Monitor.h"
#include "tq/platform/object/Object.h"

namespace tq {

template <class Work>
decltype(auto) synced(const Object& lock, Work&& work) {
  std::lock_guard<std::recursive_mutex> held(monitorOf(lock));
  return std::forward<Work>(work)();
}

}  // namespace tq
