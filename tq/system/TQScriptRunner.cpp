// Compiled scripts found in bundles, and handler calls built as events.

#include <unistd.h>

#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/value/Format.h"
#include "tq/system/TQScript.h"
#include "tq/system/internal/TQSystemLog.h"

namespace tq::TQFoundation {

Ref<AppleScript> scriptNamed(const String& name) { return scriptNamed(name, *Bundle::mainBundle()); }

Ref<AppleScript> scriptNamed(const String& name, const String& bundleIdentifier) {
  auto bundle = Bundle::bundleWithIdentifier(bundleIdentifier);
  if (!bundle) {
    TQ_SYSTEM_LOG(formatUTF8("NSAppleScript: Unable find file for script '%@'", name));
    return nullptr;
  }
  return scriptNamed(name, *bundle);
}

Ref<AppleScript> scriptNamed(const String& name, const Bundle& bundle) {
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
  auto script = AppleScript::initWithContentsOfURL(*path, &errorInfo);
  if (errorInfo) TQ_SYSTEM_LOG(formatUTF8("Failed to load script '%@', error: %@", name, errorInfo));
  return script;
}

Ref<AppleEventDescriptor> eventForFunction(const String& functionName, const Ref<Dictionary>& parameters) {
  auto target = AppleEventDescriptor::descriptorWithProcessIdentifier(std::int32_t(::getpid()));
  auto event = AppleEventDescriptor::appleEventWithEventClass(AE::kASAppleScriptSuite, AE::kASPrepositionalSubroutine,
                                                              target, AE::kAutoGenerateReturnID, AE::kAnyTransactionID);
  if (parameters && parameters->count() > 0) {
    auto pairs = AppleEventDescriptor::listDescriptor();
    for (const auto& [key, object] : parameters->entries()) {
      pairs->insertDescriptor(AppleEventDescriptor::descriptorWithString(*describe(key)), 0);
      pairs->insertDescriptor(AppleEventDescriptor::descriptorWithString(*describe(object)), 0);
    }
    auto record = AppleEventDescriptor::recordDescriptor();
    record->setDescriptor(pairs, AE::keyASUserRecordFields);
    auto directObject = AppleEventDescriptor::listDescriptor();
    directObject->insertDescriptor(record, 1);
    event->setParamDescriptor(directObject, AE::keyDirectObject);
  }
  auto handler = functionName.stringByReplacingOccurrencesOfString(*str(":"), *str("_"));
  event->setParamDescriptor(AppleEventDescriptor::descriptorWithString(*handler), AE::keyASSubroutineName);
  return event;
}

Ref<AppleEventDescriptor> executeFunction(AppleScript& script, const String& functionName,
                                          const Ref<Dictionary>& parameters, Ref<Dictionary>* errorInfo) {
  Ref<Dictionary> information;
  auto result = script.executeAppleEvent(*eventForFunction(functionName, parameters), &information);
  if (information) platformLog(formatUTF8("errorInfo %@", information));
  if (errorInfo) *errorInfo = information;
  return result;
}

}  // namespace tq::TQFoundation
