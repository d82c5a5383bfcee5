#pragma once
// Boxed numbers: signed and unsigned 64-bit integers, doubles and booleans,
// equal across kinds when their values are equal (1, 1u, 1.0 and YES).

#include <cstdint>

#include "tq/platform/object/Object.h"
#include "tq/platform/object/Comparable.h"

namespace tq {

class Number : public Object, public Comparable {
 public:
  enum class Kind { Bool, Signed, Unsigned, Double };

  explicit Number(bool value) : kind_(Kind::Bool) { value_.i = value; }
  explicit Number(std::int64_t value) : kind_(Kind::Signed) { value_.i = value; }
  explicit Number(std::uint64_t value) : kind_(Kind::Unsigned) { value_.u = value; }
  explicit Number(double value) : kind_(Kind::Double) { value_.d = value; }
  explicit Number(int value) : Number(std::int64_t(value)) {}
  explicit Number(unsigned value) : Number(std::uint64_t(value)) {}
  explicit Number(long long value) : Number(std::int64_t(value)) {}
  explicit Number(unsigned long long value) : Number(std::uint64_t(value)) {}

  static Ref<Number> numberWithBool(bool value);
  static Ref<Number> numberWithInteger(std::int64_t value) { return make<Number>(value); }
  static Ref<Number> numberWithUnsignedInteger(std::uint64_t value) { return make<Number>(value); }
  static Ref<Number> numberWithDouble(double value) { return make<Number>(value); }

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  /// Integers in decimal, doubles in their shortest exact form, booleans as
  /// "1"/"0".
  Ref<String> description() const override;
  std::string className() const override { return "Number"; }
  Id copy() const override { return self(); }
  ComparisonResult compare(const Object& other) const override;

  Kind kind() const { return kind_; }
  bool isBool() const { return kind_ == Kind::Bool; }
  bool isInteger() const { return kind_ == Kind::Signed || kind_ == Kind::Unsigned || kind_ == Kind::Bool; }
  bool boolValue() const;
  std::int64_t integerValue() const;
  std::uint64_t unsignedIntegerValue() const;
  double doubleValue() const;
  int intValue() const { return int(integerValue()); }
  Ref<String> stringValue() const { return description(); }
  bool isEqualToNumber(const Number& other) const { return compareNumbers(*this, other) == 0; }

  /// -1, 0, 1 by exact value across kinds (NaN orders below everything).
  static int compareNumbers(const Number& a, const Number& b);

 private:
  Kind kind_;
  union {
    std::int64_t i;
    std::uint64_t u;
    double d;
  } value_;
};

inline Ref<Number> num(int value) { return make<Number>(std::int64_t(value)); }
inline Ref<Number> num(long value) { return make<Number>(std::int64_t(value)); }
inline Ref<Number> num(long long value) { return make<Number>(std::int64_t(value)); }
inline Ref<Number> num(unsigned value) { return make<Number>(std::uint64_t(value)); }
inline Ref<Number> num(unsigned long value) { return make<Number>(std::uint64_t(value)); }
inline Ref<Number> num(unsigned long long value) { return make<Number>(std::uint64_t(value)); }
inline Ref<Number> num(double value) { return make<Number>(value); }
inline Ref<Number> num(bool value) { return Number::numberWithBool(value); }

/// The null marker: an object that stands for "no value" inside collections.
class Null : public Object {
 public:
  static Ref<Null> null();
  bool isEqual(const Object& other) const override { return dynamic_cast<const Null*>(&other) != nullptr; }
  std::size_t hash() const override { return 0x6e756c6c; }
  Ref<String> description() const override;
  std::string className() const override { return "Null"; }
  Id copy() const override { return self(); }
};

}  // namespace tq
