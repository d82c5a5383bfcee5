#pragma once
// The process-wide cache of the current keyboard layout: the layout itself
// (the counterpart of its key-layout data), its name and identifier, and five
// maps from a character string to the key code that types it ("fixed",
// "unmod", "shift", "option", "shiftOption").
//
// A cache is an immutable snapshot. A rebuild makes a new one and publishes
// it through an atomic pointer; readers load that pointer and take no lock.
// Snapshots are never freed: a reader on another thread may still hold the
// one a rebuild replaced, and layouts change a handful of times in a session,
// so keeping every snapshot until exit (some tens of kilobytes each) costs
// less than any scheme that would tell when the last reader has let go. A
// layout object that comes back (the user switching to and fro between the
// same compiled layouts) gets its earlier snapshot again, so the memory kept
// grows with the layouts seen, not with the switches.

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tq/platform/system/KeyboardLayout.h"

namespace tq::detail {

/// What the character lookup answers: the key code (0 when no key types the
/// text, which is also the A key's) and the flags the layout needs to type
/// it, kept as the flags shifted right by 16 (shift 0x2, option 0x8).
struct KeyAnswer {
  std::uint16_t keyCode = 0;
  std::uint8_t flagBits = 0;
  std::uint64_t flags() const { return std::uint64_t(flagBits) << 16; }
  bool operator==(const KeyAnswer&) const = default;
};

/// Answers by a 64-bit key, for the short names of a layout: open addressing in a table at most half full, so a
/// search ends after a probe or two. Key 0 marks an empty slot; absent keys
/// answer the empty answer, which is also what the lookup answers for them.
class KeyAnswerTable {
 public:
  KeyAnswerTable() = default;
  explicit KeyAnswerTable(const std::vector<std::pair<std::uint64_t, KeyAnswer>>& entries);
  KeyAnswer find(std::uint64_t key) const {
    if (slots_.empty()) return {};
    for (std::size_t i = slotOf(key);; i = (i + 1) & mask_) {
      if (slots_[i].key == key) return slots_[i].answer;
      if (slots_[i].key == 0) return {};
    }
  }

 private:
  struct Slot {
    std::uint64_t key = 0;
    KeyAnswer answer;
  };
  std::size_t slotOf(std::uint64_t key) const { return std::size_t((key * 0x9E3779B97F4A7C15ull) >> 40) & mask_; }
  std::vector<Slot> slots_;
  std::size_t mask_ = 0;
};

/// Answers for single units of the basic plane, by 256-unit pages: only the
/// pages that hold an answer are made (some ten per layout: Latin, Greek,
/// Cyrillic, arrows and the symbols the fixed table names), the others point
/// at one shared empty page. Two loads and no search.
class KeyUnitAnswers {
 public:
  using Page = std::array<KeyAnswer, 256>;
  KeyUnitAnswers();
  KeyUnitAnswers(const KeyUnitAnswers&) = delete;
  KeyUnitAnswers& operator=(const KeyUnitAnswers&) = delete;
  KeyAnswer find(char16_t unit) const { return (*pages_[unit >> 8])[unit & 0xFF]; }
  void add(char16_t unit, KeyAnswer answer);

 private:
  std::array<const Page*, 256> pages_;              // what `find` reads
  std::array<std::unique_ptr<Page>, 256> made_;     // the pages with answers
};

struct KeyLayoutSnapshot {
  using CharacterMap = std::unordered_map<std::u16string, std::uint16_t>;
  std::shared_ptr<const KeyboardLayout> layout;  // nil: no layout was found
  std::string name, identifier;
  CharacterMap fixed, unmod, shift, option, shiftOption;
  /// The five maps in one, for the general lookup: each text with the code
  /// it has in each map (in the order above), and which maps hold it.
  struct Entry {
    std::array<std::uint16_t, 5> codes{};
    std::uint8_t present = 0;  // bit i: map i holds the text
  };
  std::unordered_map<std::u16string, Entry> index;
  const Entry* find(std::u16string_view text) const {
    auto found = index.find(std::u16string(text));
    return found == index.end() ? nullptr : &found->second;
  }

  // The lookup's answers worked out when the snapshot is made, by the
  // general lookup itself, for the texts that are asked most: any one ASCII
  // character, every other single unit of the basic plane that has an
  // answer, and every short ASCII name that has one (in `nameAnswers`).
  // `KeyLookup` says why the texts left out have none.
  std::array<KeyAnswer, 128> asciiAnswers{};
  KeyUnitAnswers unitAnswers;
  KeyAnswerTable nameAnswers;
  /// The ASCII units trimming takes away: white space and line breaks (the
  /// lookup), white space alone (the parse).
  std::array<bool, 128> asciiBlank{}, asciiSpace{};

  /// The upper-cased label of each key code below 128 (what the key shows,
  /// unmodified): the names glyph strings use, made once per layout.
  std::array<std::u16string, 128> labels;
};

/// The published snapshot; null until the first call of `keyLayoutSnapshot`.
extern std::atomic<const KeyLayoutSnapshot*> publishedKeyLayoutSnapshot;
/// The first build, and the start of following layout changes.
const KeyLayoutSnapshot& loadKeyLayoutSnapshot();

/// The cache as it stands; valid for the life of the process. The first
/// call builds it and starts following layout changes (each rebuilds it on
/// the main queue). Inline: after the first build it is one acquiring load,
/// and glyph strings and lookups ask at every call.
inline const KeyLayoutSnapshot& keyLayoutSnapshot() {
  if (const KeyLayoutSnapshot* snapshot = publishedKeyLayoutSnapshot.load(std::memory_order_acquire)) {
    return *snapshot;
  }
  return loadKeyLayoutSnapshot();
}
/// Builds the cache from the current layout; leaves it as it is when no
/// layout can be had.
void rebuildKeyLayoutCache();
/// Appends a key's name: the fixed table's, else the cached layout's label
/// upper-cased, else (no layout) nothing.
void appendKeyName(std::u16string& text, std::uint16_t keyCode);

}  // namespace tq::detail
