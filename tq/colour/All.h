#pragma once
// Umbrella header of tq/colour/, colours in their text forms, their shades,
// and colours that follow the appearance. It includes every public header of
// the folder, for users and tools; the library's own code includes what it
// uses. The CTest check
// Package.UmbrellasReachEveryHeader fails when a public header of the folder
// is not reached from here.

#include "tq/colour/ColorTQFoundation.h"
#include "tq/colour/TQStringToNSColorTransformer.h"
#include "tq/colour/TQAppearanceChangeObserver.h"
#include "tq/colour/TQDynamicColor.h"
