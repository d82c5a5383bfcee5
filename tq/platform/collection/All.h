#pragma once
// Umbrella header of tq/platform/collection/, the platform's collection room:
// arrays, dictionaries, sets, index sets, sorting, errors. It includes every
// public header of the folder, for users and tools; the library's own code
// includes what it uses. The CTest check Package.UmbrellasReachEveryHeader
// fails when a public header of the folder is not reached from here.

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/collection/KeyValueObserving.h"
#include "tq/platform/collection/PackedRuns.h"
#include "tq/platform/collection/Parallel.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/collection/SlotIndex.h"
#include "tq/platform/collection/Sorting.h"
#include "tq/platform/collection/ThreadDictionary.h"
