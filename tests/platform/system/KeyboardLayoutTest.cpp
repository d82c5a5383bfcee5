// Keyboard layouts: the key-code table, translations over real
// xkeyboard-config layouts, the configured layout and its change events.

#include "tq/platform/system/KeyboardLayout.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <atomic>
#include <fstream>

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/Environment.h"
#include "tq/platform/value/String.h"

using namespace tq;

namespace {

std::shared_ptr<const KeyboardLayout> layout(const std::string& name, const std::string& variant = "") {
  std::string error;
  auto compiled = XkbKeyboardLayout::withNames(name, variant, &error);
  EXPECT_TRUE(compiled) << error;
  return compiled;
}

std::string utf8(const std::u16string& text) { return utf16ToUTF8(text); }

}  // namespace

TEST(KeyboardLayoutTable, VirtualKeyCodesReachTheirEvdevKeys) {
  const std::pair<std::uint16_t, int> pairs[] = {
      {0, KEY_A},      {12, KEY_Q},     {18, KEY_1},     {22, KEY_6},      {23, KEY_5},    {29, KEY_0},
      {36, KEY_ENTER}, {49, KEY_SPACE}, {50, KEY_GRAVE}, {10, KEY_102ND},  {122, KEY_F1},  {105, KEY_F13},
      {82, KEY_KP0},   {92, KEY_KP9},   {126, KEY_UP},   {117, KEY_DELETE}, {65, KEY_KPDOT}, {71, KEY_NUMLOCK}};
  for (auto [vk, evdev] : pairs) EXPECT_EQ(evdevKeyCode(vk), std::optional<std::uint16_t>(evdev)) << vk;
  for (std::uint16_t none : {66, 68, 70, 77, 108, 112, 127, 128, 500}) EXPECT_FALSE(evdevKeyCode(none)) << none;
}

TEST(XkbKeyboardLayout, KeysTypeWhatTheUsersOwnLayoutPrintsOnThem) {
  using namespace KeyModifierState;
  struct Case {
    const char* layout;
    const char* variant;
    std::uint16_t key;
    unsigned state;
    const char* text;
  };
  const Case cases[] = {
      {"us", "", 0, 0, "a"},          {"us", "", 0, Shift, "A"},       {"us", "", 18, Shift, "!"},
      {"us", "", 12, Command, "q"},   {"us", "", 0, CapsLock, "A"},    {"fr", "", 0, 0, "q"},
      {"fr", "", 12, 0, "a"},         {"fr", "", 18, 0, "&"},          {"fr", "", 18, Shift, "1"},
      {"fr", "", 29, Option, "@"},    {"de", "", 6, 0, "y"},           {"de", "", 16, 0, "z"},
      {"de", "", 12, Option, "@"},    {"de", "", 27, 0, "ß"},          {"us", "dvorak", 1, 0, "o"},
      {"us", "dvorak", 12, 0, "'"},   {"ru", "", 0, 0, "ф"},           {"us", "", 36, 0, ""},
      {"us", "", 56, 0, ""},
  };
  for (const Case& c : cases) {
    auto compiled = layout(c.layout, c.variant);
    ASSERT_TRUE(compiled);
    EXPECT_EQ(utf8(compiled->translate(c.key, c.state, KeyAction::Display)), c.text)
        << c.layout << "(" << c.variant << ") key " << c.key << " state " << c.state;
  }
}

TEST(XkbKeyboardLayout, ADeadKeyShowsItsAccentButTypesNothingByItself) {
  auto german = layout("de");
  ASSERT_TRUE(german);
  // kVK 24 (the ANSI "=" key) is the German acute/grave dead key.
  EXPECT_EQ(utf8(german->translate(24, 0, KeyAction::Display)), "´");
  EXPECT_EQ(utf8(german->translate(24, KeyModifierState::Shift, KeyAction::Display)), "`");
  EXPECT_EQ(german->translate(24, 0, KeyAction::Down), u"");
  EXPECT_EQ(german->translate(24, KeyModifierState::Shift, KeyAction::Down), u"");
  EXPECT_EQ(utf8(german->translate(0, 0, KeyAction::Down)), "a") << "other keys type alike in both actions";
}

TEST(XkbKeyboardLayout, NamesIdentifiersAndLatinLetters) {
  struct Case {
    const char* layout;
    const char* variant;
    const char* name;
    const char* identifier;
    bool ascii;
  };
  for (const Case& c : {Case{"us", "", "English (US)", "us", true}, Case{"fr", "", "French", "fr", true},
                        Case{"de", "", "German", "de", true},
                        Case{"us", "dvorak", "English (Dvorak)", "us(dvorak)", true},
                        Case{"ru", "", "Russian", "ru", false}}) {
    auto compiled = layout(c.layout, c.variant);
    ASSERT_TRUE(compiled);
    EXPECT_EQ(compiled->name(), c.name);
    EXPECT_EQ(compiled->identifier(), c.identifier);
    EXPECT_EQ(compiled->isASCIICapable(), c.ascii) << c.layout;
  }
  std::string error;
  EXPECT_FALSE(XkbKeyboardLayout::withNames("no-such-layout", "", &error));
  EXPECT_EQ(error, "no keyboard layout 'no-such-layout'");
  EXPECT_FALSE(FixedKeyboardLayouts::withNames("us,", "", &error));
  EXPECT_EQ(error, "empty keyboard layout name in 'us,'");
}

TEST(FixedKeyboardLayouts, TheFirstLayoutIsCurrentAndTheFirstLatinOneServesShortcuts) {
  auto russianFrench = FixedKeyboardLayouts::withNames("ru,fr");
  ASSERT_TRUE(russianFrench);
  EXPECT_EQ(russianFrench->currentLayout()->identifier(), "ru");
  EXPECT_EQ(russianFrench->currentASCIICapableLayout()->identifier(), "fr");
  auto russian = FixedKeyboardLayouts::withNames("ru");
  EXPECT_EQ(russian->currentASCIICapableLayout()->identifier(), "us") << "no Latin layout configured: us";
  auto dvorak = FixedKeyboardLayouts::withNames("us,de", "dvorak,");
  EXPECT_EQ(dvorak->currentLayout()->identifier(), "us(dvorak)");
}

TEST(SystemKeyboardLayouts, EnvironmentThenConfigurationFileThenUs) {
  tq::testing::TemporaryFolder folder("keyboard");
  const std::string file = folder.path() / "keyboard";
  SystemKeyboardLayouts system(file);
  {
    ScopedEnvironment none(std::make_shared<FixedEnvironment>());
    EXPECT_EQ(system.currentLayout()->identifier(), "us") << "nothing configured";
    std::ofstream(file) << "# written by hand\nXKBMODEL=\"pc105\"\nXKBLAYOUT=\"de,us\"\nXKBVARIANT=\"nodeadkeys,\"\n";
    EXPECT_EQ(system.currentLayout()->identifier(), "de(nodeadkeys)");
    EXPECT_EQ(system.configuredNames(), std::make_pair(std::string("de,us"), std::string("nodeadkeys,")));
    std::ofstream(file) << "XKBLAYOUT=no-such-layout\n";
    EXPECT_EQ(system.currentLayout()->identifier(), "us") << "an unknown configuration falls back to us";
  }
  ScopedEnvironment french(std::make_shared<FixedEnvironment>(
      FixedEnvironment{{"XKB_DEFAULT_LAYOUT", "fr"}, {"XKB_DEFAULT_VARIANT", "azerty"}}));
  EXPECT_EQ(system.currentLayout()->identifier(), "fr(azerty)") << "the environment comes before the file";
}

TEST(SystemKeyboardLayouts, AnEditOfTheConfigurationFileIsAnnounced) {
  tq::testing::TemporaryFolder folder("keyboard");
  const std::string file = folder.path() / "keyboard";
  SystemKeyboardLayouts system(file);
  std::atomic<int> announced{0};
  const auto token = KeyboardLayouts::changes().add([&] { ++announced; });
  std::ofstream(folder.path() / "unrelated") << "x";
  std::ofstream(file) << "XKBLAYOUT=\"fr\"\n";
  EXPECT_TRUE(tq::testing::eventually([&] { return announced.load() > 0; }));
  KeyboardLayouts::changes().remove(token);
}

TEST(KeyboardLayoutsSeam, InstallingLayoutsAnnouncesAChange) {
  int announced = 0;
  const auto token = KeyboardLayouts::changes().add([&] { ++announced; });
  {
    ScopedKeyboardLayouts french(FixedKeyboardLayouts::withNames("fr"));
    EXPECT_EQ(KeyboardLayouts::current()->currentLayout()->name(), "French");
    EXPECT_EQ(announced, 1);
  }
  EXPECT_EQ(announced, 2);
  EXPECT_EQ(KeyboardLayouts::current(), KeyboardLayouts::system());
  KeyboardLayouts::changes().remove(token);
}
