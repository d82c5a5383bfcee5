#include "tq/colour/TQDynamicColor.h"

#include "tq/platform/system/Appearance.h"
#include "tq/platform/value/Format.h"
#include "tq/platform/value/String.h"

namespace tq {

TQDynamicColor::TQDynamicColor(Ref<Color> lightVariant, Ref<Color> darkVariant)
    // The base's own components are never read: every reader is answered by
    // the variant of the moment.
    : Color(ColorSpace::DeviceRGB, 0, 0, 0, 0), light_(std::move(lightVariant)), dark_(std::move(darkVariant)) {}

Ref<TQDynamicColor> TQDynamicColor::withLightVariant(Ref<Color> lightVariant, Ref<Color> darkVariant) {
  return make<TQDynamicColor>(std::move(lightVariant), std::move(darkVariant));
}

bool TQDynamicColor::isDarkMode() { return isDarkAppearance(); }

Ref<Color> TQDynamicColor::lightVariant() const {
  std::lock_guard lock(mutex_);
  return light_;
}
void TQDynamicColor::setLightVariant(Ref<Color> color) {
  std::lock_guard lock(mutex_);
  light_ = std::move(color);
}
Ref<Color> TQDynamicColor::darkVariant() const {
  std::lock_guard lock(mutex_);
  return dark_;
}
void TQDynamicColor::setDarkVariant(Ref<Color> color) {
  std::lock_guard lock(mutex_);
  dark_ = std::move(color);
}

Ref<Color> TQDynamicColor::currentVariant() const {
  // The mode is asked outside the lock: an appearance provider may take
  // time (a first portal connection), and the variants may change meanwhile
  // without harm.
  const bool dark = isDarkMode();
  std::lock_guard lock(mutex_);
  return dark && dark_ ? dark_ : light_;
}

Ref<Color> TQDynamicColor::colorWithSystemEffect(const Color& color, std::int64_t effect) {
  if (auto dynamic = dynamic_cast<const TQDynamicColor*>(&color)) return dynamic->colorWithSystemEffect(effect);
  return nullptr;  // without the platform's effect rendering, a plain colour has none
}

Ref<Color> TQDynamicColor::colorWithSystemEffect(std::int64_t effect) const {
  const bool darkMode = isDarkMode();
  Ref<Color> variant;
  std::shared_ptr<const EffectColors> effects;
  {
    std::lock_guard lock(mutex_);
    const bool dark = darkMode && dark_;
    variant = dark ? dark_ : light_;
    effects = dark ? darkEffects_ : lightEffects_;
  }
  if (effects) {
    if (auto found = effects->find(effect); found != effects->end()) return found->second;
  }
  if (!variant) return nullptr;
  if (auto own = colorWithSystemEffect(*variant, effect)) return own;
  return variant;
}

Ref<Color> TQDynamicColor::effectColor(bool dark, std::int64_t effect) const {
  std::lock_guard lock(mutex_);
  const auto& effects = dark ? darkEffects_ : lightEffects_;
  if (!effects) return nullptr;
  auto found = effects->find(effect);
  return found == effects->end() ? nullptr : found->second;
}

void TQDynamicColor::setEffectColor(bool dark, std::int64_t effect, Ref<Color> color) {
  std::lock_guard lock(mutex_);
  auto& effects = dark ? darkEffects_ : lightEffects_;
  auto changed = effects ? std::make_shared<EffectColors>(*effects) : std::make_shared<EffectColors>();
  if (color) {
    (*changed)[effect] = std::move(color);
  } else {
    changed->erase(effect);
  }
  effects = std::move(changed);
}

Id TQDynamicColor::copy() const {
  std::lock_guard lock(mutex_);
  auto result = make<TQDynamicColor>(light_, dark_);
  // Copies of the maps, so that later changes to either colour stay its own.
  if (lightEffects_) result->lightEffects_ = std::make_shared<const EffectColors>(*lightEffects_);
  if (darkEffects_) result->darkEffects_ = std::make_shared<const EffectColors>(*darkEffects_);
  return result;
}

Ref<String> TQDynamicColor::description() const {
  auto variant = currentVariant();
  return variant ? variant->description() : nullptr;
}

ColorSpace TQDynamicColor::colorSpace() const {
  auto variant = currentVariant();
  return variant ? variant->colorSpace() : ColorSpace::DeviceRGB;
}

Ref<Color> TQDynamicColor::colorUsingColorSpace(ColorSpace space) const {
  auto variant = currentVariant();
  return variant ? variant->colorUsingColorSpace(space) : nullptr;
}

std::size_t TQDynamicColor::numberOfComponents() const {
  auto variant = currentVariant();
  return variant ? variant->numberOfComponents() : 0;
}

void TQDynamicColor::getComponents(double* components) const {
  if (auto variant = currentVariant()) variant->getComponents(components);
}

void TQDynamicColor::getHue(double* hue, double* saturation, double* brightness, double* alpha) const {
  if (auto variant = currentVariant()) variant->getHue(hue, saturation, brightness, alpha);
}

Ref<Color> TQDynamicColor::shadowWithLevel(double level) const {
  auto variant = currentVariant();
  return variant ? variant->shadowWithLevel(level) : nullptr;
}

Ref<Color> TQDynamicColor::highlightWithLevel(double level) const {
  auto variant = currentVariant();
  return variant ? variant->highlightWithLevel(level) : nullptr;
}

}  // namespace tq
