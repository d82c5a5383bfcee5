#pragma once
// Umbrella header of tq/platform/system/, the platform's system room: the seams
// through which the library reaches the machine. It includes every public
// header of the folder, for users and tools; the library's own code includes
// what it uses. The CTest check Package.UmbrellasReachEveryHeader fails when a
// public header of the folder is not reached from here.

#include "tq/platform/system/Appearance.h"
#include "tq/platform/system/ChangeSignal.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/CloudFiles.h"
#include "tq/platform/system/Environment.h"
#include "tq/platform/system/FileChangeSource.h"
#include "tq/platform/system/FileCoordinator.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/system/KeyboardLayout.h"
#include "tq/platform/system/LineFollower.h"
#include "tq/platform/system/LocaleSetting.h"
#include "tq/platform/system/OperatingSystemVersion.h"
#include "tq/platform/system/OwnWrites.h"
#include "tq/platform/system/ReachabilitySource.h"
#include "tq/platform/system/PortalAppearance.h"
#include "tq/platform/system/TimeZoneSetting.h"
#include "tq/platform/system/UserFolders.h"
#include "tq/platform/system/VectorSupport.h"
#include "tq/platform/system/ChildProcess.h"
