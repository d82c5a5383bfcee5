#pragma once
// Value transformers: objects that turn a value of one kind into another (a
// stored text into a colour, a date into text) and, when allowed, back. The
// library's transformers subclass this; hosts can register them by name.

#include <string>
#include <vector>

#include "tq/platform/object/Object.h"

namespace tq {

class ValueTransformer : public Object {
 public:
  std::string className() const override { return "ValueTransformer"; }

  /// The class name of what `transformedValue` answers ("Object" unless a
  /// subclass says better).
  virtual std::string transformedValueClass() const { return "Object"; }
  /// Whether `reverseTransformedValue` may be used; true unless a subclass
  /// says otherwise.
  virtual bool allowsReverseTransformation() const { return true; }
  /// The value transformed; the value itself unless a subclass says better.
  virtual Id transformedValue(const Id& value) const { return value; }
  /// The reverse transformation. By default `transformedValue(value)`, or the
  /// invalid-argument failure when the transformer does not allow reversing.
  virtual Id reverseTransformedValue(const Id& value) const;

  /// Registers a transformer under `name` (nil removes the registration).
  static void setValueTransformerForName(Ref<ValueTransformer> transformer, const std::string& name);
  /// The transformer registered under `name`, nil if none.
  static Ref<ValueTransformer> valueTransformerForName(const std::string& name);
  /// The registered names, in the order they were first registered.
  static std::vector<std::string> valueTransformerNames();
};

}  // namespace tq
