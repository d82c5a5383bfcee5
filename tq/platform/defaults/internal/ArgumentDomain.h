#pragma once
// The argument domain: the user defaults given on the command line.

#include <optional>
#include <string>
#include <vector>

#include "tq/platform/collection/Dictionary.h"

namespace tq::detail {

/// The "-key value" pairs of the arguments (argv without argv[0]) as a
/// dictionary. The argument after "-key" is always its value, even when it
/// begins with "-" (so "-offset -5" works). A value that reads as an
/// old-style property list ("(a, b)", "{k = v;}", "<0a0b>", "\"quoted\"") or
/// as an XML property list becomes that value; any other value stays the
/// string it is. A key given twice keeps its last value. Skipped: a final
/// "-key" without a value, "--long" options (they belong to the program, and
/// whether they take a value is its business), "-" alone, words that are not
/// options, arguments that are not valid UTF-8 (with their pair), and
/// everything after "--".
Ref<Dictionary> argumentDomainFromArguments(const std::vector<std::string>& arguments);

/// The process's arguments: those a host set, else /proc/self/cmdline
/// without its first word.
std::vector<std::string> processArguments();
/// Sets the arguments `processArguments` answers; nothing: read them again.
void setProcessArguments(std::optional<std::vector<std::string>> arguments);

}  // namespace tq::detail
