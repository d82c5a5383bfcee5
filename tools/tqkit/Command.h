#pragma once
// tqkit's command registry. Each command group lives in its own file under
// commands/ and registers itself with a static `CommandGroup`, so adding a
// group touches no other file.
//
// Exit codes: 0 success; 1 failure (one line "tqkit: COMMAND: what: why" on
// stderr); 2 usage error (the message, the command's usage line and where to
// find its help on stderr).
//
// Commands read and write through the `Streams` their `Arguments` carry, never
// through the process's own streams, so that tests can run them in-process.

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Commands declare only the help fields they have (designated initializers);
// the others keep their empty defaults, which is what -Wextra would warn of.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace tqkit {

enum ExitCode { Success = 0, Failure = 1, UsageError = 2 };

/// Raised by commands for a usage error; the runner prints the message and the
/// command's usage and exits with 2.
struct UsageException {
  std::string message;
};
/// Raised for an operation that failed; the runner prints
/// "tqkit: COMMAND: reason" and exits with 1.
struct FailureException {
  std::string reason;
};

/// Where a command reads and writes. main() gives the process's streams;
/// tests give files of their own.
struct Streams {
  std::FILE* in = stdin;
  std::FILE* out = stdout;
  std::FILE* err = stderr;
};

/// Arguments after the command's own words, with simple option parsing, and
/// the streams and name of the command being run.
class Arguments {
 public:
  explicit Arguments(std::vector<std::string> words, Streams streams = {}, std::string commandName = {})
      : words_(std::move(words)), streams_(streams), commandName_(std::move(commandName)) {}
  /// Removes and answers "--name" (a switch); false when absent.
  bool flag(const std::string& name);
  /// The same for a switch with a short form ("-w" beside "--wrap").
  bool flag(const std::string& name, const std::string& shortName);
  /// Removes "--name VALUE" or "--name=VALUE"; `fallback` when absent.
  std::string option(const std::string& name, const std::string& fallback = "");
  /// The same with a short form "-n VALUE".
  std::string option(const std::string& name, const std::string& shortName, const std::string& fallback);
  bool hasOption(const std::string& name) const;
  /// Positional words left after options were taken; rejects unknown
  /// options ("-" alone is positional).
  std::vector<std::string> positionals(std::size_t min, std::size_t max);
  const std::vector<std::string>& words() const { return words_; }

  const Streams& streams() const { return streams_; }
  /// "base64 decode": what error messages start with.
  const std::string& commandName() const { return commandName_; }

  /// Reports a failure that does not stop the command ("tqkit: COMMAND:
  /// message" on stderr); the command then ends with status 1.
  void report(const std::string& message);
  bool reportedFailure() const { return reportedFailure_; }

 private:
  std::vector<std::string> words_;
  Streams streams_;
  std::string commandName_;
  bool reportedFailure_ = false;
};

/// One option in a command's help: its forms ("-w, --wrap N") and what it does.
struct OptionHelp {
  std::string forms;
  std::string text;
};
/// One example in a command's help: a command line and what it does.
struct ExampleHelp {
  std::string commandLine;
  std::string text;
};

struct Command {
  std::string name;     // "show"
  std::string synopsis; // "FILE"
  std::string summary;  // one line
  std::function<int(Arguments&)> run;
  // The help of `tqkit help GROUP COMMAND`. Optional, so a command declared
  // with the four fields above still compiles; its help is then the summary.
  std::string description;
  std::vector<OptionHelp> options;
  std::vector<ExampleHelp> examples;
};

struct CommandGroup {
  CommandGroup(std::string name, std::string summary, std::vector<Command> commands);
  std::string name;  // "plist"; a group with one command named "" runs directly ("tqkit eml FILE")
  std::string summary;
  std::vector<Command> commands;
};

/// The registered groups, sorted by name.
std::vector<const CommandGroup*> allGroups();

/// Runs tqkit with the words after the program name; answers the exit status.
/// Everything but `--version`, which main() answers itself.
int runTqkit(std::vector<std::string> words, Streams streams);

// ---- Reading input -------------------------------------------------------

/// "'x.txt'" for a path, "standard input" for "-".
std::string inputName(const std::string& path);
/// Reads all of a file, or the command's standard input for "-"; raises
/// FailureException "cannot read 'PATH': REASON" when it cannot.
std::string readInput(Arguments& arguments, const std::string& path);
/// The size of the blocks that streaming commands read and write.
inline constexpr std::size_t BlockSize = 64 * 1024;
/// Calls `block` with the bytes of each input in turn ("-" is standard input;
/// no paths means standard input), at most BlockSize bytes at a time; raises
/// FailureException when an input cannot be opened or read.
void forEachBlock(Arguments& arguments, const std::vector<std::string>& paths,
                  const std::function<void(std::string_view)>& block);
/// Raises FailureException unless the bytes are valid UTF-8; `what` names
/// the input ("standard input", "'x.txt'").
void requireUTF8(std::string_view bytes, const std::string& what);

// ---- Writing output ------------------------------------------------------

/// Writes bytes to the command's standard output; raises FailureException
/// "write error: REASON" when the stream refuses them (a full disk, a closed
/// pipe).
void writeOut(Arguments& arguments, std::string_view bytes);

/// A progress line on stderr that updates in place, shown only when stderr is
/// a terminal (never in pipes, logs or tests). Updates at most a few times a
/// second; the line is cleared when the work ends.
class Progress {
 public:
  explicit Progress(Arguments& arguments);
  ~Progress();
  bool shown() const { return shown_; }
  /// Sets the text of the line ("1200/5000 messages").
  void update(const std::function<std::string()>& text);
  /// Clears the line (so a message can be printed on a line of its own).
  void clear();

 private:
  std::FILE* err_;
  bool shown_;
  bool drawn_ = false;
  long long lastDrawn_ = 0;
};

/// "12.5 MB" for a byte count.
std::string describeSize(unsigned long long bytes);

}  // namespace tqkit
