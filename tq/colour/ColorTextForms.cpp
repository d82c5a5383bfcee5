// The text forms of a colour: the four readers, the chooser between them, the
// three writers, and the colour as the Json form stores it.

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/value/Format.h"
#include "tq/platform/value/Scanner.h"

namespace tq::TQFoundation {

namespace {

/// Red, green, blue and alpha in device RGB; zeros when the colour cannot be
/// converted (the writers then print zeros rather than fail).
std::array<double, 4> deviceRGBComponents(const Color& color) {
  Ref<Color> device = color.colorUsingColorSpace(ColorSpace::DeviceRGB);
  if (!device) return {0, 0, 0, 0};
  double components[4] = {0, 0, 0, 0};
  device->getComponents(components);
  return {components[0], components[1], components[2], components[3]};
}

/// A component scaled and truncated toward zero, as an unsigned count. The
/// stored forms are unsigned: below zero (and NaN) gives 0. Values above 1
/// are kept, so extended colours survive, up to the largest count the
/// readers can read back (2^63 - 1): beyond it, a written form would not
/// read as what was written.
std::uint64_t truncatedScaled(double component, double scale) {
  constexpr std::uint64_t kLargestReadable = std::uint64_t(std::numeric_limits<std::int64_t>::max());
  const double value = component * scale;
  if (!(value > 0)) return 0;
  if (value >= 9223372036854775808.0) return kLargestReadable;
  return std::uint64_t(value);
}

/// The three 8-bit steps of red, green and blue and the alpha percentage.
std::array<std::uint64_t, 4> storedSteps(const Color& color) {
  const auto c = deviceRGBComponents(color);
  return {truncatedScaled(c[0], 255), truncatedScaled(c[1], 255), truncatedScaled(c[2], 255),
          truncatedScaled(c[3], 100)};
}

/// A scanner over the text that skips `skipped`. The sets are made once:
/// making a set fills a table for the whole BMP, which cost more than the
/// reading itself.
Ref<Scanner> scannerSkipping(const String& text, const Ref<CharacterSet>& skipped) {
  auto scanner = Scanner::scannerWithString(make<String>(text.utf16()));
  scanner->setCharactersToBeSkipped(skipped);
  return scanner;
}

const Ref<CharacterSet>& blankSet() {
  static const Ref<CharacterSet> set = CharacterSet::characterSetWithCharactersInString(u" ");
  return set;
}

const Ref<CharacterSet>& cssSkipSet() {
  static const Ref<CharacterSet> set = CharacterSet::characterSetWithCharactersInString(u"rgba(, )");
  return set;
}

bool scanThreeIntegers(Scanner& scanner, std::int64_t (&values)[3]) {
  return scanner.scanInteger(&values[0]) && scanner.scanInteger(&values[1]) && scanner.scanInteger(&values[2]);
}

/// Two characters read as one hexadecimal number, as the scanner reads it
/// (white space before the digits is skipped, and reading stops at the first
/// character that is not a digit).
bool scanHexPair(const String& digits, std::size_t at, unsigned* value) {
  auto scanner = Scanner::scannerWithString(digits.substringWithRange(Range{at, 2}));
  return scanner->scanHexInt(value);
}

}  // namespace

Ref<Color> colorFromStringRepresentation(const String& text) {
  if (text.length() < 2) return nullptr;
  if (text.hasPrefix(u"#")) return colorFromHashLabelCSSStringRepresentation(text);
  if (text.hasPrefix(u"rgb") && text.hasSuffix(u")")) return colorFromRGBCSSStringRepresentation(text);
  if (text.utf16().find(u' ') != std::u16string::npos) return colorFromJsonStringRepresentation(text);
  return colorFromNamedColorStringRepresentation(text);
}

Ref<Color> colorFromJsonStringRepresentation(const String& text) {
  auto scanner = scannerSkipping(text, blankSet());
  std::int64_t rgb[3];
  if (!scanThreeIntegers(*scanner, rgb)) return nullptr;
  std::int64_t alpha = 100;
  if (!scanner->scanInteger(&alpha)) alpha = 100;
  return Color::colorWithDeviceRed(double(rgb[0]) / 255.0, double(rgb[1]) / 255.0, double(rgb[2]) / 255.0,
                                   double(alpha) / 100.0);
}

Ref<Color> colorFromRGBCSSStringRepresentation(const String& text) {
  auto scanner = scannerSkipping(text, cssSkipSet());
  std::int64_t rgb[3];
  if (!scanThreeIntegers(*scanner, rgb)) return nullptr;
  double alpha = 1.0;
  if (!scanner->scanDouble(&alpha)) alpha = 1.0;
  return Color::colorWithDeviceRed(double(rgb[0]) / 255.0, double(rgb[1]) / 255.0, double(rgb[2]) / 255.0, alpha);
}

Ref<Color> colorFromHashLabelCSSStringRepresentation(const String& text) {
  if (text.length() == 0) return nullptr;
  Ref<String> digits = text.substringFromIndex(1);
  if (digits->length() == 2) {
    digits = digits->stringByAppendingString(*digits)->stringByAppendingString(*digits);
  } else if (digits->length() != 6) {
    return nullptr;
  }
  unsigned red = 0, green = 0, blue = 0;
  if (!scanHexPair(*digits, 0, &red) || !scanHexPair(*digits, 2, &green) || !scanHexPair(*digits, 4, &blue)) {
    return nullptr;
  }
  return Color::colorWithDeviceRed(red / 255.0, green / 255.0, blue / 255.0, 1.0);
}

Ref<Color> colorFromNamedColorStringRepresentation(const String& text) {
  Ref<Color> color = Color::namedColor(text.lowercaseString()->utf8() + "Color");
  if (color) return color;
  return Color::namedColor(text.utf8());
}

Ref<String> jsonStringRepresentation(const Color& color) {
  const auto steps = storedSteps(color);
  return stringWithFormat("%lu %lu %lu %lu", steps[0], steps[1], steps[2], steps[3]);
}

Ref<String> rgbCSSStringRepresentation(const Color& color) {
  const auto steps = storedSteps(color);
  return stringWithFormat("rgb(%lu,%lu,%lu)", steps[0], steps[1], steps[2]);
}

Ref<String> hashLabelCSSStringRepresentation(const Color& color) {
  const auto steps = storedSteps(color);
  // "%x" reads an unsigned int: a step beyond 32 bits keeps its low bits.
  return stringWithFormat("#%.2x%.2x%.2x", std::uint32_t(steps[0]), std::uint32_t(steps[1]),
                          std::uint32_t(steps[2]));
}

Ref<Color> normalizedRGBColor(const Color& color) {
  const auto steps = storedSteps(color);
  return Color::colorWithCalibratedRed(double(steps[0]) / 255.0, double(steps[1]) / 255.0, double(steps[2]) / 255.0,
                                       double(steps[3]) / 100.0);
}

}  // namespace tq::TQFoundation
