#include "tq/platform/value/Number.h"

#include <charconv>
#include <cmath>
#include <functional>
#include <limits>

#include "tq/platform/object/Exception.h"
#include "tq/platform/value/String.h"

namespace tq {

Ref<Number> Number::numberWithBool(bool value) {
  // Two shared booleans, as the platform keeps.
  static const Ref<Number> yes = make<Number>(true), no = make<Number>(false);
  return value ? yes : no;
}

bool Number::boolValue() const {
  switch (kind_) {
    case Kind::Double: return value_.d != 0;
    case Kind::Unsigned: return value_.u != 0;
    default: return value_.i != 0;
  }
}

std::int64_t Number::integerValue() const {
  switch (kind_) {
    case Kind::Double: {
      double d = value_.d;
      if (std::isnan(d)) return 0;
      if (d >= 9223372036854775808.0) return std::numeric_limits<std::int64_t>::max();
      if (d < -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
      return std::int64_t(d);
    }
    case Kind::Unsigned: return std::int64_t(value_.u);
    default: return value_.i;
  }
}

std::uint64_t Number::unsignedIntegerValue() const {
  switch (kind_) {
    case Kind::Double: {
      double d = value_.d;
      if (std::isnan(d)) return 0;
      if (d < 0) return std::uint64_t(std::int64_t(d < -9223372036854775808.0 ? -9223372036854775808.0 : d));
      if (d >= 18446744073709551616.0) return std::numeric_limits<std::uint64_t>::max();
      return std::uint64_t(d);
    }
    case Kind::Unsigned: return value_.u;
    default: return std::uint64_t(value_.i);
  }
}

double Number::doubleValue() const {
  switch (kind_) {
    case Kind::Double: return value_.d;
    case Kind::Unsigned: return double(value_.u);
    default: return double(value_.i);
  }
}

namespace {

// Exact comparison of an integer (as sign + magnitude) with a double.
int compareIntegerWithDouble(bool negative, std::uint64_t magnitude, double d) {
  if (std::isnan(d)) return 1;
  if (d == std::numeric_limits<double>::infinity()) return -1;
  if (d == -std::numeric_limits<double>::infinity()) return 1;
  if (negative) {
    if (d >= 0) return -1;
    double m = -d;
    if (m >= 18446744073709551616.0) return 1;
    double fm = std::floor(m);
    std::uint64_t im = std::uint64_t(fm);
    if (magnitude != im) return magnitude > im ? -1 : 1;
    return fm < m ? 1 : 0;
  }
  if (d < 0) return 1;
  if (d >= 18446744073709551616.0) return -1;
  double fd = std::floor(d);
  std::uint64_t id = std::uint64_t(fd);
  if (magnitude != id) return magnitude < id ? -1 : 1;
  return fd < d ? -1 : 0;
}

void signMagnitude(const Number& n, bool* negative, std::uint64_t* magnitude) {
  if (n.kind() == Number::Kind::Unsigned) {
    *negative = false;
    *magnitude = n.unsignedIntegerValue();
    return;
  }
  std::int64_t i = n.integerValue();
  *negative = i < 0;
  *magnitude = i < 0 ? std::uint64_t(0) - std::uint64_t(i) : std::uint64_t(i);
}

}  // namespace

int Number::compareNumbers(const Number& a, const Number& b) {
  bool aDouble = a.kind_ == Kind::Double, bDouble = b.kind_ == Kind::Double;
  if (aDouble && bDouble) {
    double x = a.value_.d, y = b.value_.d;
    if (std::isnan(x) || std::isnan(y)) return std::isnan(x) ? (std::isnan(y) ? 0 : -1) : 1;
    return (x > y) - (x < y);
  }
  if (aDouble || bDouble) {
    const Number& integer = aDouble ? b : a;
    bool negative;
    std::uint64_t magnitude;
    signMagnitude(integer, &negative, &magnitude);
    int c = compareIntegerWithDouble(negative, magnitude, aDouble ? a.value_.d : b.value_.d);
    return aDouble ? -c : c;
  }
  bool an, bn;
  std::uint64_t am, bm;
  signMagnitude(a, &an, &am);
  signMagnitude(b, &bn, &bm);
  if (an != bn) return an ? -1 : 1;
  if (am == bm) return 0;
  return ((am < bm) != an) ? -1 : 1;
}

bool Number::isEqual(const Object& other) const {
  const auto* number = dynamic_cast<const Number*>(&other);
  return number && compareNumbers(*this, *number) == 0;
}

std::size_t Number::hash() const {
  // Equal values hash alike across kinds: integral values hash as integers.
  if (kind_ == Kind::Double) {
    double d = value_.d;
    // Every NaN equals every other, whatever its sign and payload bits.
    if (std::isnan(d)) return 0x7ff8000000000000ULL;
    if (std::isfinite(d) && d == std::floor(d)) {
      if (d >= -9223372036854775808.0 && d < 9223372036854775808.0) return std::hash<std::int64_t>()(std::int64_t(d));
      if (d >= 0 && d < 18446744073709551616.0) return std::hash<std::uint64_t>()(std::uint64_t(d));
    }
    return std::hash<double>()(d);
  }
  if (kind_ == Kind::Unsigned) return std::hash<std::int64_t>()(std::int64_t(value_.u));
  return std::hash<std::int64_t>()(value_.i);
}

Ref<String> Number::description() const {
  char buffer[64];
  switch (kind_) {
    case Kind::Bool:
    case Kind::Signed: return str(std::to_string(value_.i));
    case Kind::Unsigned: return str(std::to_string(value_.u));
    case Kind::Double: {
      double d = value_.d;
      if (std::isnan(d)) return str("nan");
      if (std::isinf(d)) return str(d > 0 ? "inf" : "-inf");
      auto result = std::to_chars(buffer, buffer + sizeof buffer, d);
      return str(std::string_view(buffer, std::size_t(result.ptr - buffer)));
    }
  }
  return str("");
}

ComparisonResult Number::compare(const Object& other) const {
  const auto* number = dynamic_cast<const Number*>(&other);
  if (!number) raise(ExceptionName::InvalidArgument, "-[Number compare:]: argument is not a number");
  return ComparisonResult(compareNumbers(*this, *number));
}

Ref<Null> Null::null() {
  static const Ref<Null> marker = make<Null>();
  return marker;
}

Ref<String> Null::description() const { return str("<null>"); }

}  // namespace tq
