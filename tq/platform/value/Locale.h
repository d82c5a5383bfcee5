#pragma once
// Locales: whose names, patterns and week data dates are written with.
// Immutable values named by their identifiers; the current one comes from the
// locale seam of tq/platform/system (LocaleSetting), so a test or host fixes
// it without touching `LANG`.

#include <string>
#include <string_view>

#include "tq/platform/object/Object.h"

namespace tq {

class Locale : public Object {
 public:
  /// A locale by identifier ("en_US", "de-DE", "fr"); any identifier gives a
  /// locale (an unknown one reads as the root locale's data).
  static Ref<Locale> localeWithLocaleIdentifier(std::string_view identifier);
  /// The locale the locale seam names now.
  static Ref<Locale> currentLocale();

  Ref<String> description() const override;
  std::string className() const override { return "Locale"; }
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  Id copy() const override { return self(); }

  const std::string& localeIdentifier() const { return identifier_; }
  /// The first day of the week in the locale's region, 1 Sunday ... 7 Saturday.
  int firstWeekday() const;
  /// Days the first week of a year needs at least (1 in the US, 4 in most of Europe).
  int minimumDaysInFirstWeek() const;

  explicit Locale(std::string identifier) : identifier_(std::move(identifier)) {}

 private:
  std::string identifier_;
};

}  // namespace tq
