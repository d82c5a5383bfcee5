// The colour extension's view of the appearance: the dark-mode test and the
// accent colour.

#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/system/Appearance.h"

namespace tq::TQFoundation {

bool isDarkMode() { return isDarkAppearance(); }

bool isDarkMode(const Color&) { return isDarkMode(); }

Ref<Color> TQcontrolAccentColor() {
  // The mode is asked and its answer not used: the accent colour follows the
  // appearance by itself. The call is kept so that an appearance provider
  // sees the same questions it always saw.
  (void)isDarkMode();
  return Color::namedColor("controlAccentColor");
}

}  // namespace tq::TQFoundation
