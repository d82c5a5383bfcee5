#pragma once
// The debug description that the integer-keyed tables share.

#include "tq/platform/object/Object.h"
#include "tq/platform/object/Range.h"
#include "tq/platform/value/String.h"

namespace tq::detail {

/// "<Class: 0x...> N entries"
Ref<String> entriesDebugDescription(const Object& object, Index count);

}  // namespace tq::detail
