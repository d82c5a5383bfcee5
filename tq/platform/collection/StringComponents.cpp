// The string operations that answer collections live with the collections, so
// that the value room never reaches up to them.
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/String.h"

namespace tq {

Ref<Array> String::componentsSeparatedByString(const String& separator) const {
  auto parts = make<MutableArray>();
  if (separator.units_.empty()) {
    parts->addObject(fromUTF16(units_));
    return parts;
  }
  std::size_t from = 0;
  for (std::size_t at; (at = units_.find(separator.units_, from)) != std::u16string::npos;
       from = at + separator.units_.size()) {
    parts->addObject(fromUTF16(units_.substr(from, at - from)));
  }
  parts->addObject(fromUTF16(units_.substr(from)));
  return parts;
}

}  // namespace tq
