#pragma once
// Stores colours as text: forward, a text form to a colour; reverse, a colour
// to its Json form. The settings layer and bindings use it for colour values.

#include "tq/platform/value/ValueTransformer.h"

namespace tq {

class TQStringToNSColorTransformer : public ValueTransformer {
 public:
  std::string className() const override { return "TQStringToNSColorTransformer"; }

  /// "Color".
  std::string transformedValueClass() const override;
  bool allowsReverseTransformation() const override { return true; }
  /// `colorFromStringRepresentation` of a string; nil for nil or any value
  /// that is not a string.
  Id transformedValue(const Id& value) const override;
  /// `jsonStringRepresentation` of a colour; nil for nil or any value that is
  /// not a colour.
  Id reverseTransformedValue(const Id& value) const override;
};

}  // namespace tq
