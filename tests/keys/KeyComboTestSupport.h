#pragma once
// Key combo tests run over real layouts: each test installs the layouts it
// needs and builds the layout cache from them, and puts the system's back.

#include <gtest/gtest.h>

#include <string>

#include "tq/keys/TQKeyCombo.h"
#include "tq/platform/system/KeyboardLayout.h"

namespace tq::testing {

/// Installs "fr", "us,ru", "us" + "dvorak" ... and rebuilds the cache; the
/// previous layouts (and a cache built from them) come back at the end.
class ScopedLayout {
 public:
  explicit ScopedLayout(const std::string& layouts, const std::string& variants = "")
      : scope_(FixedKeyboardLayouts::withNames(layouts, variants)) {
    TQKeyCombo::cacheKeyboardLayout();
  }

 private:
  struct RebuildOnExit {
    ~RebuildOnExit() { TQKeyCombo::cacheKeyboardLayout(); }
  };
  RebuildOnExit rebuild_;  // destroyed last: once the previous layouts are back
  ScopedKeyboardLayouts scope_;
};

inline std::string glyphOf(std::uint16_t keyCode, std::uint64_t flags = 0, std::uint64_t option = 0) {
  return TQKeyCombo::stringForKeyCode(keyCode, flags, option)->utf8();
}

}  // namespace tq::testing
