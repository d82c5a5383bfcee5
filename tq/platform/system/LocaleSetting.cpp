#include "tq/platform/system/LocaleSetting.h"

#include <optional>

#include "tq/platform/system/Environment.h"
#include "tq/platform/system/internal/CurrentService.h"

namespace tq {

namespace {

/// The POSIX locale that decides how dates are written: the first of the
/// variables that is set and not empty, as the C library chooses.
std::optional<std::string> posixTimeLocale() {
  for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) {
    std::optional<std::string> value = environmentVariable(name);
    if (value && !value->empty()) return value;
  }
  return std::nullopt;
}

class SystemLocaleSetting : public LocaleSetting {
 public:
  std::string identifier() const override {
    std::optional<std::string> locale = posixTimeLocale();
    if (!locale) return "en_US_POSIX";
    std::string name = locale->substr(0, locale->find_first_of(".@"));
    if (name.empty() || name == "C" || name == "POSIX") return "en_US_POSIX";
    return name;
  }
};

detail::CurrentService<LocaleSetting>& installed() {
  static detail::CurrentService<LocaleSetting> state(std::make_shared<SystemLocaleSetting>());
  return state;
}

}  // namespace

std::shared_ptr<const LocaleSetting> LocaleSetting::current() { return installed().get(); }
std::shared_ptr<const LocaleSetting> LocaleSetting::setCurrent(std::shared_ptr<const LocaleSetting> setting) {
  return installed().set(std::move(setting));
}
std::shared_ptr<const LocaleSetting> LocaleSetting::system() { return installed().real(); }

}  // namespace tq
