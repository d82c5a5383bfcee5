#include "tq/platform/value/Color.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/support/RaisedException.h"
#include "tq/platform/system/Appearance.h"
#include "tq/platform/value/String.h"

using namespace tq;
using tq::testing::raisedBy;

namespace {

constexpr double kTolerance = 1e-12;

void expectRGBA(const Color& color, double red, double green, double blue, double alpha) {
  EXPECT_NEAR(color.redComponent(), red, kTolerance) << describeUTF8(&color);
  EXPECT_NEAR(color.greenComponent(), green, kTolerance) << describeUTF8(&color);
  EXPECT_NEAR(color.blueComponent(), blue, kTolerance) << describeUTF8(&color);
  EXPECT_NEAR(color.alphaComponent(), alpha, kTolerance) << describeUTF8(&color);
}

void expectHSB(const Color& color, double hue, double saturation, double brightness) {
  EXPECT_NEAR(color.hueComponent(), hue, kTolerance) << describeUTF8(&color);
  EXPECT_NEAR(color.saturationComponent(), saturation, kTolerance) << describeUTF8(&color);
  EXPECT_NEAR(color.brightnessComponent(), brightness, kTolerance) << describeUTF8(&color);
}

}  // namespace

TEST(ColorSpaces, ReadersAnswerOnlyInTheirSpaceAndWorkAfterConversion) {
  auto grey = Color::colorWithCalibratedWhite(0.25, 0.5);
  EXPECT_EQ(grey->colorSpace(), ColorSpace::CalibratedWhite);
  EXPECT_EQ(grey->whiteComponent(), 0.25);
  EXPECT_EQ(grey->alphaComponent(), 0.5);
  Exception e = raisedBy([&] { grey->redComponent(); });
  EXPECT_EQ(e.name(), ExceptionName::InvalidArgument);
  EXPECT_NE(e.reason().find("redComponent"), std::string::npos) << e.reason();
  EXPECT_EQ(raisedBy([&] { grey->hueComponent(); }).name(), ExceptionName::InvalidArgument);

  auto rgb = grey->colorUsingColorSpace(ColorSpace::DeviceRGB);
  ASSERT_TRUE(rgb);
  EXPECT_EQ(rgb->colorSpace(), ColorSpace::DeviceRGB);
  expectRGBA(*rgb, 0.25, 0.25, 0.25, 0.5);
  EXPECT_EQ(raisedBy([&] { rgb->whiteComponent(); }).name(), ExceptionName::InvalidArgument);
}

TEST(ColorSpaces, ConversionKeepsComponentsBetweenRGBSpacesAndTakesTheLumaToWhite) {
  auto device = Color::colorWithDeviceRed(0.1, 0.2, 0.3, 0.4);
  EXPECT_EQ(device->colorUsingColorSpace(ColorSpace::DeviceRGB).get(), device.get()) << "already in that space";
  auto calibrated = device->colorUsingColorSpace(ColorSpace::CalibratedRGB);
  EXPECT_EQ(calibrated->colorSpace(), ColorSpace::CalibratedRGB);
  expectRGBA(*calibrated, 0.1, 0.2, 0.3, 0.4);

  auto green = Color::colorWithCalibratedRed(0, 1, 0, 1)->colorUsingColorSpace(ColorSpace::DeviceWhite);
  EXPECT_EQ(green->colorSpace(), ColorSpace::DeviceWhite);
  EXPECT_NEAR(green->whiteComponent(), 0.7152, kTolerance);
  EXPECT_EQ(green->numberOfComponents(), 2u);
  // Components are not clamped.
  auto extended = Color::colorWithDeviceRed(300.0 / 255.0, -0.5, 0, 1.5);
  expectRGBA(*extended, 300.0 / 255.0, -0.5, 0, 1.5);
}

TEST(ColorHSB, HexconeConstructionGivesTheSectorColours) {
  expectRGBA(*Color::colorWithCalibratedHue(0, 1, 1, 1), 1, 0, 0, 1);
  expectRGBA(*Color::colorWithCalibratedHue(1.0 / 3.0, 1, 1, 1), 0, 1, 0, 1);
  expectRGBA(*Color::colorWithCalibratedHue(2.0 / 3.0, 1, 1, 0.5), 0, 0, 1, 0.5);
  expectRGBA(*Color::colorWithDeviceHue(0.5, 0.5, 0.8, 1), 0.4, 0.8, 0.8, 1);
  expectRGBA(*Color::colorWithCalibratedHue(0.25, 1, 1, 1), 0.5, 1, 0, 1);
  expectRGBA(*Color::colorWithCalibratedHue(1.25, 1, 1, 1), 0.5, 1, 0, 1);  // the hue turns around
  expectRGBA(*Color::colorWithCalibratedHue(-0.75, 1, 1, 1), 0.5, 1, 0, 1);
  EXPECT_EQ(Color::colorWithDeviceHue(0, 0, 0, 1)->colorSpace(), ColorSpace::DeviceRGB);
  EXPECT_EQ(Color::colorWithCalibratedHue(0, 0, 0, 1)->colorSpace(), ColorSpace::CalibratedRGB);
}

TEST(ColorHSB, ColoursMadeFromHSBAnswerTheValuesGivenAndKeepRGBInRange) {
  auto oversaturated = Color::colorWithCalibratedHue(2.0 / 3.0, 1.38, 0.5, 1);
  expectHSB(*oversaturated, 2.0 / 3.0, 1.38, 0.5);
  expectRGBA(*oversaturated, 0, 0, 0.5, 1);
  // A grey made from a hue still remembers it, through a conversion too.
  auto grey = Color::colorWithCalibratedHue(0.3, 0, 0.6, 1);
  expectHSB(*grey->colorUsingColorSpace(ColorSpace::DeviceRGB), 0.3, 0, 0.6);
}

TEST(ColorHSB, RGBColoursAnswerTheirHexconeValues) {
  expectHSB(*Color::colorWithDeviceRed(0.4, 0.8, 0.8, 1), 0.5, 0.5, 0.8);
  expectHSB(*Color::colorWithDeviceRed(0.8, 0.4, 0.2, 1), 1.0 / 18.0, 0.75, 0.8);
  expectHSB(*Color::colorWithDeviceRed(0.8, 0.2, 0.4, 1), 1 - 1.0 / 18.0, 0.75, 0.8);  // just below one turn
  expectHSB(*Color::colorWithDeviceRed(0.3, 0.3, 0.3, 1), 0, 0, 0.3);
  expectHSB(*Color::colorWithDeviceRed(0, 0, 0, 1), 0, 0, 0);
}

TEST(ColorObject, EqualityAndDescriptionAreBySpaceAndComponents) {
  auto a = Color::colorWithDeviceRed(0.1, 0.2, 0.3, 1);
  auto b = Color::colorWithDeviceRed(0.1, 0.2, 0.3, 1);
  EXPECT_TRUE(a->isEqual(*b));
  EXPECT_EQ(a->hash(), b->hash());
  EXPECT_FALSE(a->isEqual(*Color::colorWithCalibratedRed(0.1, 0.2, 0.3, 1))) << "another space";
  EXPECT_FALSE(a->isEqual(*Color::colorWithDeviceRed(0.1, 0.2, 0.3, 0.9)));
  EXPECT_FALSE(a->isEqual(*str("DeviceRGB 0.1 0.2 0.3 1")));

  auto zero = Color::colorWithDeviceWhite(0.0, 1), negativeZero = Color::colorWithDeviceWhite(-0.0, 1);
  EXPECT_TRUE(zero->isEqual(*negativeZero));
  EXPECT_EQ(zero->hash(), negativeZero->hash());
  auto notANumber = Color::colorWithDeviceWhite(std::nan(""), 1);
  EXPECT_TRUE(notANumber->isEqual(*Color::colorWithDeviceWhite(std::nan(""), 1)));
  EXPECT_EQ(a->copy().get(), a.get()) << "colours are immutable";

  EXPECT_EQ(describeUTF8(Color::colorWithCalibratedRed(1, 0, 0.5, 1)), "CalibratedRGB 1 0 0.5 1");
  EXPECT_EQ(describeUTF8(Color::colorWithDeviceWhite(0.5, 0.25)), "DeviceWhite 0.5 0.25");
}

TEST(NamedColors, StandardColoursHaveTheirComponentValues) {
  struct Expected {
    const char* name;
    double red, green, blue, alpha;
  };
  const Expected table[] = {
      {"blackColor", 0, 0, 0, 1},      {"blueColor", 0, 0, 1, 1},     {"brownColor", 0.6, 0.4, 0.2, 1},
      {"clearColor", 0, 0, 0, 0},      {"cyanColor", 0, 1, 1, 1},     {"darkGrayColor", 1. / 3, 1. / 3, 1. / 3, 1},
      {"grayColor", 0.5, 0.5, 0.5, 1}, {"greenColor", 0, 1, 0, 1},    {"lightGrayColor", 2. / 3, 2. / 3, 2. / 3, 1},
      {"magentaColor", 1, 0, 1, 1},    {"orangeColor", 1, 0.5, 0, 1}, {"purpleColor", 0.5, 0, 0.5, 1},
      {"redColor", 1, 0, 0, 1},        {"whiteColor", 1, 1, 1, 1},    {"yellowColor", 1, 1, 0, 1},
  };
  for (const auto& expected : table) {
    auto color = Color::namedColor(expected.name);
    ASSERT_TRUE(color) << expected.name;
    expectRGBA(*color->colorUsingColorSpace(ColorSpace::CalibratedRGB), expected.red, expected.green, expected.blue,
               expected.alpha);
  }
  EXPECT_EQ(Color::namedColor("grayColor")->colorSpace(), ColorSpace::CalibratedWhite);
  EXPECT_EQ(Color::namedColor("orangeColor")->colorSpace(), ColorSpace::CalibratedRGB);
}

TEST(NamedColors, NamesAreExactMethodNames) {
  for (const char* near : {"red", "RedColor", "darkgrayColor", "", "redColor "})
    EXPECT_FALSE(Color::namedColor(near)) << "'" << near << "'";
  EXPECT_EQ(Color::namedColor("redColor").get(), Color::namedColor("redColor").get()) << "one shared object";
  auto names = Color::namedColorNames();
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
  for (const auto& name : names) EXPECT_TRUE(Color::namedColor(name)) << name;
  EXPECT_NE(std::find(names.begin(), names.end(), "controlAccentColor"), names.end());
}

TEST(NamedColors, SystemColoursFollowTheAppearanceAtEachCall) {
  Ref<Color> light, dark;
  {
    ScopedAppearance scoped(FixedAppearance::light());
    light = Color::namedColor("controlAccentColor");
  }
  {
    ScopedAppearance scoped(FixedAppearance::dark());
    dark = Color::namedColor("controlAccentColor");
    EXPECT_EQ(Color::namedColor("redColor").get(), Color::namedColor("redColor").get());
    EXPECT_NEAR(Color::namedColor("textColor")->whiteComponent(), 1, kTolerance);
  }
  ASSERT_TRUE(light && dark);
  EXPECT_FALSE(light->isEqual(*dark));
  expectRGBA(*light, 0, 0.478, 1, 1);
  expectRGBA(*dark, 0.039, 0.518, 1, 1);
}
