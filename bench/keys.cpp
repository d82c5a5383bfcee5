// Key combos against GTK's accelerators, on the same 48 combos (letters,
// digits, punctuation, function keys, arrows and Return, each with one to
// four modifiers), over the us layout. Each case runs all 48 per iteration:
// - labels: `stringForKeyCode(code, flags)` makes each combo's glyph string
//   ("⇧⌘K", a new String) against `gtk_accelerator_get_label` making GTK's
//   label ("Shift+Super+K", a new C string, freed);
// - parsing, values: `parseKeyGlyph` of each glyph string, answering the key
//   code and flags, against `gtk_accelerator_parse` of the accelerator text
//   ("<Shift><Super>k"), answering the keyval and modifiers: the
//   like-for-like comparison, both sides returning two values;
// - parsing, objects: `newWithKeyGlyph` of the same strings, which makes a
//   combo object of the values, against the same GTK parse; shown because it
//   is the call most callers make, and it pays for an allocation GTK's
//   parse does not;
// - the character lookup: `keycodeForKeyChar(character, &flags)` of each
//   combo's character ("k", "F1", "←") against `gdk_unicode_to_keyval` of
//   its first character, which is as far as GTK goes without a display (the
//   key code needs the display's keymap). Ours also case-folds, strips
//   modifier glyphs, trims, and finds names such as "F1" in the layout's
//   tables; GTK's maps one code point.

#include <gtk/gtk.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench/support/PeerRatio.h"
#include "tq/keys/TQKeyCombo.h"
#include "tq/platform/system/KeyboardLayout.h"

namespace {

namespace Flag = tq::TQModifierFlag;

struct Combo {
  std::uint16_t keyCode;
  std::uint64_t flags;
  guint keyval;
  GdkModifierType mods;
  std::string accelerator;  // GTK's text form
  std::u16string glyph;     // ours
  tq::Ref<tq::String> character;
};

GdkModifierType gdkMods(std::uint64_t flags) {
  unsigned mods = 0;
  if (flags & Flag::Control) mods |= GDK_CONTROL_MASK;
  if (flags & Flag::Option) mods |= GDK_MOD1_MASK;
  if (flags & Flag::Shift) mods |= GDK_SHIFT_MASK;
  if (flags & Flag::Command) mods |= GDK_SUPER_MASK;
  return GdkModifierType(mods);
}

const std::vector<Combo>& combos() {
  static const std::vector<Combo> all = [] {
    struct Key {
      std::uint16_t code;
      guint keyval;
      const char* character;
    };
    const Key keys[] = {{0, GDK_KEY_a, "a"},      {11, GDK_KEY_b, "b"},         {8, GDK_KEY_c, "c"},
                        {40, GDK_KEY_k, "k"},     {45, GDK_KEY_n, "n"},         {35, GDK_KEY_p, "p"},
                        {12, GDK_KEY_q, "q"},     {6, GDK_KEY_z, "z"},          {18, GDK_KEY_1, "1"},
                        {29, GDK_KEY_0, "0"},     {43, GDK_KEY_comma, ","},     {44, GDK_KEY_slash, "/"},
                        {122, GDK_KEY_F1, "F1"},  {111, GDK_KEY_F12, "F12"},    {123, GDK_KEY_Left, "←"},
                        {36, GDK_KEY_Return, "↩"}};
    const std::uint64_t flagSets[] = {Flag::Command, Flag::Command | Flag::Shift,
                                      Flag::Control | Flag::Option | Flag::Shift | Flag::Command};
    std::vector<Combo> made;
    for (const Key& key : keys) {
      for (std::uint64_t flags : flagSets) {
        Combo combo{key.code, flags, key.keyval, gdkMods(flags), {}, {}, tq::str(key.character)};
        gchar* accelerator = gtk_accelerator_name(key.keyval, combo.mods);
        combo.accelerator = accelerator;
        g_free(accelerator);
        combo.glyph = tq::TQKeyCombo::stringForKeyCode(key.code, flags)->utf16();
        made.push_back(std::move(combo));
      }
    }
    return made;
  }();
  return all;
}

void BM_TQ_GlyphStrings(benchmark::State& state) {
  for (auto _ : state) {
    for (const Combo& combo : combos()) benchmark::DoNotOptimize(tq::TQKeyCombo::stringForKeyCode(combo.keyCode, combo.flags));
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * combos().size()));
}

void BM_GTK_AcceleratorLabels(benchmark::State& state) {
  for (auto _ : state) {
    for (const Combo& combo : combos()) {
      gchar* label = gtk_accelerator_get_label(combo.keyval, combo.mods);
      benchmark::DoNotOptimize(label);
      g_free(label);
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * combos().size()));
}

void BM_TQ_ParseGlyphStrings(benchmark::State& state) {
  std::vector<tq::Ref<tq::String>> glyphs;
  for (const Combo& combo : combos()) glyphs.push_back(tq::str(combo.glyph));
  for (auto _ : state) {
    for (const auto& glyph : glyphs) benchmark::DoNotOptimize(tq::TQKeyCombo::newWithKeyGlyph(*glyph));
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * combos().size()));
}

void BM_TQ_ParseGlyphValues(benchmark::State& state) {
  std::vector<tq::Ref<tq::String>> glyphs;
  for (const Combo& combo : combos()) glyphs.push_back(tq::str(combo.glyph));
  for (auto _ : state) {
    for (const auto& glyph : glyphs) benchmark::DoNotOptimize(tq::TQKeyCombo::parseKeyGlyph(*glyph));
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * combos().size()));
}

void BM_GTK_ParseAccelerators(benchmark::State& state) {
  for (auto _ : state) {
    for (const Combo& combo : combos()) {
      guint keyval = 0;
      GdkModifierType mods{};
      gtk_accelerator_parse(combo.accelerator.c_str(), &keyval, &mods);
      benchmark::DoNotOptimize(keyval);
      benchmark::DoNotOptimize(mods);
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * combos().size()));
}

void BM_TQ_CharacterLookups(benchmark::State& state) {
  // Each side's inputs in a vector of their own, made before the clock
  // starts: our strings here, GTK's code points below.
  std::vector<tq::Ref<tq::String>> characters;
  for (const Combo& combo : combos()) characters.push_back(combo.character);
  for (auto _ : state) {
    for (const auto& character : characters) {
      std::uint64_t flags = 0;
      benchmark::DoNotOptimize(tq::TQKeyCombo::keycodeForKeyChar(*character, &flags));
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * combos().size()));
}

void BM_GTK_UnicodeToKeyval(benchmark::State& state) {
  std::vector<gunichar> characters;
  for (const Combo& combo : combos()) characters.push_back(gunichar(combo.character->utf16()[0]));
  for (auto _ : state) {
    for (gunichar c : characters) benchmark::DoNotOptimize(gdk_unicode_to_keyval(c));
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * combos().size()));
}

BENCHMARK(BM_TQ_GlyphStrings);
BENCHMARK(BM_GTK_AcceleratorLabels);
BENCHMARK(BM_TQ_ParseGlyphValues);
BENCHMARK(BM_TQ_ParseGlyphStrings);
BENCHMARK(BM_GTK_ParseAccelerators);
BENCHMARK(BM_TQ_CharacterLookups);
BENCHMARK(BM_GTK_UnicodeToKeyval);

void printRatio(const tq::bench::CaseTimes& times, const char* what, const char* ours, const char* theirs) {
  if (auto speedUp = times.ratio({theirs}, {ours})) {
    std::printf("ratio %s vs GTK (CPU time, same %zu combos): %.2fx %s\n", what, combos().size(),
                *speedUp >= 1 ? *speedUp : 1 / *speedUp, *speedUp >= 1 ? "faster" : "slower");
  }
}

}  // namespace

tq::bench::Program tq::bench::program() {
  return {nullptr,
          [] {
            // The us layout for both sides' sake: GTK's labels are the
            // keyvals' own names, ours the layout's.
            tq::KeyboardLayouts::setCurrent(tq::FixedKeyboardLayouts::withNames("us"));
            tq::TQKeyCombo::cacheKeyboardLayout();
            combos();
          },
          [](const tq::bench::CaseTimes& times) {
            printRatio(times, "glyph strings (label)", "BM_TQ_GlyphStrings", "BM_GTK_AcceleratorLabels");
            printRatio(times, "parsing (values)", "BM_TQ_ParseGlyphValues", "BM_GTK_ParseAccelerators");
            printRatio(times, "parsing (combo objects)", "BM_TQ_ParseGlyphStrings", "BM_GTK_ParseAccelerators");
            printRatio(times, "character to key", "BM_TQ_CharacterLookups", "BM_GTK_UnicodeToKeyval");
          },
          nullptr};
}
