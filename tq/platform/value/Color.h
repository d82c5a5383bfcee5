#pragma once
// Colours: components in a colour space, the platform's named colours, and
// conversion between the spaces.
//
// Without the platform's colour management, every space is sRGB: device and
// calibrated RGB hold the same red, green and blue, and the two white spaces
// the same grey. A colour made from hue, saturation and brightness (the
// hexcone model) is an RGB colour that also remembers the values it was made
// from. Components are not clamped: values outside 0 to 1 are kept as given
// (extended range), since text forms read back what they wrote.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tq/platform/object/AssociatedObjects.h"
#include "tq/platform/object/Object.h"

namespace tq {

enum class ColorSpace { DeviceRGB, CalibratedRGB, DeviceWhite, CalibratedWhite };

/// "DeviceRGB", "CalibratedRGB", "DeviceWhite", "CalibratedWhite".
const char* colorSpaceName(ColorSpace space);
bool isRGBColorSpace(ColorSpace space);

class Color : public Object {
 public:
  /// A colour in `space`. For the white spaces the three values are the grey
  /// (pass it three times); the factories below are the usual way in.
  Color(ColorSpace space, double red, double green, double blue, double alpha);

  static Ref<Color> colorWithDeviceRed(double red, double green, double blue, double alpha);
  static Ref<Color> colorWithCalibratedRed(double red, double green, double blue, double alpha);
  static Ref<Color> colorWithDeviceWhite(double white, double alpha);
  static Ref<Color> colorWithCalibratedWhite(double white, double alpha);
  /// Hexcone HSB: the hue turns around (1.25 is 0.25); saturation and
  /// brightness are taken into 0 to 1 for the RGB values, while the hue,
  /// saturation and brightness readers answer the values as given.
  static Ref<Color> colorWithCalibratedHue(double hue, double saturation, double brightness, double alpha);
  static Ref<Color> colorWithDeviceHue(double hue, double saturation, double brightness, double alpha);

  /// The platform colour that the class method `methodName` answers
  /// ("redColor", "controlAccentColor"), nil when there is none. The names
  /// are exact: "red" and "RedColor" find nothing. The system colours answer
  /// their light or dark form by the current appearance at each call; the
  /// others are one shared object each.
  static Ref<Color> namedColor(std::string_view methodName);
  /// The form a named colour has in the light or the dark appearance (a
  /// colour with one form answers it for both), whatever the appearance now.
  static Ref<Color> namedColorForAppearance(std::string_view methodName, bool dark);
  /// Every name `namedColor` knows, sorted.
  static std::vector<std::string> namedColorNames();

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  /// "CalibratedRGB 1 0 0 1", "CalibratedWhite 0.5 1".
  Ref<String> description() const override;
  std::string className() const override { return "Color"; }
  /// Colours are immutable: a copy is the colour itself.
  Id copy() const override { return self(); }

  // The core that the readers below are built on. A colour that stands for
  // another (one that resolves against the appearance) overrides these.
  virtual ColorSpace colorSpace() const { return space_; }
  /// The colour in `space`: itself when it is in that space already; nil
  /// when it cannot be converted (every colour of this class can be).
  /// RGB to white takes the luma (0.2126 R + 0.7152 G + 0.0722 B).
  virtual Ref<Color> colorUsingColorSpace(ColorSpace space) const;
  /// 4 in the RGB spaces (red, green, blue, alpha), 2 in the white spaces
  /// (white, alpha).
  virtual std::size_t numberOfComponents() const;
  /// Writes `numberOfComponents()` values.
  virtual void getComponents(double* components) const;
  /// Hue, saturation, brightness and alpha; RGB spaces only (else the
  /// invalid-argument failure).
  virtual void getHue(double* hue, double* saturation, double* brightness, double* alpha) const;

  const char* colorSpaceName() const { return tq::colorSpaceName(colorSpace()); }

  /// (1 − fraction) of this colour and `fraction` of `other`, alpha
  /// included, in calibrated RGB; nil when either cannot be converted.
  Ref<Color> blendedColorWithFraction(double fraction, const Color& other) const;
  /// Blended toward black by `level` (0 to 1): the platform's shadow.
  virtual Ref<Color> shadowWithLevel(double level) const;
  /// Blended toward white by `level`: the platform's highlight.
  virtual Ref<Color> highlightWithLevel(double level) const;

  // Component readers. Red, green, blue, hue, saturation and brightness are
  // valid in the RGB spaces, white in the white spaces (convert first); any
  // other use raises the invalid-argument failure. Alpha is always valid.
  double redComponent() const;
  double greenComponent() const;
  double blueComponent() const;
  double alphaComponent() const;
  double hueComponent() const;
  double saturationComponent() const;
  double brightnessComponent() const;
  double whiteComponent() const;

  /// Results other code keeps with this colour (its shades): retained,
  /// thread-safe, released with the colour.
  AssociatedObjects& associatedObjects() const { return associated_; }

 private:
  std::array<double, 4> rgba() const;
  void requireSpace(bool rgb, const char* method) const;

  ColorSpace space_;
  double red_, green_, blue_, alpha_;
  /// Hue, saturation and brightness as given, for colours made from them.
  std::optional<std::array<double, 3>> hsb_;
  mutable AssociatedObjects associated_;
};

}  // namespace tq
