#pragma once
// The colour extension of the library: colours to and from the text forms
// that settings store them in, normalised to the 8-bit steps of those forms,
// and pale and dark shades by a luminance-weighted formula.
//
// Text forms (readers answer nil for anything that does not parse; they
// never raise):
//   Json      "R G B A"       red, green, blue 0-255, alpha 0-100
//   CSS rgb   "rgb(R,G,B)"    alpha dropped when written, read when present
//   hash      "#rrggbb"       lower-case hex; "#7f" reads as "#7f7f7f"
//   named     "red"           a platform colour by name (read only)
// Writers convert to device RGB first and truncate toward zero: 0.5 gives
// 127, not 128.

#include "tq/platform/object/Object.h"
#include "tq/platform/value/Color.h"
#include "tq/platform/value/String.h"

namespace tq::TQFoundation {

// ---- Appearance ---------------------------------------------------------

/// Whether the effective appearance is dark (the appearance seam, asked at
/// every call).
bool isDarkMode();
/// The same, for a colour (the instance form).
bool isDarkMode(const Color& color);
/// The platform's control accent colour.
Ref<Color> TQcontrolAccentColor();

// ---- Reading text forms -------------------------------------------------

/// Chooses a reader: fewer than two characters nil; "#..." the hash reader;
/// "rgb...)" the CSS reader; else the Json reader when the text holds a
/// blank, the named reader when it does not.
Ref<Color> colorFromStringRepresentation(const String& text);
/// Three integers and an optional fourth (alpha, 100 when missing),
/// separated by blanks. Not clamped: "300 0 0" keeps red at 300/255.
Ref<Color> colorFromJsonStringRepresentation(const String& text);
/// Three integers and an optional decimal alpha (1.0 when missing), any of
/// the characters of "rgba(, )" skipped around them.
Ref<Color> colorFromRGBCSSStringRepresentation(const String& text);
/// The first character dropped, then six hex digits, or two repeated three
/// times; any other length nil.
Ref<Color> colorFromHashLabelCSSStringRepresentation(const String& text);
/// The lower-cased text with "Color" appended as a platform colour's name
/// ("Red" finds "redColor"), else the text as given ("darkGrayColor").
/// Since the text is lower-cased whole, "darkGray" finds nothing.
Ref<Color> colorFromNamedColorStringRepresentation(const String& text);

// ---- Writing text forms -------------------------------------------------

/// "%lu %lu %lu %lu": red, green, blue times 255 and alpha times 100,
/// truncated toward zero (negative values and NaN give 0, and values are
/// held at 2^63 - 1, the largest the readers read back). A colour that
/// cannot be converted to device RGB writes zeros.
Ref<String> jsonStringRepresentation(const Color& color);
/// "rgb(%lu,%lu,%lu)".
Ref<String> rgbCSSStringRepresentation(const Color& color);
/// "#%.2x%.2x%.2x".
Ref<String> hashLabelCSSStringRepresentation(const Color& color);
/// A calibrated RGB colour of the truncated 8-bit values divided back (alpha
/// the truncated percentage): the colour exactly as the Json form stores it.
Ref<Color> normalizedRGBColor(const Color& color);

// ---- Shades -------------------------------------------------------------
//
// From the colour in device RGB (white when it cannot be converted): its hue
// h, saturation s, brightness b, alpha a, and the weighted lightness
// L = 0.3 R + 0.5 G + 0.2 B. Each answers a calibrated HSB colour of hue h
// and alpha a. A factor or level outside 0 to 1 (or NaN) is an assertion
// failure ("NSColor+TQFoundation", see AssertionPlaces.h); when the handler
// returns or assertions are compiled out, the value is used as given.

/// Saturation s·0.4·(1.35−L), brightness min(1, b + (1−b)·0.67). Made once
/// per colour object: later calls answer the same object.
Ref<Color> paleShade(const Color& color);
/// Saturation s·f·(1.35−L), brightness min(1, b + (1−f)·(1−b)): a larger
/// factor keeps more saturation and adds less brightness. Made once per
/// colour and factor to four decimals.
Ref<Color> paleShadeByFactor(const Color& color, double factor);
/// Saturation s·0.4·(1.35−L), brightness min(1, b + (1−b)·l): a larger
/// level adds more brightness. A new colour at each call.
Ref<Color> relativeHighlightWithLevel(const Color& color, double level);
/// Saturation s·1.2·(1.35−L), not clamped; brightness max(0, 0.2·b). Made
/// once per colour object.
Ref<Color> darkShade(const Color& color);
/// Saturation min(1, s·2.4·(1.35−L)), brightness max(0, (1−l)·b). A new
/// colour at each call.
Ref<Color> relativeShadeWithLevel(const Color& color, double level);

}  // namespace tq::TQFoundation
