#pragma once
// The process environment as a seam. Every variable the library reads goes
// through `Environment::current()`, so that a host or a test can hand the
// library a world of its own (a fixed set of variables) without touching the
// real process environment, which other threads may be reading.

#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tq {

class Environment {
 public:
  virtual ~Environment() = default;

  /// The value of a variable, or nothing when it is not set. An empty value
  /// is a value: callers decide what emptiness means for them.
  virtual std::optional<std::string> variable(std::string_view name) const = 0;

  /// The environment the library reads now: the process's own unless one was
  /// installed with `setCurrent`.
  static std::shared_ptr<const Environment> current();
  /// Installs an environment (nullptr: the process's own again) and answers
  /// the one it replaces. Folders derived from the environment are resolved
  /// again after a change.
  static std::shared_ptr<const Environment> setCurrent(std::shared_ptr<const Environment> environment);
  /// Counts installations, so that values derived from the environment know
  /// when to resolve themselves again.
  static unsigned long generation();

  /// The real process environment (getenv).
  static std::shared_ptr<const Environment> process();
};

/// A fixed set of variables; nothing else is set.
class FixedEnvironment : public Environment {
 public:
  FixedEnvironment() = default;
  FixedEnvironment(std::initializer_list<std::pair<const std::string, std::string>> variables)
      : variables_(variables) {}

  std::optional<std::string> variable(std::string_view name) const override;

  /// A copy with one variable set (or removed, for nothing).
  FixedEnvironment with(std::string name, std::optional<std::string> value) const;

 private:
  std::map<std::string, std::string, std::less<>> variables_;
};

/// Installs an environment for the lifetime of the scope, then puts the
/// previous one back: the form tests use.
class ScopedEnvironment {
 public:
  explicit ScopedEnvironment(std::shared_ptr<const Environment> environment)
      : previous_(Environment::setCurrent(std::move(environment))) {}
  explicit ScopedEnvironment(FixedEnvironment environment)
      : ScopedEnvironment(std::make_shared<FixedEnvironment>(std::move(environment))) {}
  ~ScopedEnvironment() { Environment::setCurrent(previous_); }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::shared_ptr<const Environment> previous_;
};

/// Shorthand for `Environment::current()->variable(name)`.
std::optional<std::string> environmentVariable(std::string_view name);

}  // namespace tq
