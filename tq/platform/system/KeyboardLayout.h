#pragma once
// The user's keyboard layout as a seam: what text a key types with a given
// modifier state, the layout's name and identifier, and an event when the
// layout changes. Keys are named by the platform's virtual key codes (the
// kVK numbering: 0 is the A key of an ANSI keyboard, 36 Return, 49 Space,
// 122 F1); `evdevKeyCode` maps them to the Linux input codes that xkbcommon
// keymaps are written for.
//
// The real layouts are xkbcommon keymaps compiled from the xkeyboard-config
// data. Which one is current: the host's (`KeyboardLayouts::setCurrent`),
// else `XKB_DEFAULT_LAYOUT` / `XKB_DEFAULT_VARIANT`, else the system keyboard
// configuration ("/etc/default/keyboard": XKBLAYOUT, XKBVARIANT), else "us".
// Lists ("us,ru") name the layouts the user switches between; the first is
// current.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tq/platform/system/ChangeSignal.h"

namespace tq {

/// How a key is translated. `Display` answers what the key is labelled
/// with: a dead key shows its accent. `Down` answers what pressing it types:
/// a dead key types nothing by itself.
enum class KeyAction { Down, Display };

/// Modifier state bits of a translation, as the platform numbers them.
namespace KeyModifierState {
inline constexpr unsigned Command = 0x01, Shift = 0x02, CapsLock = 0x04, Option = 0x08, Control = 0x10;
}

/// The Linux input (evdev) code of a virtual key code; nothing for codes
/// with no key. The table follows an ANSI keyboard: kVK 50 (the grave key,
/// left of 1) is KEY_GRAVE and kVK 10 (the ISO key beside the left shift)
/// KEY_102ND; F13 to F20 are KEY_F13 to KEY_F20; the keypad keys are the
/// KEY_KP keys, kVK 71 (clear) KEY_NUMLOCK, kVK 114 (help) KEY_INSERT.
std::optional<std::uint16_t> evdevKeyCode(std::uint16_t virtualKeyCode);

class KeyboardLayout {
 public:
  virtual ~KeyboardLayout() = default;
  /// The layout's name for people ("French", "English (Dvorak)").
  virtual std::string name() const = 0;
  /// Its identifier: the layout, with the variant in parentheses ("fr",
  /// "us(dvorak)").
  virtual std::string identifier() const = 0;
  /// The text a key types (or shows) with the modifier state: shift, caps
  /// lock, and option as the third level; command and control change
  /// nothing. Empty for keys that type nothing, at most 4 UTF-16 units.
  virtual std::u16string translate(std::uint16_t virtualKeyCode, unsigned modifierState, KeyAction action) const = 0;
  /// Whether the layout types the Latin letters a to z without modifiers,
  /// as shortcuts need.
  virtual bool isASCIICapable() const;
};

/// An xkbcommon keymap of one layout and variant.
class XkbKeyboardLayout : public KeyboardLayout {
 public:
  /// Compiles the keymap (rules "evdev", model "pc105"); nil, with the
  /// reason in `error`, for a layout or variant xkeyboard-config does not
  /// know.
  static std::shared_ptr<const XkbKeyboardLayout> withNames(const std::string& layout, const std::string& variant,
                                                            std::string* error = nullptr);
  ~XkbKeyboardLayout() override;

  std::string name() const override { return name_; }
  std::string identifier() const override { return identifier_; }
  std::u16string translate(std::uint16_t virtualKeyCode, unsigned modifierState, KeyAction action) const override;

  struct Keymap;
  XkbKeyboardLayout(std::unique_ptr<Keymap> keymap, std::string name, std::string identifier);

 private:
  std::unique_ptr<Keymap> keymap_;
  std::string name_, identifier_;
  // Translations of the states shortcuts use (none, shift, option, both;
  // both actions) for every key, made once: a glyph string asks for them at
  // every call.
  std::vector<std::u16string> table_;
};

/// Which layouts are configured, and which is current.
class KeyboardLayouts {
 public:
  virtual ~KeyboardLayouts() = default;
  /// The current layout; nil when none can be had.
  virtual std::shared_ptr<const KeyboardLayout> currentLayout() const = 0;
  /// The layout shortcuts fall back to when the current one cannot type
  /// them: the first configured layout that is ASCII-capable, else "us".
  virtual std::shared_ptr<const KeyboardLayout> currentASCIICapableLayout() const = 0;

  /// What the library reads: the system's unless one was installed.
  static std::shared_ptr<const KeyboardLayouts> current();
  /// Installs layouts (nullptr: the system's again); announces a change and
  /// answers the previous ones.
  static std::shared_ptr<const KeyboardLayouts> setCurrent(std::shared_ptr<const KeyboardLayouts> layouts);
  static std::shared_ptr<const KeyboardLayouts> system();

  /// Handlers called when the layout may have changed: an installation, the
  /// host's `layoutDidChange`, a change of the system configuration file.
  static ChangeSignal& changes();
  static void layoutDidChange() { changes().emit(); }
};

/// A fixed list of layouts ("fr", "us,ru") and variants, compiled when made.
class FixedKeyboardLayouts : public KeyboardLayouts {
 public:
  /// Nil, with the reason, when a layout of the list is unknown.
  static std::shared_ptr<const FixedKeyboardLayouts> withNames(const std::string& layouts,
                                                               const std::string& variants = "",
                                                               std::string* error = nullptr);
  std::shared_ptr<const KeyboardLayout> currentLayout() const override { return layouts_.front(); }
  std::shared_ptr<const KeyboardLayout> currentASCIICapableLayout() const override;

  explicit FixedKeyboardLayouts(std::vector<std::shared_ptr<const KeyboardLayout>> layouts);

 private:
  std::vector<std::shared_ptr<const KeyboardLayout>> layouts_;
};

/// The system's: the environment, then the configuration file, then "us",
/// looked up at each question (keymaps are compiled once per name). It
/// watches the configuration file's folder and announces its changes.
class SystemKeyboardLayouts : public KeyboardLayouts {
 public:
  explicit SystemKeyboardLayouts(std::string configurationFile = "/etc/default/keyboard");
  ~SystemKeyboardLayouts() override;
  std::shared_ptr<const KeyboardLayout> currentLayout() const override;
  std::shared_ptr<const KeyboardLayout> currentASCIICapableLayout() const override;

  /// The layouts and variants in force now, as comma lists.
  std::pair<std::string, std::string> configuredNames() const;

  struct State;

 private:
  std::shared_ptr<const FixedKeyboardLayouts> configured() const;
  std::unique_ptr<State> state_;
};

/// Installs layouts for the lifetime of the scope: the form tests use.
class ScopedKeyboardLayouts {
 public:
  explicit ScopedKeyboardLayouts(std::shared_ptr<const KeyboardLayouts> layouts)
      : previous_(KeyboardLayouts::setCurrent(std::move(layouts))) {}
  ~ScopedKeyboardLayouts() { KeyboardLayouts::setCurrent(previous_); }
  ScopedKeyboardLayouts(const ScopedKeyboardLayouts&) = delete;
  ScopedKeyboardLayouts& operator=(const ScopedKeyboardLayouts&) = delete;

 private:
  std::shared_ptr<const KeyboardLayouts> previous_;
};

}  // namespace tq
