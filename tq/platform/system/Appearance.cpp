#include "tq/platform/system/Appearance.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>

#include "tq/platform/system/Environment.h"
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

class SystemAppearance : public Appearance {
 public:
  // Asked at every call, never cached: the answer must follow a switch made
  // while the process runs. The desktop's own colour-scheme setting (the
  // settings portal over D-Bus) is to be asked before the environment; it
  // is not read yet, so the environment decides, and then light.
  bool isDark() const override { return darkFromEnvironment().value_or(false); }
};

detail::CurrentService<Appearance>& installed() {
  static detail::CurrentService<Appearance> state(std::make_shared<SystemAppearance>());
  return state;
}

}  // namespace

std::shared_ptr<const Appearance> Appearance::current() { return installed().get(); }
std::shared_ptr<const Appearance> Appearance::setCurrent(std::shared_ptr<const Appearance> appearance) {
  return installed().set(std::move(appearance));
}
std::shared_ptr<const Appearance> Appearance::system() { return installed().real(); }

bool isDarkAppearance() { return Appearance::current()->isDark(); }

}  // namespace tq
