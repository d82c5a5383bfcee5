#pragma once
// Runs a shell command line for the tests that use tqkit as a user does:
// its exit status and standard output (standard error goes where the
// command line sends it). Include it from the repository root as
// "tests/support/RunCommand.h".

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace tq::testing {

struct CommandResult {
  int status = -1;
  std::string output;
};

inline CommandResult runCommand(const std::string& command) {
  CommandResult result;
  if (FILE* pipe = ::popen(command.c_str(), "r")) {
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.output.append(buffer, n);
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  return result;
}

/// The word as one shell word, whatever it holds.
inline std::string shellQuoted(const std::string& word) {
  std::string text = "'";
  for (char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + "'";
}

/// The tqkit binary of the build tree this test program belongs to; tests
/// skip when it does not exist.
inline std::filesystem::path tqkitOfThisBuild() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "tools/tqkit/tqkit";
}

}  // namespace tq::testing
