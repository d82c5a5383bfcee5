#include "tq/keys/internal/KeyLayoutCache.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <atomic>
#include <mutex>

#include "tq/keys/internal/KeyLookup.h"
#include "tq/keys/internal/KeyTables.h"
#include "tq/keys/internal/KeyText.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/value/CharacterSet.h"

namespace tq::detail {

namespace {

/// Every snapshot ever published (see the header for why none is freed);
/// the lock orders publications.
struct Published {
  std::mutex lock;
  std::vector<std::unique_ptr<const KeyLayoutSnapshot>> all;
  /// The snapshot made of a layout object, if one was: a layout answers
  /// the same translations for its life, so switching back to it takes its
  /// snapshot again instead of keeping another. The snapshots hold their
  /// layouts, so no other layout can come to have the same address.
  const KeyLayoutSnapshot* madeOf(const KeyboardLayout* layout) const {
    for (const auto& snapshot : all) {
      if (layout && snapshot->layout.get() == layout) return snapshot.get();
    }
    return nullptr;
  }
};
Published& publications() {
  static Published* kept = new Published;  // outlives every reader, exit included
  return *kept;
}

void publish(std::unique_ptr<const KeyLayoutSnapshot> snapshot) {
  Published& kept = publications();
  std::lock_guard lock(kept.lock);
  if (const KeyLayoutSnapshot* earlier = kept.madeOf(snapshot->layout.get())) {
    // A rebuild that raced this one made it first; nobody has seen this one.
    publishedKeyLayoutSnapshot.store(earlier, std::memory_order_release);
    return;
  }
  publishedKeyLayoutSnapshot.store(snapshot.get(), std::memory_order_release);
  kept.all.push_back(std::move(snapshot));
}

/// Publishes the snapshot made earlier of the layout, if there is one.
bool publishMadeOf(const KeyboardLayout& layout) {
  Published& kept = publications();
  std::lock_guard lock(kept.lock);
  const KeyLayoutSnapshot* earlier = kept.madeOf(&layout);
  if (earlier) publishedKeyLayoutSnapshot.store(earlier, std::memory_order_release);
  return earlier != nullptr;
}

/// Every unit of the basic plane above ASCII that some case mapping changes
/// (full or simple; lower, upper or title), with the forms the lookup makes
/// of it. With the units the maps hold, these are the only single units the
/// lookup can find: any other unit is its own upper and lower case form and
/// in no map. Made once per process, as the case mappings do not depend on
/// the layout: a rebuild only looks the forms up.
const std::vector<std::pair<char16_t, LookupForms>>& casedUnits() {
  static const std::vector<std::pair<char16_t, LookupForms>> units = [] {
    std::vector<std::pair<char16_t, LookupForms>> cased;
    for (UChar32 c = 0x80; c < 0x10000; ++c) {
      if (U_IS_SURROGATE(c)) continue;
      if (u_hasBinaryProperty(c, UCHAR_CHANGES_WHEN_CASEMAPPED) || u_tolower(c) != c || u_toupper(c) != c ||
          u_totitle(c) != c) {
        const char16_t unit = char16_t(c);
        cased.emplace_back(unit, lookupForms(std::u16string_view(&unit, 1)));
      }
    }
    return cased;
  }();
  return units;
}

bool isASCIIText(const std::u16string& text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

/// The lookup's answers for the texts asked most, each from the general
/// lookup over the finished maps: every ASCII unit; every other unit of the
/// basic plane that a map holds or a case mapping changes; and every short
/// ASCII text the lookup can reach a map key from (the key lower-cased and
/// trimmed, as the lookup makes its text).
void tableAnswers(KeyLayoutSnapshot& snapshot) {
  static const Ref<CharacterSet> blanks = CharacterSet::whitespaceAndNewlineCharacterSet();
  static const Ref<CharacterSet> spaces = CharacterSet::whitespaceCharacterSet();
  for (char16_t unit = 0; unit < 0x80; ++unit) {
    snapshot.asciiBlank[unit] = blanks->characterIsMember(unit);
    snapshot.asciiSpace[unit] = spaces->characterIsMember(unit);
    snapshot.asciiAnswers[unit] = lookUpKeyCodeGenerally(snapshot, std::u16string_view(&unit, 1));
  }
  for (const auto& [unit, forms] : casedUnits()) {
    const KeyAnswer answer = answerForForms(snapshot, forms);
    if (answer != KeyAnswer{}) snapshot.unitAnswers.add(unit, answer);
  }
  std::vector<std::pair<std::uint64_t, KeyAnswer>> names;
  for (const auto& [text, entry] : snapshot.index) {
    if (text.size() == 1 && text[0] >= 0x80 && !U16_IS_SURROGATE(text[0])) {
      const KeyAnswer answer = lookUpKeyCodeGenerally(snapshot, text);
      if (answer != KeyAnswer{}) snapshot.unitAnswers.add(text[0], answer);
    }
    if (text.size() < 2 || !isASCIIText(text)) continue;
    const std::u16string lower = lowercased(text);
    const std::u16string_view name = trimmed(lower, true);
    if (name.size() < 2 || name.size() > kLongestPackedText) continue;
    const KeyAnswer answer = lookUpKeyCodeGenerally(snapshot, name);
    if (answer != KeyAnswer{}) names.emplace_back(packedASCIIKey(name), answer);
  }
  snapshot.nameAnswers = KeyAnswerTable(names);
}

/// The layout shortcuts are read from: the current one, else (none, or one
/// that cannot type the Latin letters) the ASCII-capable one.
std::shared_ptr<const KeyboardLayout> shortcutLayout() {
  auto layouts = KeyboardLayouts::current();
  auto layout = layouts->currentLayout();
  if (layout && layout->isASCIICapable()) return layout;
  return layouts->currentASCIICapableLayout();
}

void enter(KeyLayoutSnapshot::CharacterMap& map, std::u16string text, std::uint16_t keyCode) {
  // A later key with the same text replaces an earlier one.
  if (!text.empty()) map[std::move(text)] = keyCode;
}

std::unique_ptr<const KeyLayoutSnapshot> build(std::shared_ptr<const KeyboardLayout> layout) {
  auto snapshot = std::make_unique<KeyLayoutSnapshot>();
  bool translated[52] = {};
  for (const auto& [code, name] : fixedKeyEntries()) {
    if (code < 52) translated[code] = true;  // taken out of the translated codes
    snapshot->fixed[name] = code;
  }
  // Only codes 0 to 51 are translated: keys above that are not in the fixed
  // table get no character entry.
  for (std::uint16_t code = 0; code < 52; ++code) {
    if (translated[code]) continue;
    using namespace KeyModifierState;
    enter(snapshot->unmod, layout->translate(code, 0, KeyAction::Display), code);
    // The shift pass asks what the key types, the others what it shows: a
    // dead key is found unshifted and with option, never with shift alone.
    enter(snapshot->shift, layout->translate(code, Shift, KeyAction::Down), code);
    enter(snapshot->option, layout->translate(code, Option, KeyAction::Display), code);
    enter(snapshot->shiftOption, layout->translate(code, Shift | Option, KeyAction::Display), code);
  }
  for (std::uint16_t code = 0; code < snapshot->labels.size(); ++code) {
    snapshot->labels[code] = uppercased(layout->translate(code, 0, KeyAction::Display));
  }
  const KeyLayoutSnapshot::CharacterMap* maps[] = {&snapshot->fixed, &snapshot->unmod, &snapshot->shift,
                                                   &snapshot->option, &snapshot->shiftOption};
  for (std::size_t i = 0; i < 5; ++i) {
    for (const auto& [text, code] : *maps[i]) {
      auto& entry = snapshot->index[text];
      entry.codes[i] = code;
      entry.present |= std::uint8_t(1u << i);
    }
  }
  tableAnswers(*snapshot);
  snapshot->name = layout->name();
  snapshot->identifier = layout->identifier();
  snapshot->layout = std::move(layout);
  return snapshot;
}

/// Builds from the current layout and publishes; false when no layout can
/// be had.
bool buildAndPublish() {
  auto layout = shortcutLayout();
  if (!layout) return false;
  if (!publishMadeOf(*layout)) publish(build(std::move(layout)));
  return true;
}

/// Once per process: the first build, and a rebuild on the main queue at
/// every change of the layout, for the life of the process. With no layout
/// at all, an empty snapshot: no layout, no names, no characters. Answers
/// whether this call made the first build.
bool loadOnce() {
  static std::once_flag once;
  bool built = false;
  std::call_once(once, [&built] {
    KeyboardLayouts::changes().add([] { DispatchQueue::main()->async([] { rebuildKeyLayoutCache(); }); });
    if (!buildAndPublish()) publish(std::make_unique<KeyLayoutSnapshot>());
    built = true;
  });
  return built;
}

}  // namespace

KeyAnswerTable::KeyAnswerTable(const std::vector<std::pair<std::uint64_t, KeyAnswer>>& entries) {
  if (entries.empty()) return;
  std::size_t capacity = 8;
  while (capacity < entries.size() * 2) capacity *= 2;
  slots_.resize(capacity);
  mask_ = capacity - 1;
  for (const auto& [key, answer] : entries) {
    std::size_t i = slotOf(key);
    while (slots_[i].key != 0 && slots_[i].key != key) i = (i + 1) & mask_;
    slots_[i] = {key, answer};
  }
}

std::atomic<const KeyLayoutSnapshot*> publishedKeyLayoutSnapshot{nullptr};

KeyUnitAnswers::KeyUnitAnswers() {
  static const Page none{};
  pages_.fill(&none);
}

void KeyUnitAnswers::add(char16_t unit, KeyAnswer answer) {
  std::unique_ptr<Page>& page = made_[unit >> 8];
  if (!page) {
    page = std::make_unique<Page>();
    pages_[unit >> 8] = page.get();
  }
  (*page)[unit & 0xFF] = answer;
}

const KeyLayoutSnapshot& loadKeyLayoutSnapshot() {
  loadOnce();
  return *publishedKeyLayoutSnapshot.load(std::memory_order_acquire);
}

void rebuildKeyLayoutCache() {
  if (loadOnce()) return;  // the first build was this one
  buildAndPublish();
}

void appendKeyName(std::u16string& text, std::uint16_t keyCode) {
  if (const char16_t* name = fixedKeyName(keyCode)) {
    text += name;
    return;
  }
  const KeyLayoutSnapshot& cache = keyLayoutSnapshot();
  if (!cache.layout) return;
  if (keyCode < cache.labels.size()) {
    text += cache.labels[keyCode];
  } else {
    text += uppercased(cache.layout->translate(keyCode, 0, KeyAction::Display));
  }
}

}  // namespace tq::detail
