#pragma once
// Umbrella header of tq/keys/, keyboard shortcuts over the user's keyboard
// layout. It includes every public header of the folder, for users and
// tools; the library's own code includes what it uses. The CTest check
// Package.UmbrellasReachEveryHeader fails when a public header of the folder
// is not reached from here.

#include "tq/keys/TQKeyCombo.h"
