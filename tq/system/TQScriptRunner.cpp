// Compiled scripts found in bundles, and handler calls built as events.

#include <unistd.h>

#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/value/Format.h"
#include "tq/system/TQScript.h"
#include "tq/system/internal/TQSystemLog.h"

namespace tq::TQFoundation {

Ref<CompiledScript> scriptNamed(const String& name) { return scriptNamed(name, *Bundle::mainBundle()); }

Ref<CompiledScript> scriptNamed(const String& name, const String& bundleIdentifier) {
  auto bundle = Bundle::bundleWithIdentifier(bundleIdentifier);
  if (!bundle) {
    TQ_SYSTEM_LOG(formatUTF8("NSAppleScript: Unable find file for script '%@'", name));
    return nullptr;
  }
  return scriptNamed(name, *bundle);
}

Ref<CompiledScript> scriptNamed(const String& name, const Bundle& bundle) {
  auto path = bundle.pathForResource(name, str("scpt"));
  if (!path) {
    // The message has always lacked its "to"; hosts search their logs for it.
    TQ_SYSTEM_LOG(formatUTF8("NSAppleScript: Unable find file for script '%@'", name));
    return nullptr;
  }
  // Resources are found by absolute paths, so a file URL can always be made;
  // a relative path would make none.
  if (!path->hasPrefix(u"/")) {
    TQ_SYSTEM_LOG(formatUTF8("NSAppleScript: Unable to find file for script '%@'", name));
    return nullptr;
  }
  Ref<Dictionary> errorInfo;
  auto script = CompiledScript::initWithContentsOfURL(*path, &errorInfo);
  if (errorInfo) TQ_SYSTEM_LOG(formatUTF8("Failed to load script '%@', error: %@", name, errorInfo));
  return script;
}

Ref<EventDescriptor> eventForFunction(const String& functionName, const Ref<Dictionary>& parameters) {
  auto target = EventDescriptor::descriptorWithProcessIdentifier(std::int32_t(::getpid()));
  auto event = EventDescriptor::eventWithEventClass(AE::kASScriptSuite, AE::kASPrepositionalSubroutine,
                                                              target, AE::kAutoGenerateReturnID, AE::kAnyTransactionID);
  if (parameters && parameters->count() > 0) {
    auto pairs = EventDescriptor::listDescriptor();
    for (const auto& [key, object] : parameters->entries()) {
      pairs->insertDescriptor(EventDescriptor::descriptorWithString(*describe(key)), 0);
      pairs->insertDescriptor(EventDescriptor::descriptorWithString(*describe(object)), 0);
    }
    auto record = EventDescriptor::recordDescriptor();
    record->setDescriptor(pairs, AE::keyASUserRecordFields);
    auto directObject = EventDescriptor::listDescriptor();
    directObject->insertDescriptor(record, 1);
    event->setParamDescriptor(directObject, AE::keyDirectObject);
  }
  auto handler = functionName.stringByReplacingOccurrencesOfString(*str(":"), *str("_"));
  event->setParamDescriptor(EventDescriptor::descriptorWithString(*handler), AE::keyASSubroutineName);
  return event;
}

Ref<EventDescriptor> executeFunction(CompiledScript& script, const String& functionName,
                                          const Ref<Dictionary>& parameters, Ref<Dictionary>* errorInfo) {
  Ref<Dictionary> information;
  auto result = script.executeEvent(*eventForFunction(functionName, parameters), &information);
  if (information) platformLog(formatUTF8("errorInfo %@", information));
  if (errorInfo) *errorInfo = information;
  return result;
}

}  // namespace tq::TQFoundation
