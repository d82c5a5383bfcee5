#pragma once
// The real reachability source: rtnetlink route lookups and the kernel's
// link, address and route change groups, on raw netlink sockets (the few
// messages needed do not warrant a library, and their parser is ours to
// fuzz).

#include <memory>

#include "tq/platform/system/ReachabilitySource.h"

namespace tq::detail {

std::shared_ptr<const ReachabilitySource> makeNetlinkReachabilitySource();

}  // namespace tq::detail
