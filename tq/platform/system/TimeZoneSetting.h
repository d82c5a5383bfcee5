#pragma once
// The user's time zone as a seam: the name of the zone ("Europe/Paris") that
// dates are shown and computed in. Calendars and formatters that follow the
// local zone ask it at each use, so a test or host that installs another zone
// is followed at once, without touching the process environment.

#include <memory>
#include <string>

namespace tq {

class TimeZoneSetting {
 public:
  virtual ~TimeZoneSetting() = default;

  /// The zone's name in the time-zone database ("America/New_York", "UTC").
  virtual std::string identifier() const = 0;

  /// The setting the library reads: the system's unless one was installed.
  static std::shared_ptr<const TimeZoneSetting> current();
  /// Installs a setting (nullptr: the system's again); answers the previous one.
  static std::shared_ptr<const TimeZoneSetting> setCurrent(std::shared_ptr<const TimeZoneSetting> setting);
  /// The system's: `TZ` (read through the environment seam at each call; a
  /// leading ":" and a "/usr/share/zoneinfo/" prefix are dropped), else the
  /// zone /etc/localtime links to, else /etc/timezone, else "UTC".
  static std::shared_ptr<const TimeZoneSetting> system();
};

/// A zone fixed by name.
class FixedTimeZoneSetting : public TimeZoneSetting {
 public:
  explicit FixedTimeZoneSetting(std::string identifier) : identifier_(std::move(identifier)) {}
  std::string identifier() const override { return identifier_; }

 private:
  std::string identifier_;
};

/// Installs a zone for the lifetime of the scope: the form tests use.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(std::string identifier)
      : previous_(TimeZoneSetting::setCurrent(std::make_shared<FixedTimeZoneSetting>(std::move(identifier)))) {}
  ~ScopedTimeZone() { TimeZoneSetting::setCurrent(previous_); }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

 private:
  std::shared_ptr<const TimeZoneSetting> previous_;
};

}  // namespace tq
