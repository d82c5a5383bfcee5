#pragma once
// Umbrella header of tq/platform/defaults/, the platform's user-defaults room.
// It includes every public header of the folder, for users and tools; the
// library's own code includes what it uses.

#include "tq/platform/defaults/UserDefaults.h"
