#pragma once
// The scripting suites a program has registered: here only what the library
// reads of them, their enumerations (each enumerator a four-character code
// with a name and the name shown to users).

#include <mutex>
#include <string>
#include <vector>

#include "tq/platform/script/EventDescriptor.h"

namespace tq {

struct ScriptEnumerator {
  FourCharCode code = 0;
  std::string name;
  /// The name shown to users; the name when empty.
  std::string presentableName;
};

struct ScriptEnumeration {
  std::string name;
  FourCharCode code = 0;
  std::vector<ScriptEnumerator> enumerators;
};

struct ScriptSuite {
  std::string name;
  std::vector<ScriptEnumeration> enumerations;
};

class ScriptSuiteRegistry : public Object {
 public:
  std::string className() const override { return "ScriptSuiteRegistry"; }
  /// The process's registry, made on first use.
  static Ref<ScriptSuiteRegistry> sharedScriptSuiteRegistry();

  /// Adds a suite after those registered before; a suite of the same name is
  /// replaced in its place.
  void registerSuite(ScriptSuite suite);
  /// The suites in the order they were registered.
  std::vector<ScriptSuite> suites() const;

 private:
  mutable std::mutex mutex_;
  std::vector<ScriptSuite> suites_;
};

}  // namespace tq
