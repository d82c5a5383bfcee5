#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/colour/ColorTestSupport.h"
#include "tq/colour/ColorTQFoundation.h"
#include "tq/colour/TQStringToNSColorTransformer.h"
#include "tq/platform/value/Number.h"

using namespace tq;
using namespace tq::TQFoundation;
using tq::testing::hasRGBA;

namespace {

Ref<Color> read(const char* text) { return colorFromStringRepresentation(*str(text)); }

std::string forms(const Ref<Color>& color) {
  return jsonStringRepresentation(*color)->utf8() + " | " + rgbCSSStringRepresentation(*color)->utf8() + " | " +
         hashLabelCSSStringRepresentation(*color)->utf8();
}

/// A colour that cannot be converted to another space (as a colour standing
/// for nothing would be).
class UnconvertibleColor : public Color {
 public:
  UnconvertibleColor() : Color(ColorSpace::CalibratedRGB, 0.2, 0.4, 0.6, 1) {}
  Ref<Color> colorUsingColorSpace(ColorSpace) const override { return nullptr; }
};

}  // namespace

TEST(ColorReaderChoice, ShortTextsAreNil) {
  EXPECT_FALSE(read(""));
  EXPECT_FALSE(read("x"));
  EXPECT_FALSE(read("#"));
}

TEST(ColorReaderChoice, HashTextsGoToTheHashReader) {
  EXPECT_TRUE(hasRGBA(read("#ff"), 1, 1, 1, 1));
  EXPECT_TRUE(hasRGBA(read("#7f"), 127 / 255.0, 127 / 255.0, 127 / 255.0, 1));
  EXPECT_FALSE(read("#fff")) << "three digits are no form";
  EXPECT_TRUE(hasRGBA(read("#FF0000"), 1, 0, 0, 1));
  EXPECT_TRUE(hasRGBA(read("#0aB0c0"), 10 / 255.0, 176 / 255.0, 192 / 255.0, 1));
  EXPECT_EQ(read("#ff0000")->colorSpace(), ColorSpace::DeviceRGB);
}

TEST(ColorReaderChoice, RGBTextsNeedTheClosingParenthesis) {
  EXPECT_TRUE(hasRGBA(read("rgb(10, 20, 30)"), 10 / 255.0, 20 / 255.0, 30 / 255.0, 1));
  EXPECT_TRUE(hasRGBA(read("rgba(10,20,30,0.5)"), 10 / 255.0, 20 / 255.0, 30 / 255.0, 0.5));
  // Without it the text is a name (no blank), or a Json form (a blank),
  // neither of which reads.
  EXPECT_FALSE(read("rgb(1,2,3"));
  EXPECT_FALSE(read("rgb(1, 2, 3"));
  EXPECT_FALSE(read("RGB(1,2,3)")) << "the prefix is matched exactly, so this is a name";
}

TEST(ColorReaderChoice, BlankSeparatedTextsAreJsonAndOthersNames) {
  EXPECT_TRUE(hasRGBA(read("255 0 0"), 1, 0, 0, 1));
  EXPECT_TRUE(hasRGBA(read("255 0 0 50"), 1, 0, 0, 0.5));
  EXPECT_FALSE(read("255 0"));
  EXPECT_FALSE(read("255,0,0")) << "no blank: a name, and no colour has it";
  EXPECT_EQ(read("Red").get(), Color::namedColor("redColor").get());
  EXPECT_EQ(read("red").get(), Color::namedColor("redColor").get());
}

TEST(ColorJsonReader, ReadsThreeOrFourIntegersSeparatedByBlanksOnly) {
  auto json = [](const char* text) { return colorFromJsonStringRepresentation(*str(text)); };
  EXPECT_TRUE(hasRGBA(json("  0   128 255  "), 0, 128 / 255.0, 1, 1));
  EXPECT_TRUE(hasRGBA(json("1 2 3 x"), 1 / 255.0, 2 / 255.0, 3 / 255.0, 1)) << "a fourth that is no number";
  EXPECT_TRUE(hasRGBA(json("300 -5 0 150"), 300 / 255.0, -5 / 255.0, 0, 1.5)) << "not clamped";
  EXPECT_FALSE(json(""));
  EXPECT_FALSE(json("1\t2\t3")) << "tabs are not skipped";
  EXPECT_FALSE(json("1 2 x 3"));
  EXPECT_EQ(json("1 2 3")->colorSpace(), ColorSpace::DeviceRGB);
}

TEST(ColorCSSReader, SkipsTheCharactersOfRGBAParenthesesCommasAndBlanks) {
  auto css = [](const char* text) { return colorFromRGBCSSStringRepresentation(*str(text)); };
  EXPECT_TRUE(hasRGBA(css("10 20 30"), 10 / 255.0, 20 / 255.0, 30 / 255.0, 1));
  EXPECT_TRUE(hasRGBA(css("rgba(1,2,3,.25)"), 1 / 255.0, 2 / 255.0, 3 / 255.0, 0.25));
  EXPECT_TRUE(hasRGBA(css("rgb(1,2,3) trailing"), 1 / 255.0, 2 / 255.0, 3 / 255.0, 1));
  EXPECT_TRUE(hasRGBA(css("rgba(1,2,3,2)"), 1 / 255.0, 2 / 255.0, 3 / 255.0, 2)) << "alpha as read";
  EXPECT_FALSE(css("rgb(1,2)"));
  EXPECT_FALSE(css("rgb(1;2;3)"));
  EXPECT_FALSE(css(""));
}

TEST(ColorHashReader, DropsTheFirstCharacterAndReadsThreeHexPairs) {
  auto hash = [](const char* text) { return colorFromHashLabelCSSStringRepresentation(*str(text)); };
  EXPECT_TRUE(hasRGBA(hash("x00ff00"), 0, 1, 0, 1)) << "any first character is dropped";
  EXPECT_TRUE(hasRGBA(hash("#0g0000"), 0, 0, 0, 1)) << "a pair reads as far as it is hexadecimal";
  EXPECT_FALSE(hash("#gg0000"));
  EXPECT_FALSE(hash("#00gg00"));
  EXPECT_FALSE(hash("#00ff0"));
  EXPECT_FALSE(hash("#00ff000"));
  EXPECT_FALSE(hash("#f"));
  EXPECT_FALSE(hash(""));
}

TEST(ColorNamedReader, LowerCasesAndAppendsColorElseTriesTheTextAsGiven) {
  auto named = [](const char* text) { return colorFromNamedColorStringRepresentation(*str(text)); };
  EXPECT_EQ(named("RED").get(), Color::namedColor("redColor").get());
  EXPECT_FALSE(named("darkGray")) << "lower-cased whole: darkgrayColor is no colour";
  EXPECT_EQ(named("darkGrayColor").get(), Color::namedColor("darkGrayColor").get());
  EXPECT_EQ(named("controlAccentColor").get(), Color::namedColor("controlAccentColor").get());
  EXPECT_EQ(named("orange").get(), Color::namedColor("orangeColor").get());
  EXPECT_FALSE(named("redColor ")) << "no trimming";
  EXPECT_FALSE(named("chartreuse"));
}

TEST(ColorWriters, TruncateTowardZero) {
  EXPECT_EQ(forms(Color::colorWithDeviceRed(0.5, 0.5, 0.5, 1)), "127 127 127 100 | rgb(127,127,127) | #7f7f7f");
  EXPECT_EQ(forms(Color::colorWithDeviceRed(0.999, 1, 0, 0.333)), "254 255 0 33 | rgb(254,255,0) | #feff00");
  EXPECT_EQ(forms(Color::colorWithCalibratedWhite(0.5, 0.5)), "127 127 127 50 | rgb(127,127,127) | #7f7f7f")
      << "converted to device RGB first";
  // 0.29 · 100 is 28.999…: an alpha of 29 read from a Json form is written
  // back as 28 (so are 57 and 58, as 56 and 57).
  EXPECT_EQ(jsonStringRepresentation(*read("255 0 0 29"))->utf8(), "255 0 0 28");
}

TEST(ColorWriters, OutOfRangeComponentsStayUnsigned) {
  EXPECT_EQ(jsonStringRepresentation(*Color::colorWithDeviceRed(300 / 255.0, -0.5, std::nan(""), 1.5))->utf8(),
            "300 0 0 150");
  EXPECT_EQ(jsonStringRepresentation(*Color::colorWithDeviceRed(std::numeric_limits<double>::infinity(), 0, 0, 1))
                ->utf8(),
            "9223372036854775807 0 0 100") << "held at what the readers read back";
  EXPECT_EQ(jsonStringRepresentation(UnconvertibleColor())->utf8(), "0 0 0 0");
}

TEST(ColorWriters, TheJsonFormReadsBackAsTheNormalisedColour) {
  for (auto color : {Color::colorWithDeviceRed(0.123, 0.456, 0.789, 0.5), Color::colorWithCalibratedWhite(0.3, 1),
                     Color::colorWithCalibratedHue(0.7, 0.4, 0.9, 0.25)}) {
    auto normalised = normalizedRGBColor(*color);
    EXPECT_EQ(normalised->colorSpace(), ColorSpace::CalibratedRGB);
    auto readBack = read(jsonStringRepresentation(*color)->utf8().c_str());
    double n[4], r[4];
    normalised->getComponents(n);
    readBack->getComponents(r);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(n[i], r[i]) << describeUTF8(color) << " component " << i;
  }
  EXPECT_TRUE(hasRGBA(normalizedRGBColor(*Color::colorWithDeviceRed(0.5, 1, 0.999, 0.337)), 127 / 255.0, 1,
                      254 / 255.0, 0.33));
}

TEST(StringToColorTransformer, ReadsTextAndWritesTheJsonForm) {
  auto transformer = make<TQStringToNSColorTransformer>();
  EXPECT_EQ(transformer->transformedValueClass(), "Color");
  EXPECT_TRUE(transformer->allowsReverseTransformation());
  EXPECT_EQ(transformer->transformedValue(str("red")).get(), Color::namedColor("redColor").get());
  EXPECT_TRUE(hasRGBA(cast<Color>(transformer->transformedValue(str("#102030"))), 16 / 255.0, 32 / 255.0,
                      48 / 255.0, 1));
  EXPECT_FALSE(transformer->transformedValue(str("no colour")));
  EXPECT_FALSE(transformer->transformedValue(num(1)));
  EXPECT_FALSE(transformer->transformedValue(nullptr));

  auto text = cast<String>(transformer->reverseTransformedValue(Color::colorWithDeviceRed(1, 0.5, 0, 0.5)));
  ASSERT_TRUE(text);
  EXPECT_EQ(text->utf8(), "255 127 0 50");
  EXPECT_FALSE(transformer->reverseTransformedValue(str("255 0 0")));
  EXPECT_FALSE(transformer->reverseTransformedValue(nullptr));
}
