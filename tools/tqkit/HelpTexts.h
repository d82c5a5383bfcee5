#pragma once
// What tqkit says about itself beyond one command's help: the texts the
// top-level help shares with the man page, the syntax of the options and
// arguments that commands declare, and the two documents generated from those
// declarations when the tool is built (the man page and the bash completion).
// Everything is derived from the `Command`s themselves, so the help, the
// manual and the completion cannot say different things.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Command.h"

namespace tqkit {

using HelpRows = std::vector<std::pair<std::string, std::string>>;

/// One sentence: what the tool is for.
const std::string& toolDescription();
/// The notes that hold for every command (FILE and -, UTF-8, TEXT, --help,
/// --, the error line, progress), said once rather than in each command.
const HelpRows& commonNotes();
/// The exit statuses and what they mean.
const HelpRows& exitStatuses();

/// "base64 decode"; the group's name alone for a group that runs directly.
std::string commandPath(const CommandGroup& group, const Command& command);
/// A group with one unnamed command, run as "tqkit GROUP ARGS".
bool isSingleCommand(const CommandGroup& group);

/// One option as a command's help declares it ("-w, --wrap N") or its
/// synopsis names it ("[--table markup|ascii]").
struct OptionSyntax {
  std::string name;                  // "--wrap", "-w"
  std::string value;                 // the placeholder of its value ("N", "FILE"); empty when none
  std::vector<std::string> choices;  // the literal values it takes ("markup", "ascii")
  bool takesValue() const { return !value.empty() || !choices.empty(); }
  /// Its value names a file or folder (FILE, PATH, FOLDER).
  bool takesFile() const;
};

/// The options of a command: those of its declared option forms, then those
/// that only its synopsis names; each name once, in the order first seen.
/// Choices met in several places ("--table markup", "--table ascii") are
/// gathered on one option.
std::vector<OptionSyntax> optionsOf(const Command& command);

/// One positional argument of a synopsis ("FILE|-", "[FILE...]", "KEY.PATH").
struct ArgumentSlot {
  std::string name;      // "FILE | FOLDER | -": the alternatives as written
  bool file = false;     // one alternative names a file or folder
  bool repeats = false;  // "FILE...": the slot takes any number of words
};
/// The positional arguments of a command's synopsis, in order; the operands
/// of its options (the FILE of "-f FILE") are not among them.
std::vector<ArgumentSlot> argumentsOf(const Command& command);

/// The text as roff prints it literally: backslashes, hyphens (as \-),
/// quotes and apostrophes, a leading dot, and non-ASCII characters (as
/// \[uXXXX], which needs no input encoding) escaped. Line breaks become
/// spaces; the text is meant for one line of a page.
std::string roffEscaped(std::string_view text);

/// The manual page tqkit(1) in man(7) macros; `date` goes into its title
/// line.
std::string manPage(const std::string& date);

/// A bash script that completes tqkit's groups, commands, options, option
/// values and file arguments; defines _tqkit and registers it for tqkit.
std::string bashCompletion();

}  // namespace tqkit
