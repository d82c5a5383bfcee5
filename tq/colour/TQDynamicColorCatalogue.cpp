// The library's named colours. Each call builds a new colour unless the
// colour is shared (built once, the same object answered afterwards).
//
// Without the platform's colour management every space is sRGB: calibrated
// and device colours hold the same components, and the generic white of
// `colorWithWhite:alpha:` is a calibrated white.

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

#include "tq/colour/TQDynamicColor.h"

namespace tq {

namespace {

Ref<Color> rgb(double red, double green, double blue) { return Color::colorWithCalibratedRed(red, green, blue, 1.0); }
Ref<Color> white(double value) { return Color::colorWithCalibratedWhite(value, 1.0); }
Ref<Color> deviceWhite(double value) { return Color::colorWithDeviceWhite(value, 1.0); }
Ref<Color> genericWhite(double value) { return Color::colorWithCalibratedWhite(value, 1.0); }

/// A colour with both variants and, optionally, the pressed colour of each.
Ref<TQDynamicColor> dynamic(Ref<Color> light, Ref<Color> dark, Ref<Color> lightPressed = nullptr,
                            Ref<Color> darkPressed = nullptr) {
  auto color = TQDynamicColor::withLightVariant(std::move(light), std::move(dark));
  if (lightPressed) color->setLightPressedEffectColor(std::move(lightPressed));
  if (darkPressed) color->setDarkPressedEffectColor(std::move(darkPressed));
  return color;
}

/// Built once, under thread-safe one-time initialisation, never released.
template <class Make>
Ref<TQDynamicColor> shared(Make make) {
  static const Ref<TQDynamicColor> color = make();
  return color;
}

struct Numbered {
  int number;
  double red, green, blue;
};

// The numbers have gaps (no 1 to 3, 9, 12, 28, 29, 34), and callers rely on
// them: a colour's number is its name.
constexpr std::array<Numbered, 28> kNumberedColors{{
    {4, 0.224, 0.411, 0.742},  {5, 0.227, 0.322, 0.43},   {6, 0.235, 0.422, 0.853},  {7, 0.335, 0.522, 0.853},
    {8, 0.355, 0.454, 0.923},  {10, 0.444, 0.543, 0.712}, {11, 0.469, 0.592, 0.91},  {13, 0.5, 0.6, 0.8},
    {14, 0.534, 0.683, 0.867}, {15, 0.569, 0.692, 0.91},  {16, 0.588, 0.749, 0.929}, {17, 0.588, 0.823, 0.992},
    {18, 0.666, 0.765, 0.934}, {19, 0.671, 0.706, 0.773}, {20, 0.71, 0.75, 0.81},    {21, 0.729, 0.945, 0.266},
    {22, 0.777, 0.771, 0.665}, {23, 0.784, 0.784, 0.784}, {24, 0.8, 0.82, 0.87},     {25, 0.81, 0.864, 0.935},
    {26, 0.834, 0.883, 0.967}, {27, 0.837, 0.869, 0.898}, {30, 0.851, 0.906, 0.973}, {31, 0.929, 0.698, 0.992},
    {32, 0.992, 0.945, 0.274}, {33, 0.996, 0.784, 0.298}, {35, 1.0, 0.533, 0.545},   {36, 1.0, 1.0, 1.0},
}};

using Maker = Ref<TQDynamicColor> (*)();

const std::vector<std::pair<std::string, Maker>>& namedMakers() {
  static const std::vector<std::pair<std::string, Maker>> makers{
      {"tagWindowBackgroundColor", &TQDynamicColor::tagWindowBackgroundColor},
      {"tagWindowFrameColor", &TQDynamicColor::tagWindowFrameColor},
      {"tokenAreaViewBackgroundColor", &TQDynamicColor::tokenAreaViewBackgroundColor},
      {"keywordFillColor", &TQDynamicColor::keywordFillColor},
      {"keywordStrokeColor", &TQDynamicColor::keywordStrokeColor},
      {"keywordTextColor", &TQDynamicColor::keywordTextColor},
      {"gmailLabelFillColor", &TQDynamicColor::gmailLabelFillColor},
      {"gmailLabelStrokeColor", &TQDynamicColor::gmailLabelStrokeColor},
      {"gmailLabelCountColor", &TQDynamicColor::gmailLabelCountColor},
      {"gmailLabelTextColor", &TQDynamicColor::gmailLabelTextColor},
      {"mutedGmailLabelFillColor", &TQDynamicColor::mutedGmailLabelFillColor},
      {"mutedGmailLabelStrokeColor", &TQDynamicColor::mutedGmailLabelStrokeColor},
      {"mutedGmailLabelTextColor", &TQDynamicColor::mutedGmailLabelTextColor},
      {"keywordsScopeBarBackgroundColor", &TQDynamicColor::keywordsScopeBarBackgroundColor},
      {"tagFieldLabelTextColor", &TQDynamicColor::tagFieldLabelTextColor},
      {"highlightedTagFieldLabelTextColor", &TQDynamicColor::highlightedTagFieldLabelTextColor},
      {"notesBackgroundColor", &TQDynamicColor::notesBackgroundColor},
      {"notesTextColor", &TQDynamicColor::notesTextColor},
      {"composerWindowBackgroundColor", &TQDynamicColor::composerWindowBackgroundColor},
  };
  return makers;
}

}  // namespace

Ref<TQDynamicColor> TQDynamicColor::tagWindowBackgroundColor() {
  return dynamic(rgb(0.837, 0.869, 0.898), rgb(0.1, 0.1, 0.1));
}

Ref<TQDynamicColor> TQDynamicColor::tagWindowFrameColor() { return dynamic(deviceWhite(1.0), deviceWhite(0.5)); }

Ref<TQDynamicColor> TQDynamicColor::tokenAreaViewBackgroundColor() {
  // The platform colour itself has a light and a dark form: each side takes
  // its own, so the colour follows the appearance as the platform's does.
  return dynamic(Color::namedColorForAppearance("controlBackgroundColor", false),
                 Color::namedColorForAppearance("controlBackgroundColor", true));
}

Ref<TQDynamicColor> TQDynamicColor::keywordFillColor() {
  return dynamic(rgb(0.834, 0.883, 0.967), rgb(0.666, 0.765, 0.934), rgb(0.355, 0.454, 0.923),
                 rgb(0.224, 0.411, 0.742));
}

Ref<TQDynamicColor> TQDynamicColor::keywordStrokeColor() {
  return dynamic(rgb(0.569, 0.692, 0.91), nullptr, rgb(0.335, 0.522, 0.853));
}

Ref<TQDynamicColor> TQDynamicColor::keywordTextColor() {
  return dynamic(rgb(0.224, 0.411, 0.742)->shadowWithLevel(0.5), rgb(0.224, 0.411, 0.742)->shadowWithLevel(0.3),
                 white(1.0), rgb(0.834, 0.883, 0.967));
}

Ref<TQDynamicColor> TQDynamicColor::gmailLabelFillColor() {
  return dynamic(rgb(0.569, 0.692, 0.91), rgb(83 / 255.0, 100 / 255.0, 125 / 255.0), rgb(0.224, 0.411, 0.742),
                 rgb(64 / 255.0, 79 / 255.0, 100 / 255.0));
}

Ref<TQDynamicColor> TQDynamicColor::gmailLabelStrokeColor() {
  return shared([] {
    return dynamic(rgb(0.569, 0.692, 0.91)->shadowWithLevel(0.3),
                   rgb(83 / 255.0, 100 / 255.0, 125 / 255.0)->shadowWithLevel(0.3), rgb(0.224, 0.411, 0.742));
  });
}

Ref<TQDynamicColor> TQDynamicColor::gmailLabelCountColor() {
  auto fill = gmailLabelFillColor();
  return withLightVariant(fill->lightVariant()->highlightWithLevel(0.5), fill->darkVariant()->highlightWithLevel(0.5));
}

Ref<TQDynamicColor> TQDynamicColor::gmailLabelTextColor() {
  return dynamic(genericWhite(0.1), genericWhite(0.85), genericWhite(1.0), genericWhite(1.0));
}

Ref<TQDynamicColor> TQDynamicColor::mutedGmailLabelFillColor() {
  return dynamic(white(0.85), white(0.6), white(0.6), white(0.4));
}

Ref<TQDynamicColor> TQDynamicColor::mutedGmailLabelStrokeColor() {
  return dynamic(white(0.85), white(0.6), white(0.45), white(0.3));
}

Ref<TQDynamicColor> TQDynamicColor::mutedGmailLabelTextColor() {
  return dynamic(white(0.3), white(0.3), white(0.0), white(0.8));
}

Ref<TQDynamicColor> TQDynamicColor::keywordsScopeBarBackgroundColor() { return tagWindowBackgroundColor(); }

Ref<TQDynamicColor> TQDynamicColor::tagFieldLabelTextColor() {
  return shared([] { return dynamic(deviceWhite(0.2), deviceWhite(0.9)); });
}

Ref<TQDynamicColor> TQDynamicColor::highlightedTagFieldLabelTextColor() {
  return shared([] { return dynamic(deviceWhite(1.0), deviceWhite(0.95)); });
}

Ref<TQDynamicColor> TQDynamicColor::notesBackgroundColor() {
  return shared([] { return dynamic(rgb(0.999, 0.971, 0.865), rgb(0.237, 0.216, 0.149)); });
}

Ref<TQDynamicColor> TQDynamicColor::notesTextColor() {
  return shared([] { return dynamic(white(0.0), white(1.0)); });
}

Ref<TQDynamicColor> TQDynamicColor::composerWindowBackgroundColor() {
  return dynamic(Color::namedColorForAppearance("whiteColor", false), genericWhite(0.16), white(0.95), white(0.25));
}

Ref<TQDynamicColor> TQDynamicColor::namedColor(int number) {
  auto found = std::find_if(kNumberedColors.begin(), kNumberedColors.end(),
                            [number](const Numbered& each) { return each.number == number; });
  if (found == kNumberedColors.end()) return nullptr;
  auto color = rgb(found->red, found->green, found->blue);
  return withLightVariant(color, color);
}

const std::vector<std::string>& TQDynamicColor::catalogueNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const auto& [name, maker] : namedMakers()) all.push_back(name);
    for (const Numbered& each : kNumberedColors) all.push_back("namedColor" + std::to_string(each.number));
    return all;
  }();
  return names;
}

Ref<TQDynamicColor> TQDynamicColor::catalogueColor(std::string_view name) {
  for (const auto& [each, maker] : namedMakers()) {
    if (each == name) return maker();
  }
  constexpr std::string_view prefix = "namedColor";
  if (name.substr(0, prefix.size()) != prefix || name.size() == prefix.size()) return nullptr;
  int number = 0;
  for (char c : name.substr(prefix.size())) {
    if (c < '0' || c > '9' || number > 1000) return nullptr;
    number = number * 10 + (c - '0');
  }
  if (name[prefix.size()] == '0') return nullptr;  // "namedColor04" names nothing
  return namedColor(number);
}

}  // namespace tq
