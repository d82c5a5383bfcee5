#include <gtest/gtest.h>

#include <cmath>

#include "tests/colour/ColorTestSupport.h"
#include "tests/support/RaisedException.h"
#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/system/Appearance.h"

using namespace tq;
using namespace tq::TQFoundation;
using tq::testing::hasHSBA;
using tq::testing::hasRGBA;
using tq::testing::raisedBy;
using tq::testing::RecordedAssertions;
using tq::testing::UnconvertibleColor;

namespace {

// Device RGB 0.8, 0.4, 0.2 at alpha 0.6: hue 1/18, saturation 0.75,
// brightness 0.8, lightness 0.3·0.8 + 0.5·0.4 + 0.2·0.2 = 0.48, so
// 1.35 − L = 0.87.
Ref<Color> terracotta() { return Color::colorWithDeviceRed(0.8, 0.4, 0.2, 0.6); }
constexpr double kHue = 1.0 / 18.0;

}  // namespace

TEST(ColorShadeFormulas, MatchHandComputedValues) {
  auto color = terracotta();
  EXPECT_TRUE(hasHSBA(paleShade(*color), kHue, 0.75 * 0.4 * 0.87, 0.8 + 0.2 * 0.67, 0.6));
  EXPECT_TRUE(hasHSBA(paleShadeByFactor(*color, 0.5), kHue, 0.75 * 0.5 * 0.87, 0.9, 0.6));
  EXPECT_TRUE(hasHSBA(paleShadeByFactor(*color, 0.9), kHue, 0.75 * 0.9 * 0.87, 0.82, 0.6))
      << "a larger factor keeps more saturation and adds less brightness";
  EXPECT_TRUE(hasHSBA(relativeHighlightWithLevel(*color, 0.9), kHue, 0.75 * 0.4 * 0.87, 0.98, 0.6))
      << "a larger level adds more brightness";
  EXPECT_TRUE(hasHSBA(darkShade(*color), kHue, 0.75 * 1.2 * 0.87, 0.16, 0.6));
  EXPECT_TRUE(hasHSBA(relativeShadeWithLevel(*color, 0.5), kHue, 1.0, 0.4, 0.6)) << "0.75·2.4·0.87 clamped to 1";
  EXPECT_TRUE(hasHSBA(relativeShadeWithLevel(*color, 0.1), kHue, 1.0, 0.72, 0.6));
  EXPECT_EQ(paleShade(*color)->colorSpace(), ColorSpace::CalibratedRGB);
}

TEST(ColorShadeFormulas, DarkShadeSaturationIsNotClamped) {
  auto blue = Color::colorWithDeviceRed(0, 0, 1, 1);  // L = 0.2
  EXPECT_TRUE(hasHSBA(darkShade(*blue), 2.0 / 3.0, 1.2 * 1.15, 0.2, 1));
  EXPECT_TRUE(hasHSBA(relativeShadeWithLevel(*blue, 0), 2.0 / 3.0, 1.0, 1.0, 1));
}

TEST(ColorShadeFormulas, BrightnessIsHeldWithinRange) {
  auto white = Color::colorWithCalibratedWhite(1, 1);  // brightness 1, L = 1
  EXPECT_TRUE(hasHSBA(paleShadeByFactor(*white, 0), 0, 0, 1, 1));
  EXPECT_TRUE(hasHSBA(relativeHighlightWithLevel(*white, 1), 0, 0, 1, 1));
  EXPECT_TRUE(hasHSBA(relativeShadeWithLevel(*white, 1), 0, 0, 0, 1));
}

TEST(ColorShadeFormulas, ColoursThatCannotBeConvertedAreShadedAsOpaqueWhite) {
  const UnconvertibleColor color(0.5);
  EXPECT_TRUE(hasHSBA(paleShade(color), 0, 0, 1, 1));
  EXPECT_TRUE(hasHSBA(paleShadeByFactor(color, 0.3), 0, 0, 1, 1));
  EXPECT_TRUE(hasHSBA(darkShade(color), 0, 0, 0.2, 1));
  EXPECT_TRUE(hasHSBA(relativeShadeWithLevel(color, 0.25), 0, 0, 0.75, 1));
}

TEST(ColorShadeCache, PerColourShadesAreMadeOnce) {
  auto color = terracotta();
  auto pale = paleShade(*color);
  EXPECT_EQ(paleShade(*color).get(), pale.get());
  auto dark = darkShade(*color);
  EXPECT_EQ(darkShade(*color).get(), dark.get());
  EXPECT_NE(pale.get(), dark.get());
  EXPECT_NE(relativeHighlightWithLevel(*color, 0.4).get(), relativeHighlightWithLevel(*color, 0.4).get());
  EXPECT_NE(relativeShadeWithLevel(*color, 0.4).get(), relativeShadeWithLevel(*color, 0.4).get());

  auto twin = terracotta();
  EXPECT_NE(paleShade(*twin).get(), pale.get()) << "kept per object, not per value";
  EXPECT_TRUE(paleShade(*twin)->isEqual(*pale));
}

TEST(ColorShadeCache, FactorsEqualToFourDecimalsShareOneShade) {
  auto color = terracotta();
  auto half = paleShadeByFactor(*color, 0.5);
  EXPECT_EQ(paleShadeByFactor(*color, 0.50004).get(), half.get());
  EXPECT_EQ(paleShadeByFactor(*color, 0.5).get(), half.get());
  auto next = paleShadeByFactor(*color, 0.5001);
  EXPECT_NE(next.get(), half.get());
  EXPECT_TRUE(hasHSBA(next, kHue, 0.75 * 0.5001 * 0.87, 0.8 + 0.4999 * 0.2, 0.6));
  EXPECT_NE(paleShadeByFactor(*color, 0.4).get(), paleShade(*color).get()) << "the plain pale shade is its own";
  // The first factor to reach a key decides the shade kept under it.
  auto other = terracotta();
  auto first = paleShadeByFactor(*other, 0.30004);
  EXPECT_TRUE(hasHSBA(paleShadeByFactor(*other, 0.3), kHue, 0.75 * 0.30004 * 0.87, 0.8 + 0.69996 * 0.2, 0.6));
  EXPECT_EQ(paleShadeByFactor(*other, 0.3).get(), first.get());
}

TEST(ColorShadeAssertions, OutOfRangeValuesAreReportedAtTheirFixedPlaces) {
  TQ_REQUIRE_ASSERTIONS();
  auto color = terracotta();
  RecordedAssertions recorded;
  relativeHighlightWithLevel(*color, 1.5);
  paleShadeByFactor(*color, -0.1);
  relativeShadeWithLevel(*color, std::nan(""));
  paleShadeByFactor(*color, 1.0);
  relativeShadeWithLevel(*color, 0.0);
  ASSERT_EQ(recorded.failures.size(), 3u) << "0 and 1 are in range";
  const std::pair<int, const char*> places[] = {{248, "Level must be >=0 and <= 1.0"},
                                                {269, "Factor must be between 0.0 and 1.0"},
                                                {329, "Level must be >=0 and <= 1.0"}};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(recorded.failures[i].file, "NSColor+TQFoundation") << i;
    EXPECT_EQ(recorded.failures[i].line, places[i].first) << i;
    EXPECT_EQ(recorded.failures[i].description, places[i].second) << i;
  }
}

TEST(ColorShadeAssertions, TheDefaultHandlerRaisesAndNothingIsKept) {
  TQ_REQUIRE_ASSERTIONS();
  auto color = terracotta();
  Exception e = raisedBy([&] { paleShadeByFactor(*color, 2); });
  EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency);
  EXPECT_EQ(e.reason(), "Factor must be between 0.0 and 1.0");
  EXPECT_EQ(raisedBy([&] { relativeShadeWithLevel(*color, -1); }).reason(), "Level must be >=0 and <= 1.0");
}

TEST(ColorShadeAssertions, WhenExecutionGoesOnTheValueIsUsedAsGiven) {
  auto color = terracotta();
  RecordedAssertions recorded;  // the handler returns, as with assertions compiled out
  EXPECT_TRUE(hasHSBA(paleShadeByFactor(*color, 1.5), kHue, 0.75 * 1.5 * 0.87, 0.7, 0.6));
  EXPECT_TRUE(hasHSBA(relativeHighlightWithLevel(*color, -1), kHue, 0.75 * 0.4 * 0.87, 0.6, 0.6));
  EXPECT_TRUE(hasHSBA(relativeShadeWithLevel(*color, 2), kHue, 1.0, 0.0, 0.6));
  EXPECT_EQ(recorded.failures.size(), TQ_ASSERTIONS_COMPILED_IN ? 3u : 0u);
}

TEST(ColorAppearance, DarkModeAndTheAccentColourFollowTheAppearance) {
  {
    ScopedAppearance dark(FixedAppearance::dark());
    EXPECT_TRUE(isDarkMode());
    EXPECT_TRUE(isDarkMode(*terracotta()));
    EXPECT_TRUE(hasRGBA(TQcontrolAccentColor(), 0.039, 0.518, 1, 1));
  }
  ScopedAppearance light(FixedAppearance::light());
  EXPECT_FALSE(isDarkMode());
  EXPECT_TRUE(hasRGBA(TQcontrolAccentColor(), 0, 0.478, 1, 1));
}
