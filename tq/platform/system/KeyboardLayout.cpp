#include "tq/platform/system/KeyboardLayout.h"

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <array>
#include <cstdarg>
#include <mutex>
#include <string_view>


namespace tq {

namespace {

/// kVK number → evdev code; 0 where the platform numbers no key.
constexpr std::array<std::uint16_t, 128> kEvdevCodes = [] {
  std::array<std::uint16_t, 128> codes{};
  const std::pair<int, int> pairs[] = {
      {0, KEY_A},          {1, KEY_S},           {2, KEY_D},           {3, KEY_F},          {4, KEY_H},
      {5, KEY_G},          {6, KEY_Z},           {7, KEY_X},           {8, KEY_C},          {9, KEY_V},
      {10, KEY_102ND},     {11, KEY_B},          {12, KEY_Q},          {13, KEY_W},         {14, KEY_E},
      {15, KEY_R},         {16, KEY_Y},          {17, KEY_T},          {18, KEY_1},         {19, KEY_2},
      {20, KEY_3},         {21, KEY_4},          {22, KEY_6},          {23, KEY_5},         {24, KEY_EQUAL},
      {25, KEY_9},         {26, KEY_7},          {27, KEY_MINUS},      {28, KEY_8},         {29, KEY_0},
      {30, KEY_RIGHTBRACE}, {31, KEY_O},         {32, KEY_U},          {33, KEY_LEFTBRACE}, {34, KEY_I},
      {35, KEY_P},         {36, KEY_ENTER},      {37, KEY_L},          {38, KEY_J},         {39, KEY_APOSTROPHE},
      {40, KEY_K},         {41, KEY_SEMICOLON},  {42, KEY_BACKSLASH},  {43, KEY_COMMA},     {44, KEY_SLASH},
      {45, KEY_N},         {46, KEY_M},          {47, KEY_DOT},        {48, KEY_TAB},       {49, KEY_SPACE},
      {50, KEY_GRAVE},     {51, KEY_BACKSPACE},  {52, KEY_KPENTER},    {53, KEY_ESC},       {54, KEY_RIGHTMETA},
      {55, KEY_LEFTMETA},  {56, KEY_LEFTSHIFT},  {57, KEY_CAPSLOCK},   {58, KEY_LEFTALT},   {59, KEY_LEFTCTRL},
      {60, KEY_RIGHTSHIFT}, {61, KEY_RIGHTALT},  {62, KEY_RIGHTCTRL},  {63, KEY_FN},        {64, KEY_F17},
      {65, KEY_KPDOT},     {67, KEY_KPASTERISK}, {69, KEY_KPPLUS},     {71, KEY_NUMLOCK},   {72, KEY_VOLUMEUP},
      {73, KEY_VOLUMEDOWN}, {74, KEY_MUTE},      {75, KEY_KPSLASH},    {76, KEY_KPENTER},   {78, KEY_KPMINUS},
      {79, KEY_F18},       {80, KEY_F19},        {81, KEY_KPEQUAL},    {82, KEY_KP0},       {83, KEY_KP1},
      {84, KEY_KP2},       {85, KEY_KP3},        {86, KEY_KP4},        {87, KEY_KP5},       {88, KEY_KP6},
      {89, KEY_KP7},       {90, KEY_F20},        {91, KEY_KP8},        {92, KEY_KP9},       {93, KEY_YEN},
      {94, KEY_RO},        {95, KEY_KPCOMMA},    {96, KEY_F5},         {97, KEY_F6},        {98, KEY_F7},
      {99, KEY_F3},        {100, KEY_F8},        {101, KEY_F9},        {102, KEY_MUHENKAN}, {103, KEY_F11},
      {104, KEY_HENKAN},   {105, KEY_F13},       {106, KEY_F16},       {107, KEY_F14},      {109, KEY_F10},
      {110, KEY_COMPOSE},  {111, KEY_F12},       {113, KEY_F15},       {114, KEY_INSERT},   {115, KEY_HOME},
      {116, KEY_PAGEUP},   {117, KEY_DELETE},    {118, KEY_F4},        {119, KEY_END},      {120, KEY_F2},
      {121, KEY_PAGEDOWN}, {122, KEY_F1},        {123, KEY_LEFT},      {124, KEY_RIGHT},    {125, KEY_DOWN},
      {126, KEY_UP},
  };
  for (auto [vk, evdev] : pairs) codes[std::size_t(vk)] = std::uint16_t(evdev);
  return codes;
}();

/// The spacing accent a dead key shows on its label; 0 for other keysyms.
char32_t deadKeyAccent(xkb_keysym_t keysym) {
  switch (keysym) {
    case XKB_KEY_dead_grave: return U'`';
    case XKB_KEY_dead_acute: return U'\u00B4';
    case XKB_KEY_dead_circumflex: return U'^';
    case XKB_KEY_dead_tilde: return U'~';
    case XKB_KEY_dead_macron: return U'\u00AF';
    case XKB_KEY_dead_breve: return U'\u02D8';
    case XKB_KEY_dead_abovedot: return U'\u02D9';
    case XKB_KEY_dead_diaeresis: return U'\u00A8';
    case XKB_KEY_dead_abovering: return U'\u02DA';
    case XKB_KEY_dead_doubleacute: return U'\u02DD';
    case XKB_KEY_dead_caron: return U'\u02C7';
    case XKB_KEY_dead_cedilla: return U'\u00B8';
    case XKB_KEY_dead_ogonek: return U'\u02DB';
    default: return 0;
  }
}

void appendUTF16(std::u16string& text, char32_t c) {
  if (c < 0x10000) {
    text.push_back(char16_t(c));
    return;
  }
  c -= 0x10000;
  text.push_back(char16_t(0xD800 + (c >> 10)));
  text.push_back(char16_t(0xDC00 + (c & 0x3FF)));
}

/// xkbcommon writes well-formed UTF-8; this room has no string class, so
/// the few bytes of a key's text are decoded here.
std::u16string utf16FromUTF8(std::string_view bytes) {
  std::u16string text;
  for (std::size_t i = 0; i < bytes.size();) {
    const unsigned char lead = static_cast<unsigned char>(bytes[i]);
    const int extra = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t c = extra == 0 ? lead : lead & (0x3F >> extra);
    for (int k = 1; k <= extra && i + std::size_t(k) < bytes.size(); ++k) c = (c << 6) | (bytes[i + std::size_t(k)] & 0x3F);
    appendUTF16(text, c);
    i += std::size_t(extra) + 1;
  }
  return text;
}

/// The process's one xkb context (no names from the environment: the
/// library reads the environment through its own seam). Keymap compilation
/// through it is serialised; compiled keymaps are immutable and shared.
xkb_context* sharedContext(std::unique_lock<std::mutex>& lock) {
  static std::mutex mutex;
  static xkb_context* context = [] {
    xkb_context* made = xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES);
    // xkbcommon writes its complaints to stderr; an unknown layout is
    // answered with an error of our own instead, and stderr is the host's.
    if (made) xkb_context_set_log_fn(made, [](xkb_context*, xkb_log_level, const char*, va_list) {});
    return made;
  }();
  lock = std::unique_lock(mutex);
  return context;
}

// The modifier states the table holds, and where each sits in it.
constexpr unsigned kTableStates[] = {0, KeyModifierState::Shift, KeyModifierState::Option,
                                     KeyModifierState::Shift | KeyModifierState::Option};
constexpr std::size_t kKeys = 128;

std::size_t tableSlot(std::uint16_t key, std::size_t stateIndex, KeyAction action) {
  return (std::size_t(key) * 4 + stateIndex) * 2 + (action == KeyAction::Display ? 1 : 0);
}

}  // namespace

std::optional<std::uint16_t> evdevKeyCode(std::uint16_t virtualKeyCode) {
  if (virtualKeyCode >= kEvdevCodes.size() || kEvdevCodes[virtualKeyCode] == 0) return std::nullopt;
  return kEvdevCodes[virtualKeyCode];
}

bool KeyboardLayout::isASCIICapable() const {
  bool typed[26] = {};
  for (std::uint16_t key = 0; key < kKeys; ++key) {
    const std::u16string text = translate(key, 0, KeyAction::Down);
    if (text.size() == 1 && text[0] >= u'a' && text[0] <= u'z') typed[text[0] - u'a'] = true;
  }
  for (bool each : typed) {
    if (!each) return false;
  }
  return true;
}

struct XkbKeyboardLayout::Keymap {
  xkb_keymap* keymap = nullptr;
  ~Keymap() { xkb_keymap_unref(keymap); }

  /// Translates without the table.
  std::u16string translate(std::uint16_t virtualKeyCode, unsigned modifierState, KeyAction action) const {
    auto evdev = evdevKeyCode(virtualKeyCode);
    if (!evdev) return {};
    xkb_state* state = xkb_state_new(keymap);
    if (!state) return {};
    xkb_mod_mask_t mods = 0;
    auto add = [&](const char* name) {
      const xkb_mod_index_t index = xkb_keymap_mod_get_index(keymap, name);
      if (index != XKB_MOD_INVALID) mods |= xkb_mod_mask_t(1) << index;
    };
    if (modifierState & KeyModifierState::Shift) add(XKB_MOD_NAME_SHIFT);
    if (modifierState & KeyModifierState::CapsLock) add(XKB_MOD_NAME_CAPS);
    // The third level: ISO_Level3_Shift sets Mod5 in every layout of
    // xkeyboard-config.
    if (modifierState & KeyModifierState::Option) add("Mod5");
    xkb_state_update_mask(state, mods, 0, 0, 0, 0, 0);
    const xkb_keycode_t keycode = xkb_keycode_t(*evdev) + 8;
    std::u16string text;
    char utf8[64];
    const int length = xkb_state_key_get_utf8(state, keycode, utf8, sizeof utf8);
    if (length > 0 && std::size_t(length) < sizeof utf8) {
      text = utf16FromUTF8(std::string_view(utf8, std::size_t(length)));
    } else if (action == KeyAction::Display) {
      if (char32_t accent = deadKeyAccent(xkb_state_key_get_one_sym(state, keycode))) appendUTF16(text, accent);
    }
    xkb_state_unref(state);
    // Control characters (what Return or Escape type) are no label.
    if (text.size() == 1 && (text[0] < 0x20 || text[0] == 0x7F)) text.clear();
    if (text.size() > 4) text.clear();
    return text;
  }
};

std::shared_ptr<const XkbKeyboardLayout> XkbKeyboardLayout::withNames(const std::string& layout,
                                                                      const std::string& variant, std::string* error) {
  std::unique_lock<std::mutex> lock;
  xkb_context* context = sharedContext(lock);
  if (!context) {
    if (error) *error = "xkbcommon has no context";
    return nullptr;
  }
  const xkb_rule_names names{"evdev", "pc105", layout.c_str(), variant.c_str(), ""};
  auto keymap = std::make_unique<Keymap>();
  keymap->keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
  lock.unlock();
  if (!keymap->keymap) {
    if (error) *error = "no keyboard layout '" + layout + (variant.empty() ? "" : ":" + variant) + "'";
    return nullptr;
  }
  const char* name = xkb_keymap_layout_get_name(keymap->keymap, 0);
  std::string identifier = variant.empty() ? layout : layout + "(" + variant + ")";
  return std::make_shared<XkbKeyboardLayout>(std::move(keymap), name ? name : identifier, identifier);
}

XkbKeyboardLayout::XkbKeyboardLayout(std::unique_ptr<Keymap> keymap, std::string name, std::string identifier)
    : keymap_(std::move(keymap)), name_(std::move(name)), identifier_(std::move(identifier)), table_(kKeys * 8) {
  for (std::uint16_t key = 0; key < kKeys; ++key) {
    for (std::size_t state = 0; state < 4; ++state) {
      for (KeyAction action : {KeyAction::Down, KeyAction::Display}) {
        table_[tableSlot(key, state, action)] = keymap_->translate(key, kTableStates[state], action);
      }
    }
  }
}

XkbKeyboardLayout::~XkbKeyboardLayout() = default;

std::u16string XkbKeyboardLayout::translate(std::uint16_t virtualKeyCode, unsigned modifierState,
                                            KeyAction action) const {
  // Command and control change nothing, so the table serves them too.
  const unsigned state = modifierState & ~(KeyModifierState::Command | KeyModifierState::Control);
  if (virtualKeyCode < kKeys) {
    for (std::size_t index = 0; index < 4; ++index) {
      if (kTableStates[index] == state) return table_[tableSlot(virtualKeyCode, index, action)];
    }
  }
  return keymap_->translate(virtualKeyCode, state, action);
}

}  // namespace tq
