#pragma once
// The appearance of the desktop as a seam: whether the effective appearance
// is dark. Colours with light and dark variants, and the colour helpers'
// dark-mode test, ask it at every use, so a host that switches between light
// and dark is followed at once. Hosts install their own answer (from their
// toolkit); tests install a fixed one.
//
// The system's answer is a chain: the desktop's colour-scheme preference (the
// XDG desktop portal on the session bus) when it states one, else
// `TQ_APPEARANCE`, else light. Changes are announced through
// `Appearance::changes()`: the portal's change signal, an installation that
// changes the answer, and a host's `appearanceDidChange()`.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "tq/platform/system/ChangeSignal.h"

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
  /// The system's own answer: the desktop portal's preference on the bus of
  /// `DBUS_SESSION_BUS_ADDRESS`, else `TQ_APPEARANCE` ("dark" or "light", in
  /// any case), else light; both variables read through the environment seam.
  static std::shared_ptr<const Appearance> system();

  /// Handlers called, on whatever thread learned of it, when the appearance
  /// may have changed. The answer is to be asked again, not assumed flipped.
  static ChangeSignal& changes();
  /// For hosts whose toolkit reports appearance changes: announces one.
  static void appearanceDidChange() { changes().emit(); }
};

class PortalAppearance;

/// The system's chain: the portal's preference, else `TQ_APPEARANCE`, else
/// light. The portal connection is made at the first question and again
/// whenever the bus address in the environment changes; its change signal
/// announces through `Appearance::changes()`.
class DesktopAppearance : public Appearance {
 public:
  /// The chain on the session bus named by the environment.
  DesktopAppearance() = default;
  /// The chain on a given portal connection (nil: no portal), for hosts with
  /// a bus of their own and for tests.
  explicit DesktopAppearance(std::shared_ptr<PortalAppearance> portal);
  bool isDark() const override;

 private:
  std::shared_ptr<PortalAppearance> portal() const;

  bool fixedPortal_ = false;
  mutable std::mutex mutex_;
  mutable std::shared_ptr<PortalAppearance> portal_;
  mutable std::string address_;
  mutable bool connected_ = false;
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
