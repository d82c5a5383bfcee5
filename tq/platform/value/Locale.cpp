#include "tq/platform/value/Locale.h"

#include <functional>
#include <memory>

#include "tq/platform/system/LocaleSetting.h"
#include "tq/platform/value/internal/ICUDates.h"

namespace tq {

Ref<Locale> Locale::localeWithLocaleIdentifier(std::string_view identifier) {
  return make<Locale>(std::string(identifier));
}
Ref<Locale> Locale::currentLocale() { return make<Locale>(LocaleSetting::current()->identifier()); }

Ref<String> Locale::description() const { return str(identifier_); }
bool Locale::isEqual(const Object& other) const {
  const auto* locale = dynamic_cast<const Locale*>(&other);
  return locale && locale->identifier_ == identifier_;
}
std::size_t Locale::hash() const { return std::hash<std::string>()(identifier_); }

int Locale::firstWeekday() const {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(detail::icuLocale(*this), status));
  return U_SUCCESS(status) ? int(calendar->getFirstDayOfWeek(status)) : 1;
}

int Locale::minimumDaysInFirstWeek() const {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(detail::icuLocale(*this), status));
  return U_SUCCESS(status) ? int(calendar->getMinimalDaysInFirstWeek()) : 1;
}

}  // namespace tq
