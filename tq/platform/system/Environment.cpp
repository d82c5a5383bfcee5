#include "tq/platform/system/Environment.h"

#include <cstdlib>

#include "tq/platform/system/internal/CurrentService.h"

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

detail::CurrentService<Environment>& installed() {
  static detail::CurrentService<Environment> state(std::make_shared<ProcessEnvironment>());
  return state;
}

}  // namespace

std::shared_ptr<const Environment> Environment::process() { return installed().real(); }
std::shared_ptr<const Environment> Environment::current() { return installed().get(); }
std::shared_ptr<const Environment> Environment::setCurrent(std::shared_ptr<const Environment> environment) {
  return installed().set(std::move(environment));
}
unsigned long Environment::generation() { return installed().generation(); }

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
