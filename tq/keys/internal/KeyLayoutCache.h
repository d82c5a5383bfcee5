#pragma once
// The process-wide cache of the current keyboard layout: the layout itself
// (the counterpart of its key-layout data), its name and identifier, and five
// maps from a character string to the key code that types it ("fixed",
// "unmod", "shift", "option", "shiftOption"). Readers take a snapshot under
// the lock and work outside it; a rebuild replaces the snapshot whole.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "tq/platform/system/KeyboardLayout.h"

namespace tq::detail {

struct KeyLayoutSnapshot {
  using CharacterMap = std::unordered_map<std::u16string, std::uint16_t>;
  std::shared_ptr<const KeyboardLayout> layout;  // nil: no layout was found
  std::string name, identifier;
  CharacterMap fixed, unmod, shift, option, shiftOption;
  /// The five maps in one, for lookups: each text with the code it has in
  /// each map (in the order above), and which maps hold it.
  struct Entry {
    std::array<std::uint16_t, 5> codes{};
    std::uint8_t present = 0;  // bit i: map i holds the text
  };
  std::unordered_map<std::u16string, Entry> index;
  /// The index's entries for texts of one unit below U+3000 (most keys
  /// type one such character), found without hashing; nil where none.
  std::vector<const Entry*> byUnit;
  const Entry* find(const std::u16string& text) const {
    if (text.size() == 1 && text[0] < byUnit.size()) return byUnit[text[0]];
    auto found = index.find(text);
    return found == index.end() ? nullptr : &found->second;
  }
  /// The upper-cased label of each key code below 128 (what the key shows,
  /// unmodified): the names glyph strings use, made once per layout.
  std::array<std::u16string, 128> labels;
};

/// The cache as it stands, valid until this thread asks again. The first
/// call builds it and starts following layout changes (each rebuilds it on
/// the main queue).
const KeyLayoutSnapshot& keyLayoutSnapshot();
/// Builds the cache from the current layout; leaves it as it is when no
/// layout can be had.
void rebuildKeyLayoutCache();
/// Appends a key's name: the fixed table's, else the cached layout's label
/// upper-cased, else (no layout) nothing.
void appendKeyName(std::u16string& text, std::uint16_t keyCode);

}  // namespace tq::detail
