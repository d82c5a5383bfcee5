#pragma once
// Shared helpers of the colour helpers' tests.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/support/RecordedAssertions.h"
#include "tq/platform/value/Color.h"
#include "tq/platform/value/String.h"

namespace tq::testing {

inline constexpr double kColorTolerance = 1e-9;

/// Four components against four expected values, within the tolerance.
inline ::testing::AssertionResult componentsNear(const char* form, const double (&got)[4],
                                                 const double (&expected)[4]) {
  for (int i = 0; i < 4; ++i) {
    if (std::abs(got[i] - expected[i]) > kColorTolerance) {
      return ::testing::AssertionFailure()
             << form << " " << got[0] << " " << got[1] << " " << got[2] << " " << got[3] << " is not " << expected[0]
             << " " << expected[1] << " " << expected[2] << " " << expected[3];
    }
  }
  return ::testing::AssertionSuccess();
}

/// The colour's red, green, blue and alpha in device RGB, compared at once.
inline ::testing::AssertionResult hasRGBA(const Ref<Color>& color, double red, double green, double blue,
                                          double alpha) {
  if (!color) return ::testing::AssertionFailure() << "nil colour";
  double c[4];
  color->colorUsingColorSpace(ColorSpace::DeviceRGB)->getComponents(c);
  return componentsNear("RGBA", c, {red, green, blue, alpha});
}

/// The colour's hue, saturation, brightness and alpha, compared at once.
inline ::testing::AssertionResult hasHSBA(const Ref<Color>& color, double hue, double saturation, double brightness,
                                          double alpha) {
  if (!color) return ::testing::AssertionFailure() << "nil colour";
  double c[4];
  color->getHue(&c[0], &c[1], &c[2], &c[3]);
  return componentsNear("HSBA", c, {hue, saturation, brightness, alpha});
}

/// A colour that cannot be converted to another space (as a colour standing
/// for nothing would be).
class UnconvertibleColor : public Color {
 public:
  explicit UnconvertibleColor(double alpha = 1) : Color(ColorSpace::CalibratedRGB, 0.2, 0.4, 0.6, alpha) {}
  Ref<Color> colorUsingColorSpace(ColorSpace) const override { return nullptr; }
};

}  // namespace tq::testing

#if defined(TQ_BLOCK_ASSERTIONS) && TQ_BLOCK_ASSERTIONS
#define TQ_ASSERTIONS_COMPILED_IN false
#else
#define TQ_ASSERTIONS_COMPILED_IN true
#endif
