#include "tq/settings/internal/LenientValues.h"

#include <cmath>

#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

namespace tq::detail {

bool lenientBoolValue(const Id& value) {
  if (auto number = cast<Number>(value)) return number->boolValue();
  auto text = cast<String>(value);
  if (!text) return false;
  auto lower = text->lowercaseString();
  return lower->isEqualToString("yes") || lower->isEqualToString("1") || lower->isEqualToString("true");
}

std::optional<std::int64_t> exactIntegerValue(const Id& value) {
  auto number = cast<Number>(value);
  if (!number) return std::nullopt;
  switch (number->kind()) {
    case Number::Kind::Bool:
    case Number::Kind::Signed:
      return number->integerValue();
    case Number::Kind::Unsigned:
      if (number->unsignedIntegerValue() > std::uint64_t(INT64_MAX)) return std::nullopt;
      return number->integerValue();
    case Number::Kind::Double: {
      const double real = number->doubleValue();
      // 2^63 itself is out of range; every double below it converts exactly.
      if (std::trunc(real) != real || real < -9223372036854775808.0 || real >= 9223372036854775808.0) {
        return std::nullopt;
      }
      return std::int64_t(real);
    }
  }
  return std::nullopt;
}

std::optional<double> realValue(const Id& value) {
  auto number = cast<Number>(value);
  if (!number) return std::nullopt;
  return number->doubleValue();
}

}  // namespace tq::detail
