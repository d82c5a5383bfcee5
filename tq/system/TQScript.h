#pragma once
// The library's scripting helpers (`TQFoundation`): typed descriptors turned
// into plain values (arrays, dictionaries, strings, numbers, dates,
// booleans), compiled scripts found in bundles, handler calls with one record
// of string parameters, and enumerators named through the registered suites.
// Scripts are executables (see tq/platform/script/CompiledScript.h).

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/script/EventDescriptor.h"
#include "tq/platform/script/CompiledScript.h"
#include "tq/platform/script/ScriptSuiteRegistry.h"

namespace tq::TQFoundation {

// ---- Descriptors ---------------------------------------------------------

/// The plain value of a descriptor: 'list' an array, 'reco' a dictionary,
/// 'usrf' its key-value pairs, 'utxt' a string, 'long' a 32-bit number,
/// 'doub' a double, 'bool' a boolean, 'ldt ' a date, 'true'/'fals' the
/// booleans, 'type' 'msng' the null marker, 'obj ' the descriptor itself,
/// 'enum' the presentable name of its enumerator. Any other type: nil, after
/// the platform log line "unrecognized <descriptor> type: 'code'".
Id value(const EventDescriptor& descriptor);
/// For a 'list': its text, record and list items converted, every other item
/// skipped; nil for other types.
Ref<Array> arrayRepresentation(const EventDescriptor& descriptor);
/// For a 'list' of an even number of items: text keys with the values of the
/// items after them (a 'usrf' value merges its own pairs in instead); nil
/// otherwise. A value that converts to nil leaves its key out.
Ref<Dictionary> keyValuePairs(const EventDescriptor& descriptor);
/// For a 'reco': "result", "url", "name" and "date" from the keywords 'rslt',
/// 'url ', 'pnam' and 'ldt ', then the 'usrf' pairs over them; nil otherwise.
Ref<Dictionary> dictionaryRepresentation(const EventDescriptor& descriptor);

// ---- Scripts -------------------------------------------------------------

/// `scriptNamed(name, bundle)` with the main bundle.
Ref<CompiledScript> scriptNamed(const String& name);
/// The same with the loaded bundle of that identifier.
Ref<CompiledScript> scriptNamed(const String& name, const String& bundleIdentifier);
/// The resource of that name and type "scpt" in the bundle, loaded; nil and
/// a log line (through the application's logger, plug-in "TQS", else the
/// platform log) when there is none or it cannot be loaded.
Ref<CompiledScript> scriptNamed(const String& name, const Bundle& bundle);

/// The event that calls a handler: class 'ascr', id 'psbr', sent to this
/// process ('kpid'), return id -1, transaction 0; the parameters (when there
/// are any) as a list holding one record whose 'usrf' list alternates key and
/// value texts; the handler name, ":" replaced by "_", under 'snam'.
Ref<EventDescriptor> eventForFunction(const String& functionName, const Ref<Dictionary>& parameters);
/// Runs the handler: its result descriptor (convert it with `value`), or nil
/// with error information, which is also written to the platform log as
/// "errorInfo <information>".
Ref<EventDescriptor> executeFunction(CompiledScript& script, const String& functionName,
                                          const Ref<Dictionary>& parameters, Ref<Dictionary>* errorInfo = nullptr);

// ---- Suites --------------------------------------------------------------

/// The presentable name of the first enumerator, in the order suites were
/// registered, whose code is `code`; nil when none is.
Ref<String> valueForEnumeratedType(const ScriptSuiteRegistry& registry, FourCharCode code);

}  // namespace tq::TQFoundation
