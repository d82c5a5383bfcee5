// Pale and dark shades of a colour by a luminance-weighted formula, and the
// caches that keep the per-colour shades with the colour they came from.

#include <algorithm>
#include <cmath>
#include <string>

#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/value/Format.h"

namespace tq::TQFoundation {

namespace {

/// What every shade formula starts from.
struct ShadeBasis {
  double hue, saturation, brightness, alpha;
  double lightness;  // 0.3 R + 0.5 G + 0.2 B
};

ShadeBasis basisOf(const Color& color) {
  Ref<Color> device = color.colorUsingColorSpace(ColorSpace::DeviceRGB);
  // A colour that cannot be converted is shaded as opaque white. (The factor
  // form starts from calibrated white instead, whose components are the
  // same, so one fallback serves both.)
  if (!device) device = Color::colorWithDeviceRed(1, 1, 1, 1);
  ShadeBasis basis{};
  device->getHue(&basis.hue, &basis.saturation, &basis.brightness, &basis.alpha);
  basis.lightness =
      0.3 * device->redComponent() + 0.5 * device->greenComponent() + 0.2 * device->blueComponent();
  return basis;
}

Ref<Color> shadeOf(const ShadeBasis& basis, double saturation, double brightness) {
  return Color::colorWithCalibratedHue(basis.hue, saturation, brightness, basis.alpha);
}

/// The shade kept with `color` under `key`, made by `makeShade` the first
/// time. Two threads asking at once may both make one; both get the one kept.
template <class MakeShade>
Ref<Color> keptShade(const Color& color, const std::string& key, MakeShade makeShade) {
  if (Id kept = color.associatedObjects().objectForKey(key)) return std::static_pointer_cast<Color>(kept);
  return std::static_pointer_cast<Color>(color.associatedObjects().objectForKeyOrStore(key, makeShade()));
}

bool isUnitValue(double value) { return value >= 0.0 && value <= 1.0; }

const std::string kPaleShadeKey = std::string(LibraryDomainPrefix) + ".paleShade";
const std::string kDarkShadeKey = std::string(LibraryDomainPrefix) + ".darkShade";

}  // namespace

Ref<Color> paleShade(const Color& color) {
  return keptShade(color, kPaleShadeKey, [&] {
    const ShadeBasis basis = basisOf(color);
    const double b = basis.brightness;
    return shadeOf(basis, basis.saturation * 0.4 * (1.35 - basis.lightness), std::min(1.0, b + (1 - b) * 0.67));
  });
}

Ref<Color> paleShadeByFactor(const Color& color, double factor) {
  TQ_ASSERT_PLACE(isUnitValue(factor), AssertionPlaces::ColorPaleShadeFactorOutOfRange,
                  "Factor must be between 0.0 and 1.0");
  // Factors equal to four decimals share one result.
  const std::string key = formatUTF8("%spaleshade-%0.4f", LibraryDomainPrefix, factor);
  return keptShade(color, key, [&] {
    const ShadeBasis basis = basisOf(color);
    const double b = basis.brightness;
    return shadeOf(basis, basis.saturation * factor * (1.35 - basis.lightness),
                   std::min(1.0, b + (1 - factor) * (1 - b)));
  });
}

Ref<Color> relativeHighlightWithLevel(const Color& color, double level) {
  TQ_ASSERT_PLACE(isUnitValue(level), AssertionPlaces::ColorHighlightLevelOutOfRange,
                  "Level must be >=0 and <= 1.0");
  const ShadeBasis basis = basisOf(color);
  const double b = basis.brightness;
  return shadeOf(basis, basis.saturation * 0.4 * (1.35 - basis.lightness), std::min(1.0, b + (1 - b) * level));
}

Ref<Color> darkShade(const Color& color) {
  return keptShade(color, kDarkShadeKey, [&] {
    const ShadeBasis basis = basisOf(color);
    // The saturation is deliberately not clamped here, unlike the shade by
    // level: it can exceed 1 for saturated dark colours.
    return shadeOf(basis, basis.saturation * 1.2 * (1.35 - basis.lightness), std::max(0.0, 0.2 * basis.brightness));
  });
}

Ref<Color> relativeShadeWithLevel(const Color& color, double level) {
  TQ_ASSERT_PLACE(isUnitValue(level), AssertionPlaces::ColorShadeLevelOutOfRange, "Level must be >=0 and <= 1.0");
  const ShadeBasis basis = basisOf(color);
  return shadeOf(basis, std::min(1.0, basis.saturation * 2.4 * (1.35 - basis.lightness)),
                 std::max(0.0, (1 - level) * basis.brightness));
}

}  // namespace tq::TQFoundation
