#include "tq/colour/TQStringToNSColorTransformer.h"

#include "tq/colour/ColorTQFoundation.h"

namespace tq {

std::string TQStringToNSColorTransformer::transformedValueClass() const { return "Color"; }

Id TQStringToNSColorTransformer::transformedValue(const Id& value) const {
  auto text = cast<String>(value);
  if (!text) return nullptr;
  return TQFoundation::colorFromStringRepresentation(*text);
}

Id TQStringToNSColorTransformer::reverseTransformedValue(const Id& value) const {
  auto color = cast<Color>(value);
  if (!color) return nullptr;
  return TQFoundation::jsonStringRepresentation(*color);
}

}  // namespace tq
