#include "tq/platform/system/Environment.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace tq {

namespace {

class ProcessEnvironment : public Environment {
 public:
  std::optional<std::string> variable(std::string_view name) const override {
    const char* value = std::getenv(std::string(name).c_str());
    if (!value) return std::nullopt;
    return std::string(value);
  }
};

struct Installed {
  std::mutex mutex;
  std::shared_ptr<const Environment> environment;
  std::atomic<unsigned long> generation{0};
};

Installed& installed() {
  static Installed state;
  return state;
}

}  // namespace

std::shared_ptr<const Environment> Environment::process() {
  static const auto environment = std::make_shared<ProcessEnvironment>();
  return environment;
}

std::shared_ptr<const Environment> Environment::current() {
  Installed& state = installed();
  std::lock_guard lock(state.mutex);
  return state.environment ? state.environment : process();
}

std::shared_ptr<const Environment> Environment::setCurrent(std::shared_ptr<const Environment> environment) {
  Installed& state = installed();
  std::lock_guard lock(state.mutex);
  std::shared_ptr<const Environment> previous = state.environment ? state.environment : process();
  state.environment = environment == process() ? nullptr : std::move(environment);
  state.generation.fetch_add(1, std::memory_order_release);
  return previous;
}

unsigned long Environment::generation() { return installed().generation.load(std::memory_order_acquire); }

std::optional<std::string> FixedEnvironment::variable(std::string_view name) const {
  auto found = variables_.find(name);
  if (found == variables_.end()) return std::nullopt;
  return found->second;
}

FixedEnvironment FixedEnvironment::with(std::string name, std::optional<std::string> value) const {
  FixedEnvironment copy = *this;
  if (value) {
    copy.variables_.insert_or_assign(std::move(name), std::move(*value));
  } else {
    copy.variables_.erase(name);
  }
  return copy;
}

std::optional<std::string> environmentVariable(std::string_view name) { return Environment::current()->variable(name); }

}  // namespace tq
