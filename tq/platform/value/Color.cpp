#include "tq/platform/value/Color.h"

#include <cmath>
#include <functional>
#include <string>
#include <typeinfo>

#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Format.h"
#include "tq/platform/value/String.h"

namespace tq {

namespace {

/// Hexcone HSB to RGB. The hue turns around; saturation and brightness are
/// taken into 0 to 1 so that the RGB values stay meaningful whatever a
/// formula handed in.
std::array<double, 3> rgbFromHSB(double hue, double saturation, double brightness) {
  double h = std::fmod(hue, 1.0);
  if (std::isnan(h)) h = 0;
  if (h < 0) h += 1.0;
  const double s = std::fmin(1.0, std::fmax(0.0, saturation));
  const double v = std::fmin(1.0, std::fmax(0.0, brightness));
  const double sector = h * 6.0;
  const int i = int(std::floor(sector)) % 6;
  const double f = sector - std::floor(sector);
  const double p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
  switch (i) {
    case 0: return {v, t, p};
    case 1: return {q, v, p};
    case 2: return {p, v, t};
    case 3: return {p, q, v};
    case 4: return {t, p, v};
    default: return {v, p, q};
  }
}

/// Hexcone RGB to HSB; hue and saturation are 0 for greys.
std::array<double, 3> hsbFromRGB(double red, double green, double blue) {
  const double max = std::fmax(red, std::fmax(green, blue));
  const double min = std::fmin(red, std::fmin(green, blue));
  const double delta = max - min;
  const double saturation = max > 0 ? delta / max : 0;
  double hue = 0;
  if (delta > 0) {
    if (max == red) {
      hue = std::fmod((green - blue) / delta, 6.0);
    } else if (max == green) {
      hue = (blue - red) / delta + 2;
    } else {
      hue = (red - green) / delta + 4;
    }
    hue /= 6;
    if (hue < 0) hue += 1;
  }
  return {hue, saturation, max};
}

bool sameComponent(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

std::size_t componentHash(double value) {
  if (value == 0) return 0;  // +0 and -0 are equal
  if (std::isnan(value)) return 1;
  return std::hash<double>()(value);
}

Ref<Color> fromHSB(ColorSpace space, double hue, double saturation, double brightness, double alpha) {
  auto [red, green, blue] = rgbFromHSB(hue, saturation, brightness);
  auto color = make<Color>(space, red, green, blue, alpha);
  return color;
}

}  // namespace

const char* colorSpaceName(ColorSpace space) {
  switch (space) {
    case ColorSpace::DeviceRGB: return "DeviceRGB";
    case ColorSpace::CalibratedRGB: return "CalibratedRGB";
    case ColorSpace::DeviceWhite: return "DeviceWhite";
    case ColorSpace::CalibratedWhite: return "CalibratedWhite";
  }
  return "DeviceRGB";
}

bool isRGBColorSpace(ColorSpace space) {
  return space == ColorSpace::DeviceRGB || space == ColorSpace::CalibratedRGB;
}

Color::Color(ColorSpace space, double red, double green, double blue, double alpha)
    : space_(space), red_(red), green_(green), blue_(blue), alpha_(alpha) {
  if (!isRGBColorSpace(space)) green_ = blue_ = red_;
}

Ref<Color> Color::colorWithDeviceRed(double red, double green, double blue, double alpha) {
  return make<Color>(ColorSpace::DeviceRGB, red, green, blue, alpha);
}
Ref<Color> Color::colorWithCalibratedRed(double red, double green, double blue, double alpha) {
  return make<Color>(ColorSpace::CalibratedRGB, red, green, blue, alpha);
}
Ref<Color> Color::colorWithDeviceWhite(double white, double alpha) {
  return make<Color>(ColorSpace::DeviceWhite, white, white, white, alpha);
}
Ref<Color> Color::colorWithCalibratedWhite(double white, double alpha) {
  return make<Color>(ColorSpace::CalibratedWhite, white, white, white, alpha);
}

Ref<Color> Color::colorWithCalibratedHue(double hue, double saturation, double brightness, double alpha) {
  auto color = fromHSB(ColorSpace::CalibratedRGB, hue, saturation, brightness, alpha);
  color->hsb_ = {hue, saturation, brightness};
  return color;
}
Ref<Color> Color::colorWithDeviceHue(double hue, double saturation, double brightness, double alpha) {
  auto color = fromHSB(ColorSpace::DeviceRGB, hue, saturation, brightness, alpha);
  color->hsb_ = {hue, saturation, brightness};
  return color;
}

bool Color::isEqual(const Object& other) const {
  if (this == &other) return true;
  if (typeid(*this) != typeid(other)) return false;
  const auto& color = static_cast<const Color&>(other);
  if (colorSpace() != color.colorSpace()) return false;
  const auto mine = rgba(), theirs = color.rgba();
  for (std::size_t i = 0; i < mine.size(); ++i) {
    if (!sameComponent(mine[i], theirs[i])) return false;
  }
  return true;
}

std::size_t Color::hash() const {
  std::size_t seed = std::size_t(colorSpace());
  for (double component : rgba()) seed = hashCombine(seed, componentHash(component));
  return seed;
}

Ref<String> Color::description() const {
  double components[4] = {0, 0, 0, 0};
  getComponents(components);
  if (numberOfComponents() == 2) {
    return stringWithFormat("%s %g %g", colorSpaceName(), components[0], components[1]);
  }
  return stringWithFormat("%s %g %g %g %g", colorSpaceName(), components[0], components[1], components[2],
                          components[3]);
}

Ref<Color> Color::colorUsingColorSpace(ColorSpace space) const {
  if (space == colorSpace()) return selfAs<Color>();
  if (isRGBColorSpace(space) == isRGBColorSpace(colorSpace())) {
    // Device and calibrated are the same sRGB space: only the name changes.
    auto converted = make<Color>(space, red_, green_, blue_, alpha_);
    converted->hsb_ = hsb_;
    return converted;
  }
  if (isRGBColorSpace(space)) return make<Color>(space, red_, red_, red_, alpha_);
  const double luma = 0.2126 * red_ + 0.7152 * green_ + 0.0722 * blue_;
  return make<Color>(space, luma, luma, luma, alpha_);
}

std::size_t Color::numberOfComponents() const { return isRGBColorSpace(colorSpace()) ? 4 : 2; }

void Color::getComponents(double* components) const {
  if (isRGBColorSpace(space_)) {
    components[0] = red_;
    components[1] = green_;
    components[2] = blue_;
    components[3] = alpha_;
  } else {
    components[0] = red_;
    components[1] = alpha_;
  }
}

void Color::getHue(double* hue, double* saturation, double* brightness, double* alpha) const {
  requireSpace(true, "getHue:saturation:brightness:alpha:");
  const std::array<double, 3> hsb = hsb_ ? *hsb_ : hsbFromRGB(red_, green_, blue_);
  if (hue) *hue = hsb[0];
  if (saturation) *saturation = hsb[1];
  if (brightness) *brightness = hsb[2];
  if (alpha) *alpha = alpha_;
}

std::array<double, 4> Color::rgba() const {
  double components[4] = {0, 0, 0, 0};
  getComponents(components);
  if (numberOfComponents() == 2) return {components[0], components[0], components[0], components[1]};
  return {components[0], components[1], components[2], components[3]};
}

void Color::requireSpace(bool rgb, const char* method) const {
  if (isRGBColorSpace(colorSpace()) == rgb) return;
  raise(ExceptionName::InvalidArgument, std::string("*** -[Color ") + method + "] not valid for the colour " +
                                            description()->utf8() + "; convert it to " +
                                            (rgb ? "an RGB" : "a white") + " colour space first");
}

double Color::redComponent() const {
  requireSpace(true, "redComponent");
  return rgba()[0];
}
double Color::greenComponent() const {
  requireSpace(true, "greenComponent");
  return rgba()[1];
}
double Color::blueComponent() const {
  requireSpace(true, "blueComponent");
  return rgba()[2];
}
double Color::alphaComponent() const { return rgba()[3]; }
double Color::whiteComponent() const {
  requireSpace(false, "whiteComponent");
  return rgba()[0];
}

double Color::hueComponent() const {
  double hue = 0;
  getHue(&hue, nullptr, nullptr, nullptr);
  return hue;
}
double Color::saturationComponent() const {
  double saturation = 0;
  getHue(nullptr, &saturation, nullptr, nullptr);
  return saturation;
}
double Color::brightnessComponent() const {
  double brightness = 0;
  getHue(nullptr, nullptr, &brightness, nullptr);
  return brightness;
}

Ref<Color> Color::blendedColorWithFraction(double fraction, const Color& other) const {
  auto mine = colorUsingColorSpace(ColorSpace::CalibratedRGB);
  auto theirs = other.colorUsingColorSpace(ColorSpace::CalibratedRGB);
  if (!mine || !theirs) return nullptr;
  const auto a = mine->rgba(), b = theirs->rgba();
  auto mix = [fraction](double x, double y) { return x * (1 - fraction) + y * fraction; };
  return colorWithCalibratedRed(mix(a[0], b[0]), mix(a[1], b[1]), mix(a[2], b[2]), mix(a[3], b[3]));
}

Ref<Color> Color::shadowWithLevel(double level) const {
  return blendedColorWithFraction(level, *colorWithCalibratedRed(0, 0, 0, alphaComponent()));
}

Ref<Color> Color::highlightWithLevel(double level) const {
  return blendedColorWithFraction(level, *colorWithCalibratedRed(1, 1, 1, alphaComponent()));
}

}  // namespace tq
