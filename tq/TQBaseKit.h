#pragma once
// The whole of TQBaseKit in one include, for users and tools: the version, then
// the umbrella of every platform room and every subsystem, lowest layer first.
// The library's own code never includes it (cmake/CheckLayering.cmake puts it
// above every layer); it includes what it uses.

#include "tq/Version.h"

#include "tq/platform/object/All.h"
#include "tq/platform/system/All.h"
#include "tq/platform/value/All.h"
#include "tq/platform/collection/All.h"
#include "tq/platform/archive/All.h"
#include "tq/platform/dispatch/All.h"
#include "tq/platform/bundle/All.h"
#include "tq/platform/defaults/All.h"
#include "tq/platform/script/All.h"

#include "tq/collections/All.h"
#include "tq/logging/All.h"
#include "tq/colour/All.h"
#include "tq/settings/All.h"
#include "tq/encodings/All.h"
#include "tq/dates/All.h"
#include "tq/keys/All.h"
#include "tq/concurrency/All.h"
#include "tq/system/All.h"
