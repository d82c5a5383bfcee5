#pragma once
// The user's locale as a seam: the locale that display formatters (relative
// dates, localized patterns) and the calendar's first weekday follow. Read at
// each use, so an installed locale is followed at once.

#include <memory>
#include <string>

namespace tq {

class LocaleSetting {
 public:
  virtual ~LocaleSetting() = default;

  /// A locale identifier such as "en_US", "de_DE" or "fr".
  virtual std::string identifier() const = 0;

  /// The setting the library reads: the system's unless one was installed.
  static std::shared_ptr<const LocaleSetting> current();
  /// Installs a setting (nullptr: the system's again); answers the previous one.
  static std::shared_ptr<const LocaleSetting> setCurrent(std::shared_ptr<const LocaleSetting> setting);
  /// The system's: the first set of `LC_ALL`, `LC_TIME`, `LANG` (through the
  /// environment seam, at each call) without encoding and modifier
  /// ("de_DE.UTF-8@euro" gives "de_DE"); "C", "POSIX" or nothing give
  /// "en_US_POSIX".
  static std::shared_ptr<const LocaleSetting> system();
};

class FixedLocaleSetting : public LocaleSetting {
 public:
  explicit FixedLocaleSetting(std::string identifier) : identifier_(std::move(identifier)) {}
  std::string identifier() const override { return identifier_; }

 private:
  std::string identifier_;
};

/// Installs a locale for the lifetime of the scope: the form tests use.
class ScopedLocale {
 public:
  explicit ScopedLocale(std::string identifier)
      : previous_(LocaleSetting::setCurrent(std::make_shared<FixedLocaleSetting>(std::move(identifier)))) {}
  ~ScopedLocale() { LocaleSetting::setCurrent(previous_); }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;

 private:
  std::shared_ptr<const LocaleSetting> previous_;
};

}  // namespace tq
