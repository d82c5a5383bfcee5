#pragma once
// The desktop's colour-scheme preference, read from the XDG desktop portal's
// Settings interface ("org.freedesktop.appearance" / "color-scheme") on a
// D-Bus session bus, and followed through the portal's SettingChanged signal.
//
// A connection owns one thread that serves the bus: it keeps the preference
// it last heard, so asking costs no round trip, and it calls the change
// handler (on that thread) whenever the portal announces a new value. A
// portal that is not running yet is not an error: the connection stays and
// listens, and the preference is "unknown" until the portal speaks.

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tq {

class PortalAppearance {
 public:
  /// The portal's values: 0 no preference, 1 prefer dark, 2 prefer light.
  enum class Scheme { Unknown = -1, NoPreference = 0, PreferDark = 1, PreferLight = 2 };

  /// Connects to the bus at `busAddress` (a D-Bus address, as in
  /// `DBUS_SESSION_BUS_ADDRESS`), asks the portal once (waiting at most
  /// `timeoutSeconds`) and starts following its signal. Nil, with the reason
  /// in `error`, when the bus cannot be reached.
  static std::shared_ptr<PortalAppearance> connect(const std::string& busAddress, std::function<void()> onChange,
                                                   double timeoutSeconds = 1.0, std::string* error = nullptr);
  ~PortalAppearance();
  PortalAppearance(const PortalAppearance&) = delete;
  PortalAppearance& operator=(const PortalAppearance&) = delete;

  /// The preference last heard from the portal.
  Scheme scheme() const;
  /// Dark or light when the portal states a preference; nothing when it has
  /// none or has not answered.
  std::optional<bool> isDark() const;

  struct State;

 private:
  explicit PortalAppearance(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace tq
