#pragma once
// Umbrella header of tq/collections/, ordered dictionaries and
// the integer collections. It includes every
// public header of the folder, for users and tools; the library's own code
// includes what it uses. The CTest check Package.UmbrellasReachEveryHeader
// fails when a public header of the folder is not reached from here.

#include "tq/collections/IndexSetExtensions.h"
#include "tq/collections/IntegerPairText.h"
#include "tq/collections/TQCountedArray.h"
#include "tq/collections/TQEncodedJSONRepresentation.h"
#include "tq/collections/TQIndexMapTable.h"
#include "tq/collections/TQIndexSetTable.h"
#include "tq/collections/TQIntegerArray.h"
#include "tq/collections/TQIntegerArrayTable.h"
#include "tq/collections/TQIntegerKeyDictionary.h"
#include "tq/collections/TQIntegerSet.h"
#include "tq/collections/TQIntegerSetTable.h"
#include "tq/collections/TQJSONEncodable.h"
#include "tq/collections/TQMutableOrderedDictionary.h"
#include "tq/collections/TQObjectJSONRepresentation.h"
#include "tq/collections/TQOrderedDictionary.h"
#include "tq/collections/TQRangeMap.h"
