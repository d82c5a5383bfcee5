#include "tq/keys/internal/KeyTables.h"

#include <array>

#include "tq/collections/IndexSetExtensions.h"

namespace tq::detail {

namespace {

const std::vector<std::pair<std::uint16_t, std::u16string>> kFixedNames{
    {36, u"\u21A9"},  {48, u"\u21E5"},  {49, u"Space"},  {51, u"\u232B"},  {53, u"\u238B"},  {63, u"\U0001F310"},
    {64, u"F17"},     {65, u"PAD ,"},   {67, u"PAD *"},  {69, u"PAD +"},   {71, u"\u2327"},  {75, u"PAD /"},
    {76, u"\u2305"},  {78, u"PAD -"},   {79, u"F18"},    {80, u"F19"},     {81, u"PAD ="},   {82, u"PAD 0"},
    {83, u"PAD 1"},   {84, u"PAD 2"},   {85, u"PAD 3"},  {86, u"PAD 4"},   {87, u"PAD 5"},   {88, u"PAD 6"},
    {89, u"PAD 7"},   {91, u"PAD 8"},   {92, u"PAD 9"},  {96, u"F5"},      {97, u"F6"},      {98, u"F7"},
    {99, u"F3"},      {100, u"F8"},     {101, u"F9"},    {103, u"F11"},    {105, u"F13"},    {106, u"F16"},
    {107, u"F14"},    {109, u"F10"},    {111, u"F12"},   {113, u"F15"},    {115, u"\u2196"}, {116, u"\u21DE"},
    {117, u"\u2326"}, {118, u"F4"},     {119, u"\u2198"}, {120, u"F2"},    {121, u"\u21DF"}, {122, u"F1"},
    {123, u"\u2190"}, {124, u"\u2192"}, {125, u"\u2193"}, {126, u"\u2191"},
};

/// Key code → name, for the lookups a glyph string makes at every call.
const std::array<const char16_t*, 128>& fixedNameByCode() {
  static const std::array<const char16_t*, 128> byCode = [] {
    std::array<const char16_t*, 128> names{};
    for (const auto& [code, name] : kFixedNames) names[code] = name.c_str();
    return names;
  }();
  return byCode;
}

/// A set of key codes as bits, read without a lock.
struct KeyCodeBits {
  std::array<bool, 128> bits{};
  bool contains(std::uint16_t keyCode) const { return keyCode < bits.size() && bits[keyCode]; }
};

}  // namespace

const char16_t* fixedKeyName(std::uint16_t keyCode) {
  return keyCode < 128 ? fixedNameByCode()[keyCode] : nullptr;
}

const std::vector<std::pair<std::uint16_t, std::u16string>>& fixedKeyEntries() { return kFixedNames; }

bool isKeypadNumber(std::uint16_t keyCode) {
  static const KeyCodeBits set = [] {
    KeyCodeBits codes;
    for (int code : {82, 83, 84, 85, 86, 87, 88, 89, 91, 92}) codes.bits[std::size_t(code)] = true;
    return codes;
  }();
  return set.contains(keyCode);
}

bool isNumberRowKey(std::uint16_t keyCode) {
  // The set is the index-set list parser's reading of the list, as the
  // number row has always been described; its members are copied into bits
  // for lock-free lookups.
  static const KeyCodeBits set = [] {
    KeyCodeBits codes;
    auto parsed = Corvina::tq_indexSetWithStringList("18,19,20,21,22,23,25,26,28,29");
    for (std::size_t code = 0; code < codes.bits.size(); ++code) codes.bits[code] = parsed->containsIndex(code);
    return codes;
  }();
  return set.contains(keyCode);
}

bool isFunctionKey(std::uint16_t keyCode) {
  static const KeyCodeBits set = [] {
    KeyCodeBits codes;
    for (int code : {122, 120, 99, 118, 96, 97, 98, 100, 101, 109, 103, 111, 105, 107, 113, 106, 64, 79, 80}) {
      codes.bits[std::size_t(code)] = true;
    }
    return codes;
  }();
  return set.contains(keyCode);
}

const char16_t* numberRowDigit(std::uint16_t keyCode) {
  static const char16_t* const digits[12] = {u"1", u"2", u"3", u"4", u"6", u"5", nullptr, u"9", u"7", nullptr, u"8", u"0"};
  return keyCode >= 18 && keyCode <= 29 ? digits[keyCode - 18] : nullptr;
}

}  // namespace tq::detail
