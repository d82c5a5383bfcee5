#pragma once
// Per-thread flags and filtered call stacks (extensions of the thread class),
// and the object helpers that go with them.

#include <cstdint>
#include <functional>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/value/String.h"

namespace tq {

/// The thread-dictionary key of the current thread's flag set.
std::string threadFlagsKey();

/// Sets or clears a flag (compared by equality) on the calling thread. The
/// thread-dictionary entry exists only while some flag is set.
void set_tq_threadFlag(const Id& flag, bool toState);
/// Whether the flag is set on the calling thread.
bool _tq_threadFlag(const Id& flag);

/// The calling thread's call-stack lines (this function's own frame left
/// out) that belong to the add-on's own code: lines matching
/// "\d+.*Corvina.*0x[0-9a-f]* .*,?".
Ref<Array> TQcallStack();
/// Capture the stack and scan each line, but keep nothing: both always
/// answer an empty array, as the add-ons have always seen.
Ref<Array> TQabbreviatedCallStackSymbols();
Ref<Array> TQcallStackSymbolsForFrameCount(std::uint64_t frameCount);

/// There is no `respondsTo` and no `classInfo` here. C++ keeps no run-time
/// list of a class's methods or instance variables: whether a type has a
/// member is a compile-time question (a `requires` expression), and a dump of
/// the layout would have nothing true to list beyond `className()`.

/// The hook that classes override to give their logging key: nil here.
Ref<String> debugLogKey(const Object& object);

/// Runs `body`. When it raises a library exception, stores an error whose
/// domain is the exception's name, code 0 and user info the exception's, and
/// answers false; other exceptions pass through. The slot must not be null.
bool catchException(const std::function<void()>& body, Ref<Error>* error);

namespace detail {
/// The calling thread's stack from the caller's frame outwards (this
/// function's own frame left out), one line per frame in the
/// customary layout "N   module   0xADDRESS symbol + offset" (the layout the
/// add-on filter of `TQcallStack` is written for).
std::vector<std::string> currentStackLines();
/// One `backtrace_symbols` line ("path(symbol+0xoff) [0xaddress]") in that
/// layout, as frame `index`; the symbol demangled where possible, "???"
/// when there is none.
std::string stackLine(std::size_t index, const std::string& backtraceSymbol);
/// The filter of `TQcallStack` applied to given lines (first line dropped
/// when there are at least two).
Ref<Array> filterAddOnFrames(const std::vector<std::string>& lines);
}  // namespace detail

}  // namespace tq
