#include "tq/platform/script/ScriptSuiteRegistry.h"

namespace tq {

Ref<ScriptSuiteRegistry> ScriptSuiteRegistry::sharedScriptSuiteRegistry() {
  static Ref<ScriptSuiteRegistry>* shared = new Ref<ScriptSuiteRegistry>(make<ScriptSuiteRegistry>());
  return *shared;
}

void ScriptSuiteRegistry::registerSuite(ScriptSuite suite) {
  std::lock_guard lock(mutex_);
  for (ScriptSuite& existing : suites_) {
    if (existing.name == suite.name) {
      existing = std::move(suite);
      return;
    }
  }
  suites_.push_back(std::move(suite));
}

std::vector<ScriptSuite> ScriptSuiteRegistry::suites() const {
  std::lock_guard lock(mutex_);
  return suites_;
}

}  // namespace tq
