#pragma once
// tqkit's command registry. Each command group lives in its own file under
// commands/ and registers itself with a static `CommandGroup`, so adding a
// group touches no other file.
//
// Exit codes: 0 success; 1 the operation gave nil or false (a one-line reason
// on stderr); 2 usage error (the usage text on stderr).

#include <functional>
#include <string>
#include <vector>

namespace tqkit {

enum ExitCode { Success = 0, Failure = 1, UsageError = 2 };

/// Raised by commands for a usage error; main prints the message and the
/// command's usage and exits with 2.
struct UsageException {
  std::string message;
};
/// Raised for an operation that gave nil/false; main prints the reason and
/// exits with 1.
struct FailureException {
  std::string reason;
};

/// Arguments after the command's own words, with simple option parsing.
class Arguments {
 public:
  explicit Arguments(std::vector<std::string> words) : words_(std::move(words)) {}
  /// Removes and answers "--name" (a switch); false when absent.
  bool flag(const std::string& name);
  /// Removes "--name VALUE" or "--name=VALUE"; `fallback` when absent.
  std::string option(const std::string& name, const std::string& fallback = "");
  bool hasOption(const std::string& name) const;
  /// Positional words left after options were taken; rejects unknown
  /// options ("-" alone is positional).
  std::vector<std::string> positionals(std::size_t min, std::size_t max);
  const std::vector<std::string>& words() const { return words_; }

 private:
  std::vector<std::string> words_;
};

struct Command {
  std::string name;     // "show"
  std::string synopsis; // "FILE"
  std::string summary;  // one line
  std::function<int(Arguments&)> run;
};

struct CommandGroup {
  CommandGroup(std::string name, std::string summary, std::vector<Command> commands);
  std::string name;  // "plist"; a group with one command named "" runs directly ("tqkit eml FILE")
  std::string summary;
  std::vector<Command> commands;
};

const std::vector<const CommandGroup*>& allGroups();

/// Reads all of standard input.
std::string readStandardInput();
/// Reads a whole file; raises FailureException naming the path when it cannot.
std::string readFileOrFail(const std::string& path);

}  // namespace tqkit
