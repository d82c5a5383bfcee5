#pragma once
// Shared helpers of the colour helpers' tests.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tq/platform/object/Assert.h"
#include "tq/platform/value/Color.h"
#include "tq/platform/value/String.h"

namespace tq::testing {

inline constexpr double kColorTolerance = 1e-9;

/// The colour's red, green, blue and alpha in device RGB, compared at once.
inline ::testing::AssertionResult hasRGBA(const Ref<Color>& color, double red, double green, double blue,
                                          double alpha) {
  if (!color) return ::testing::AssertionFailure() << "nil colour";
  auto device = color->colorUsingColorSpace(ColorSpace::DeviceRGB);
  double c[4];
  device->getComponents(c);
  const double expected[4] = {red, green, blue, alpha};
  for (int i = 0; i < 4; ++i) {
    if (std::abs(c[i] - expected[i]) > kColorTolerance) {
      return ::testing::AssertionFailure() << describeUTF8(color) << " is not " << red << " " << green << " "
                                           << blue << " " << alpha;
    }
  }
  return ::testing::AssertionSuccess();
}

/// The colour's hue, saturation, brightness and alpha, compared at once.
inline ::testing::AssertionResult hasHSBA(const Ref<Color>& color, double hue, double saturation,
                                          double brightness, double alpha) {
  if (!color) return ::testing::AssertionFailure() << "nil colour";
  double h, s, b, a;
  color->getHue(&h, &s, &b, &a);
  const double got[4] = {h, s, b, a}, expected[4] = {hue, saturation, brightness, alpha};
  for (int i = 0; i < 4; ++i) {
    if (std::abs(got[i] - expected[i]) > kColorTolerance) {
      return ::testing::AssertionFailure() << "HSBA " << h << " " << s << " " << b << " " << a << " is not "
                                           << hue << " " << saturation << " " << brightness << " " << alpha;
    }
  }
  return ::testing::AssertionSuccess();
}

/// Records assertion failures instead of raising them, for the test's
/// duration: the code under test then goes on as it does with assertions
/// compiled out.
class RecordedAssertions {
 public:
  RecordedAssertions() {
    previous_ = setAssertionHandler([this](const AssertionFailure& failure) { failures.push_back(failure); });
  }
  ~RecordedAssertions() { setAssertionHandler(previous_); }
  std::vector<AssertionFailure> failures;

 private:
  AssertionHandler previous_;
};

}  // namespace tq::testing

#if defined(TQ_BLOCK_ASSERTIONS) && TQ_BLOCK_ASSERTIONS
#define TQ_ASSERTIONS_COMPILED_IN false
#else
#define TQ_ASSERTIONS_COMPILED_IN true
#endif
