#pragma once
// A colour with a light and a dark variant that resolves against the current
// appearance every time it is used, so whatever is painted with it follows
// the switch between light and dark mode without being told. Each side may
// also carry replacement colours for the interaction effects (pressed, deep
// pressed, disabled, rollover). Beside it: the library's catalogue of named
// colours, and `_TQAppearanceChangeObserver`, which turns appearance changes
// into the "TQEffectiveAppearanceWasChanged" notification and calls the
// controllers that asked for it.
//
// A dynamic colour is stored and passed like a plain colour: every reader of
// `Color` (components, conversion, description, shadow and highlight)
// answers for the variant of the moment. It defines no archiving of its own.

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "tq/platform/object/Object.h"
#include "tq/platform/value/Color.h"

namespace tq {

/// The platform's interaction effects.
enum class TQSystemEffect : std::int64_t { Pressed = 1, DeepPressed = 2, Disabled = 3, Rollover = 4 };

class TQDynamicColor : public Color {
 public:
  /// Effect colours of one side, by effect number.
  using EffectColors = std::map<std::int64_t, Ref<Color>>;

  TQDynamicColor(Ref<Color> lightVariant, Ref<Color> darkVariant);

  /// A new colour with the two variants and no effect colours.
  static Ref<TQDynamicColor> withLightVariant(Ref<Color> lightVariant, Ref<Color> darkVariant);
  /// Whether the appearance is dark now (asked at every call; the instance
  /// form is `TQFoundation::isDarkMode(color)`, which answers the same).
  static bool isDarkMode();

  Ref<Color> lightVariant() const;
  void setLightVariant(Ref<Color> color);
  Ref<Color> darkVariant() const;
  void setDarkVariant(Ref<Color> color);
  /// The dark variant in dark mode when there is one, else the light one.
  Ref<Color> currentVariant() const;

  /// The effect's colour for the appearance of the moment: the side's own
  /// entry, else its variant's `colorWithSystemEffect`, else the variant. A
  /// plain colour; nil only when the side has no variant.
  Ref<Color> colorWithSystemEffect(std::int64_t effect) const;
  /// The platform's effect colour of a plain colour: none. A dynamic colour
  /// that is a variant of another answers its own.
  static Ref<Color> colorWithSystemEffect(const Color& color, std::int64_t effect);

  Ref<Color> lightPressedEffectColor() const { return effectColor(false, 1); }
  void setLightPressedEffectColor(Ref<Color> color) { setEffectColor(false, 1, std::move(color)); }
  Ref<Color> lightDeepPressedEffectColor() const { return effectColor(false, 2); }
  void setLightDeepPressedEffectColor(Ref<Color> color) { setEffectColor(false, 2, std::move(color)); }
  Ref<Color> lightDisabledEffectColor() const { return effectColor(false, 3); }
  void setLightDisabledEffectColor(Ref<Color> color) { setEffectColor(false, 3, std::move(color)); }
  Ref<Color> lightRolloverEffectColor() const { return effectColor(false, 4); }
  void setLightRolloverEffectColor(Ref<Color> color) { setEffectColor(false, 4, std::move(color)); }
  Ref<Color> darkPressedEffectColor() const { return effectColor(true, 1); }
  void setDarkPressedEffectColor(Ref<Color> color) { setEffectColor(true, 1, std::move(color)); }
  Ref<Color> darkDeepPressedEffectColor() const { return effectColor(true, 2); }
  void setDarkDeepPressedEffectColor(Ref<Color> color) { setEffectColor(true, 2, std::move(color)); }
  Ref<Color> darkDisabledEffectColor() const { return effectColor(true, 3); }
  void setDarkDisabledEffectColor(Ref<Color> color) { setEffectColor(true, 3, std::move(color)); }
  Ref<Color> darkRolloverEffectColor() const { return effectColor(true, 4); }
  void setDarkRolloverEffectColor(Ref<Color> color) { setEffectColor(true, 4, std::move(color)); }

  // Object: identity, as for any colour class that does not say better; a
  // copy is a new colour with the same variants and its own effect colours.
  bool isEqual(const Object& other) const override { return this == &other; }
  std::size_t hash() const override { return std::hash<const void*>()(this); }
  Ref<String> description() const override;
  std::string className() const override { return "TQDynamicColor"; }
  Id copy() const override;

  // Color, forwarded to the current variant. With no variant at all, the
  // forwarded calls answer nothing: zero components, nil colours.
  ColorSpace colorSpace() const override;
  Ref<Color> colorUsingColorSpace(ColorSpace space) const override;
  std::size_t numberOfComponents() const override;
  void getComponents(double* components) const override;
  void getHue(double* hue, double* saturation, double* brightness, double* alpha) const override;
  Ref<Color> shadowWithLevel(double level) const override;
  Ref<Color> highlightWithLevel(double level) const override;

  // ---- The catalogue: a new colour at each call, except those marked shared.
  static Ref<TQDynamicColor> tagWindowBackgroundColor();
  static Ref<TQDynamicColor> tagWindowFrameColor();
  static Ref<TQDynamicColor> tokenAreaViewBackgroundColor();
  static Ref<TQDynamicColor> keywordFillColor();
  static Ref<TQDynamicColor> keywordStrokeColor();
  static Ref<TQDynamicColor> keywordTextColor();
  static Ref<TQDynamicColor> gmailLabelFillColor();
  static Ref<TQDynamicColor> gmailLabelStrokeColor();  // shared
  static Ref<TQDynamicColor> gmailLabelCountColor();
  static Ref<TQDynamicColor> gmailLabelTextColor();
  static Ref<TQDynamicColor> mutedGmailLabelFillColor();
  static Ref<TQDynamicColor> mutedGmailLabelStrokeColor();
  static Ref<TQDynamicColor> mutedGmailLabelTextColor();
  static Ref<TQDynamicColor> keywordsScopeBarBackgroundColor();
  static Ref<TQDynamicColor> tagFieldLabelTextColor();             // shared
  static Ref<TQDynamicColor> highlightedTagFieldLabelTextColor();  // shared
  static Ref<TQDynamicColor> notesBackgroundColor();               // shared
  static Ref<TQDynamicColor> notesTextColor();                     // shared
  static Ref<TQDynamicColor> composerWindowBackgroundColor();
  /// `namedColor4` to `namedColor36`: `number` of the catalogue, nil for the
  /// numbers it has not (1 to 3, 9, 12, 28, 29, 34, and beyond 36).
  static Ref<TQDynamicColor> namedColor(int number);
  /// The catalogue's names ("tagWindowBackgroundColor", ..., "namedColor4",
  /// ...) in the order above, and the colour of a name (nil for none).
  static const std::vector<std::string>& catalogueNames();
  static Ref<TQDynamicColor> catalogueColor(std::string_view name);

 private:
  Ref<Color> effectColor(bool dark, std::int64_t effect) const;
  void setEffectColor(bool dark, std::int64_t effect, Ref<Color> color);

  mutable std::mutex mutex_;  // the variants and both effect maps
  Ref<Color> light_;
  Ref<Color> dark_;
  // Replaced whole under the lock (copy, change, store), so that a reader
  // holding the previous map is never disturbed.
  std::shared_ptr<const EffectColors> lightEffects_;
  std::shared_ptr<const EffectColors> darkEffects_;
};

}  // namespace tq
