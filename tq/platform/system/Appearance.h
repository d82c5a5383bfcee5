#pragma once
// The appearance of the desktop as a seam: whether the effective appearance
// is dark. Colours with light and dark variants, and the colour helpers'
// dark-mode test, ask it at every use, so a host that switches between light
// and dark is followed at once. Hosts install their own answer (from their
// toolkit); tests install a fixed one.

#include <memory>

namespace tq {

class Appearance {
 public:
  virtual ~Appearance() = default;

  /// Whether the effective appearance is dark now.
  virtual bool isDark() const = 0;

  /// The appearance the library reads: the system's unless one was installed.
  static std::shared_ptr<const Appearance> current();
  /// Installs an appearance (nullptr: the system's again); answers the one it
  /// replaces.
  static std::shared_ptr<const Appearance> setCurrent(std::shared_ptr<const Appearance> appearance);
  /// The system's own answer: `TQ_APPEARANCE` ("dark" or "light", in any
  /// case, read through the environment seam at each call), else light.
  static std::shared_ptr<const Appearance> system();
};

/// An appearance that answers the same at every call.
class FixedAppearance : public Appearance {
 public:
  explicit FixedAppearance(bool dark) : dark_(dark) {}
  bool isDark() const override { return dark_; }

  static std::shared_ptr<const Appearance> dark() { return std::make_shared<FixedAppearance>(true); }
  static std::shared_ptr<const Appearance> light() { return std::make_shared<FixedAppearance>(false); }

 private:
  bool dark_;
};

/// Installs an appearance for the lifetime of the scope, then puts the
/// previous one back: the form tests use.
class ScopedAppearance {
 public:
  explicit ScopedAppearance(std::shared_ptr<const Appearance> appearance)
      : previous_(Appearance::setCurrent(std::move(appearance))) {}
  ~ScopedAppearance() { Appearance::setCurrent(previous_); }
  ScopedAppearance(const ScopedAppearance&) = delete;
  ScopedAppearance& operator=(const ScopedAppearance&) = delete;

 private:
  std::shared_ptr<const Appearance> previous_;
};

/// Shorthand for `Appearance::current()->isDark()`.
bool isDarkAppearance();

}  // namespace tq
