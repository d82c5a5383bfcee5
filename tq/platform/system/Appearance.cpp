#include "tq/platform/system/Appearance.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>

#include "tq/platform/system/Environment.h"
#include "tq/platform/system/PortalAppearance.h"
#include "tq/platform/system/internal/CurrentService.h"

namespace tq {

namespace {

/// "dark" or "light" in `TQ_APPEARANCE`, in any case; nothing for any other
/// value, which is ignored rather than guessed at.
std::optional<bool> darkFromEnvironment() {
  std::optional<std::string> value = environmentVariable("TQ_APPEARANCE");
  if (!value) return std::nullopt;
  std::string folded = *value;
  std::transform(folded.begin(), folded.end(), folded.begin(),
                 [](unsigned char c) { return char(std::tolower(c)); });
  if (folded == "dark") return true;
  if (folded == "light") return false;
  return std::nullopt;
}

detail::CurrentService<Appearance>& installed() {
  static detail::CurrentService<Appearance> state(std::make_shared<DesktopAppearance>());
  return state;
}

}  // namespace

std::shared_ptr<const Appearance> Appearance::current() { return installed().get(); }
std::shared_ptr<const Appearance> Appearance::setCurrent(std::shared_ptr<const Appearance> appearance) {
  auto previous = installed().set(std::move(appearance));
  // A host's installation is a change only when the answer moves; tests that
  // install the answer already in force announce nothing.
  if (previous->isDark() != current()->isDark()) appearanceDidChange();
  return previous;
}

ChangeSignal& Appearance::changes() {
  static ChangeSignal* signal = new ChangeSignal;  // never destroyed: bus threads may announce at exit
  return *signal;
}

DesktopAppearance::DesktopAppearance(std::shared_ptr<PortalAppearance> portal)
    : fixedPortal_(true), portal_(std::move(portal)), connected_(true) {}

std::shared_ptr<PortalAppearance> DesktopAppearance::portal() const {
  std::lock_guard lock(mutex_);
  if (fixedPortal_) return portal_;
  // Asked at every call, yet connected once per bus: the answer itself is
  // kept by the connection, which the portal's signal keeps fresh.
  const std::string address = environmentVariable("DBUS_SESSION_BUS_ADDRESS").value_or("");
  if (!connected_ || address != address_) {
    portal_ = address.empty() ? nullptr : PortalAppearance::connect(address, [] { Appearance::appearanceDidChange(); });
    address_ = address;
    connected_ = true;
  }
  return portal_;
}

bool DesktopAppearance::isDark() const {
  if (auto portal = this->portal()) {
    if (auto dark = portal->isDark()) return *dark;
  }
  return darkFromEnvironment().value_or(false);
}
std::shared_ptr<const Appearance> Appearance::system() { return installed().real(); }

bool isDarkAppearance() { return Appearance::current()->isDark(); }

}  // namespace tq
