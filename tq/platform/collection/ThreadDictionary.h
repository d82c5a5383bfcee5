#pragma once
// The calling thread's own dictionary, for per-thread state that must not
// need a lock (thread flags, formatters kept one per thread).

#include "tq/platform/collection/Dictionary.h"

namespace tq {

/// Created on first use on each thread and released when the thread ends.
MutableDictionary& threadDictionary();

}  // namespace tq
