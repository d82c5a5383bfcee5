#pragma once
// Umbrella header of tq/collections/, ordered dictionaries and
// the integer collections. It includes every
// public header of the folder, for users and tools; the library's own code
// includes what it uses. The CTest check Package.UmbrellasReachEveryHeader
// fails when a public header of the folder is not reached from here.

#include "tq/collections/IndexSetExtensions.h"
#include "tq/collections/TQMutableOrderedDictionary.h"
#include "tq/collections/TQOrderedDictionary.h"
