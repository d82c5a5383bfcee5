// Reads arbitrary text with the colour readers (the four and the chooser) and
// checks what must hold for any input: no reader raises; what a reader gives
// is a device RGB colour; the chooser's answer is one of the readers'; the
// written forms have their shapes; the Json form written for a colour reads
// back as that colour normalised; six hex digits write back as themselves;
// and the shades of a colour that was read can be made, the per-colour ones
// once.
//
// Input layout: byte 0 chooses a shade factor (byte / 255), the rest is the
// text as UTF-8 (ill-formed bytes become U+FFFD).

#include <cctype>
#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/String.h"

namespace {

using tq::fuzz::check;
namespace colour = tq::TQFoundation;

bool sameComponents(const tq::Color& a, const tq::Color& b) {
  if (a.numberOfComponents() != b.numberOfComponents()) return false;
  double x[4], y[4];
  a.getComponents(x);
  b.getComponents(y);
  for (std::size_t i = 0; i < a.numberOfComponents(); ++i) {
    if (!(x[i] == y[i])) return false;
  }
  return true;
}

bool isDigits(const std::string& text, std::size_t from, std::size_t to) {
  if (from >= to) return false;
  for (std::size_t i = from; i < to; ++i) {
    if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  return true;
}

/// "N N N N": four runs of digits with one blank between them.
bool isJsonForm(const std::string& text) {
  std::size_t from = 0;
  for (int field = 0; field < 4; ++field) {
    std::size_t to = field < 3 ? text.find(' ', from) : text.size();
    if (to == std::string::npos || !isDigits(text, from, to)) return false;
    from = to + 1;
  }
  return true;
}

bool isHashForm(const std::string& text) {
  if (text.size() < 7 || text[0] != '#') return false;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (!std::isxdigit(static_cast<unsigned char>(text[i])) || std::isupper(static_cast<unsigned char>(text[i]))) {
      return false;
    }
  }
  return true;
}

bool isSixHexDigits(const tq::String& text) {
  if (text.length() != 7 || text.utf16()[0] != u'#') return false;
  for (std::size_t i = 1; i < 7; ++i) {
    const char16_t c = text.utf16()[i];
    if (!((c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F'))) return false;
  }
  return true;
}

void checkColour(const tq::Ref<tq::Color>& color, double factor) {
  const std::string json = colour::jsonStringRepresentation(*color)->utf8();
  check(isJsonForm(json));
  const std::string css = colour::rgbCSSStringRepresentation(*color)->utf8();
  check(css.rfind("rgb(", 0) == 0 && css.back() == ')');
  check(isHashForm(colour::hashLabelCSSStringRepresentation(*color)->utf8()));

  // What the library writes, it reads back: the colour as the form stores it.
  auto readBack = colour::colorFromStringRepresentation(*tq::str(json));
  check(readBack != nullptr);
  check(sameComponents(*readBack, *colour::normalizedRGBColor(*color)));

  auto pale = colour::paleShade(*color);
  check(pale != nullptr && colour::paleShade(*color) == pale);
  check(colour::darkShade(*color) == colour::darkShade(*color));
  check(colour::paleShadeByFactor(*color, factor) == colour::paleShadeByFactor(*color, factor));
  // The clamped formulas stay clamped whatever the colour (NaN aside).
  check(!(colour::relativeShadeWithLevel(*color, factor)->saturationComponent() > 1.0));
  check(!(colour::relativeHighlightWithLevel(*color, factor)->brightnessComponent() > 1.0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const double factor = data[0] / 255.0;
  auto text = tq::String::fromUTF8(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  try {
    const tq::Ref<tq::Color> read[] = {colour::colorFromJsonStringRepresentation(*text),
                                       colour::colorFromRGBCSSStringRepresentation(*text),
                                       colour::colorFromHashLabelCSSStringRepresentation(*text),
                                       colour::colorFromNamedColorStringRepresentation(*text)};
    auto chosen = colour::colorFromStringRepresentation(*text);
    bool chosenIsOneOfThem = chosen == nullptr;
    for (int reader = 0; reader < 4; ++reader) {
      const auto& color = read[reader];
      if (!color) continue;
      // The text readers make device RGB colours; names answer the platform's.
      if (reader < 3) check(color->colorSpace() == tq::ColorSpace::DeviceRGB);
      if (chosen && (color == chosen || color->isEqual(*chosen))) chosenIsOneOfThem = true;
      checkColour(color, factor);
    }
    check(chosenIsOneOfThem);
    if (isSixHexDigits(*text)) {
      check(read[2] != nullptr);
      check(colour::hashLabelCSSStringRepresentation(*read[2])->utf8() == text->lowercaseString()->utf8());
    }
  } catch (const tq::Exception&) {
    check(false);  // readers answer nil; they never raise
  }
  return 0;
}
