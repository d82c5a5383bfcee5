#include "tq/platform/object/Range.h"

namespace tq {

std::string toString(const Range& range) {
  return "{" + std::to_string(range.location) + ", " + std::to_string(range.length) + "}";
}

}  // namespace tq
