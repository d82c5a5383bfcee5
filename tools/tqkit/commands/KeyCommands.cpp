// tqkit key: keyboard shortcuts as the library shows and reads them, over the
// user's keyboard layout or one named with --layout.

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "Command.h"
#include "TextInput.h"
#include "tq/keys/TQKeyCombo.h"
#include "tq/platform/system/KeyboardLayout.h"

using namespace tqkit;

namespace {

namespace Flag = tq::TQModifierFlag;

const OptionHelp LayoutOption{"--layout L[:VARIANT]",
                              "an xkeyboard-config layout to use instead of the user's (fr, de, us:dvorak)"};

/// The layout of --layout, installed for the command's run and read into
/// the key combos' layout cache; the user's own without the option.
class LayoutChoice {
 public:
  explicit LayoutChoice(Arguments& arguments) {
    const std::string choice = arguments.option("--layout", "");
    if (choice.empty()) return;
    const std::size_t colon = choice.find(':');
    const std::string layout = choice.substr(0, colon);
    const std::string variant = colon == std::string::npos ? "" : choice.substr(colon + 1);
    std::string error;
    auto layouts = tq::FixedKeyboardLayouts::withNames(layout, variant, &error);
    if (!layouts) throw FailureException{"cannot use layout '" + choice + "': " + error};
    scope_ = std::make_unique<tq::ScopedKeyboardLayouts>(layouts);
    tq::TQKeyCombo::cacheKeyboardLayout();
  }
  ~LayoutChoice() {
    if (!scope_) return;
    scope_.reset();
    tq::TQKeyCombo::cacheKeyboardLayout();
  }

 private:
  std::unique_ptr<tq::ScopedKeyboardLayouts> scope_;
};

struct ModifierName {
  const char* name;
  const char* alias;
  std::uint64_t flag;
};
constexpr ModifierName kModifierNames[] = {{"control", "ctrl", Flag::Control}, {"option", "alt", Flag::Option},
                                           {"shift", "shift", Flag::Shift},    {"command", "cmd", Flag::Command},
                                           {"function", "fn", Flag::Function}};

std::uint64_t modifiersOption(Arguments& arguments) {
  const std::string list = arguments.option("--modifiers", "");
  std::uint64_t flags = 0;
  std::size_t from = 0;
  while (from < list.size()) {
    std::size_t comma = list.find(',', from);
    if (comma == std::string::npos) comma = list.size();
    const std::string word = list.substr(from, comma - from);
    bool known = false;
    for (const ModifierName& each : kModifierNames) {
      if (word == each.name || word == each.alias) {
        flags |= each.flag;
        known = true;
      }
    }
    if (!known) throw UsageException{"unknown modifier '" + word + "' (control, option, shift, command, function)"};
    from = comma + 1;
  }
  return flags;
}

std::string modifierNames(std::uint64_t flags) {
  std::string names;
  for (const ModifierName& each : kModifierNames) {
    if (flags & each.flag) names += (names.empty() ? "" : ",") + std::string(each.name);
  }
  return names.empty() ? "-" : names;
}

std::uint16_t keyCodeArgument(const std::string& text) {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value > 0xFFFF) {
    throw UsageException{"CODE must be a key code from 0 to 65535, not '" + text + "'"};
  }
  return std::uint16_t(value);
}

std::string hex(std::uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%" PRIx64, value);
  return text;
}

int glyph(Arguments& arguments) {
  const std::uint64_t flags = modifiersOption(arguments);
  const bool digit = arguments.flag("--number-digit");
  LayoutChoice layout(arguments);
  const std::uint16_t code = keyCodeArgument(arguments.positionals(1, 1)[0]);
  writeOut(arguments, tq::TQKeyCombo::stringForKeyCode(code, flags, digit ? 1 : 0)->utf8() + "\n");
  return Success;
}

int parse(Arguments& arguments) {
  LayoutChoice layout(arguments);
  const std::string text = textArgument(arguments);
  const tq::TQKeyComboParts combo = tq::TQKeyCombo::parseKeyGlyph(*tq::str(text));
  writeOut(arguments, std::to_string(combo.keyCode) + "\t" + hex(combo.modifierFlags) + "\t" +
                          modifierNames(combo.modifierFlags) + "\t" +
                          tq::TQKeyCombo::stringForKeyCode(combo.keyCode, combo.modifierFlags)->utf8() + "\n");
  return Success;
}

std::string labelOr(const std::u16string& text) { return text.empty() ? "-" : tq::str(text)->utf8(); }

int layout(Arguments& arguments) {
  LayoutChoice choice(arguments);
  arguments.positionals(0, 0);
  writeOut(arguments, tq::TQKeyCombo::currentKeyboardName()->utf8() + "\t" +
                          tq::TQKeyCombo::currentKeyboardIdentifier()->utf8() + "\n");
  auto source = tq::KeyboardLayouts::current();
  auto current = source->currentLayout();
  auto shortcuts = current && current->isASCIICapable() ? current : source->currentASCIICapableLayout();
  writeOut(arguments, "code\tevdev\tname\tplain\tshift\toption\tshift+option\n");
  using namespace tq::KeyModifierState;
  for (std::uint16_t code = 0; code < 128; ++code) {
    auto evdev = tq::evdevKeyCode(code);
    if (!evdev) continue;
    std::string name = tq::TQKeyCombo::stringForKeyCode(code)->utf8();
    std::string row = std::to_string(code) + "\t" + std::to_string(*evdev) + "\t" + (name.empty() ? "-" : name);
    for (unsigned state : {0u, Shift, Option, Shift | Option}) {
      row += "\t" + (shortcuts ? labelOr(shortcuts->translate(code, state, tq::KeyAction::Display)) : "-");
    }
    writeOut(arguments, row + "\n");
  }
  return Success;
}

const CommandGroup keyGroup{
    "key",
    "keyboard shortcuts shown and read over the user's keyboard layout",
    {
        {.name = "glyph",
         .synopsis = "[--modifiers LIST] [--number-digit] [--layout L[:VARIANT]] CODE",
         .summary = "Prints the glyph string of a key code and modifiers.",
         .run = glyph,
         .description =
             "CODE is a virtual key code (0 is the A key of an ANSI keyboard, 36 Return, 122 F1; 'tqkit key "
             "layout' lists them). The modifier glyphs come first, in the order control, option, shift, command, "
             "function; the key's name is the fixed name of special keys or the label of the key on the layout. "
             "A function key (F1-F19) does not show the function modifier.",
         .options = {{"--modifiers LIST", "comma-separated: control (ctrl), option (alt), shift, command (cmd), "
                                          "function (fn)"},
                     {"--number-digit", "names a key of the number row by its digit, whatever the layout"},
                     LayoutOption},
         .examples = {{"tqkit key glyph --modifiers cmd,shift 40", "prints ⇧⌘K"},
                      {"tqkit key glyph --layout fr 12", "prints A: the French key where US keyboards have Q"}}},
        {.name = "parse",
         .synopsis = "[--layout L[:VARIANT]] [-f FILE | GLYPHS | -]",
         .summary = "Reads a glyph string and prints its key code and modifiers.",
         .run = parse,
         .description =
             "Prints four tab-separated fields: the key code, the modifier flags in hexadecimal, their names "
             "(- for none), and the combination's glyph string as it is shown. A character the layout types "
             "with shift adds the shift modifier. A key no key types reads as code 0, which is also the A key.",
         .options = {LayoutOption, TextFileOption},
         .examples = {{"tqkit key parse '⌘⇧K'", "prints 40, 0x120000, shift,command and ⇧⌘K"},
                      {"tqkit key parse --layout de '⌃@'", "the German key for @, with option"}}},
        {.name = "layout",
         .synopsis = "[--layout L[:VARIANT]]",
         .summary = "Prints the keyboard layout in use and the table of its keys.",
         .run = layout,
         .description =
             "The first line gives the layout's name and identifier. A layout without Latin letters (Russian) "
             "is replaced by the user's Latin one (else us) for shortcuts. Then one line per key: the virtual "
             "key code, the Linux input code, the name shortcuts show, and what the key types plain, with "
             "shift, with option (the third level) and with both (- for nothing). Without --layout the layout "
             "is XKB_DEFAULT_LAYOUT and XKB_DEFAULT_VARIANT, else /etc/default/keyboard, else us.",
         .options = {LayoutOption},
         .examples = {{"tqkit key layout", "the user's layout"},
                      {"tqkit key layout --layout us:dvorak", "the Dvorak layout's keys"}}},
    }};

}  // namespace
