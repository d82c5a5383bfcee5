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
using tq::testing::UnconvertibleColor;

namespace {

Ref<Color> read(const char* text) { return colorFromStringRepresentation(*str(text)); }

std::string forms(const Ref<Color>& color) {
  return jsonStringRepresentation(*color)->utf8() + " | " + rgbCSSStringRepresentation(*color)->utf8() + " | " +
         hashLabelCSSStringRepresentation(*color)->utf8();
}

}  // namespace

// Each reader on the texts that pick its branches; components in 0-255, the
// alpha as read. The chooser (colorFromStringRepresentation) sends short
// texts to nothing, "#" to the hash reader, "rgb(" with its ")" to the CSS
// reader, texts with a blank to the Json reader, and the rest to the names.
TEST(ColorReaders, ReadWhatTheirFormAllowsAndNothingElse) {
  using Reader = Ref<Color> (*)(const String&);
  const Reader any = colorFromStringRepresentation, json = colorFromJsonStringRepresentation,
               css = colorFromRGBCSSStringRepresentation, hash = colorFromHashLabelCSSStringRepresentation;
  struct Row {
    Reader reader;
    const char* text;
    bool reads;
    double red, green, blue, alpha;
  };
  const Row rows[] = {
      {any, "", false},
      {any, "x", false},
      {any, "#", false},
      {any, "#ff", true, 255, 255, 255, 1},
      {any, "#7f", true, 127, 127, 127, 1},
      {any, "#fff", false},  // three digits are no form
      {any, "#FF0000", true, 255, 0, 0, 1},
      {any, "#0aB0c0", true, 10, 176, 192, 1},
      {any, "rgb(10, 20, 30)", true, 10, 20, 30, 1},
      {any, "rgba(10,20,30,0.5)", true, 10, 20, 30, 0.5},
      // Without ")" the text is a name (no blank) or a Json form (a blank), neither of which reads.
      {any, "rgb(1,2,3", false},
      {any, "rgb(1, 2, 3", false},
      {any, "RGB(1,2,3)", false},  // the prefix is matched exactly, so this is a name
      {any, "255 0 0", true, 255, 0, 0, 1},
      {any, "255 0 0 50", true, 255, 0, 0, 0.5},
      {any, "255 0", false},
      {any, "255,0,0", false},  // no blank: a name, and no colour has it
      {json, "  0   128 255  ", true, 0, 128, 255, 1},
      {json, "1 2 3 x", true, 1, 2, 3, 1},            // a fourth that is no number
      {json, "300 -5 0 150", true, 300, -5, 0, 1.5},  // not clamped
      {json, "", false},
      {json, "1\t2\t3", false} /* tabs are not skipped */,
      {json, "1 2 x 3", false},
      {css, "10 20 30", true, 10, 20, 30, 1},
      {css, "rgba(1,2,3,.25)", true, 1, 2, 3, 0.25},
      {css, "rgb(1,2,3) trailing", true, 1, 2, 3, 1},
      {css, "rgba(1,2,3,2)", true, 1, 2, 3, 2},
      {css, "rgb(1,2)", false},
      {css, "rgb(1;2;3)", false},
      {css, "", false},
      {hash, "x00ff00", true, 0, 255, 0, 1},  // any first character is dropped
      {hash, "#0g0000", true, 0, 0, 0, 1},    // a pair reads as far as it is hexadecimal
      {hash, "#gg0000", false},
      {hash, "#00gg00", false},
      {hash, "#00ff0", false},
      {hash, "#00ff000", false},
      {hash, "#f", false},
      {hash, "", false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    auto color = row.reader(*str(row.text));
    if (!row.reads) {
      EXPECT_FALSE(color);
      continue;
    }
    EXPECT_TRUE(hasRGBA(color, row.red / 255, row.green / 255, row.blue / 255, row.alpha));
    if (color) EXPECT_EQ(color->colorSpace(), ColorSpace::DeviceRGB);
  }
  EXPECT_EQ(read("Red").get(), Color::namedColor("redColor").get());
  EXPECT_EQ(read("red").get(), Color::namedColor("redColor").get());
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
  EXPECT_EQ(
      jsonStringRepresentation(*Color::colorWithDeviceRed(std::numeric_limits<double>::infinity(), 0, 0, 1))->utf8(),
      "9223372036854775807 0 0 100")
      << "held at what the readers read back";
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
  EXPECT_TRUE(
      hasRGBA(normalizedRGBColor(*Color::colorWithDeviceRed(0.5, 1, 0.999, 0.337)), 127 / 255.0, 1, 254 / 255.0, 0.33));
}

TEST(StringToColorTransformer, ReadsTextAndWritesTheJsonForm) {
  auto transformer = make<TQStringToNSColorTransformer>();
  EXPECT_EQ(transformer->transformedValueClass(), "Color");
  EXPECT_TRUE(transformer->allowsReverseTransformation());
  EXPECT_EQ(transformer->transformedValue(str("red")).get(), Color::namedColor("redColor").get());
  EXPECT_TRUE(
      hasRGBA(cast<Color>(transformer->transformedValue(str("#102030"))), 16 / 255.0, 32 / 255.0, 48 / 255.0, 1));
  EXPECT_FALSE(transformer->transformedValue(str("no colour")));
  EXPECT_FALSE(transformer->transformedValue(num(1)));
  EXPECT_FALSE(transformer->transformedValue(nullptr));

  auto text = cast<String>(transformer->reverseTransformedValue(Color::colorWithDeviceRed(1, 0.5, 0, 0.5)));
  ASSERT_TRUE(text);
  EXPECT_EQ(text->utf8(), "255 127 0 50");
  EXPECT_FALSE(transformer->reverseTransformedValue(str("255 0 0")));
  EXPECT_FALSE(transformer->reverseTransformedValue(nullptr));
}
