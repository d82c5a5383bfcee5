#pragma once
// Runs a piece of the test program as another process, for tests of what
// processes do to each other (locks, file changes). A test file declares a
// role with a static `HelperRole`; `spawnHelper` starts this same program
// with the role's name in TQ_TEST_HELPER_ROLE and the arguments on its
// command line, and that process runs the role during static initialisation
// and exits with its status, before any test. The child is a fresh exec, not
// a fork of a process whose other threads may hold locks. Include it from
// the repository root as "tests/support/HelperProcess.h".

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern char** environ;

namespace tq::testing {

inline constexpr char kHelperRoleVariable[] = "TQ_TEST_HELPER_ROLE";

class HelperRole {
 public:
  using Body = int (*)(const std::vector<std::string>& arguments);

  HelperRole(const char* name, Body body) {
    const char* role = std::getenv(kHelperRoleVariable);
    if (!role || std::string(role) != name) return;
    std::_Exit(body(commandLineArguments()));
  }

 private:
  static std::vector<std::string> commandLineArguments() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::string all((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::vector<std::string> words;
    for (std::size_t start = 0; start < all.size();) {
      std::size_t end = all.find('\0', start);
      if (end == std::string::npos) end = all.size();
      words.push_back(all.substr(start, end - start));
      start = end + 1;
    }
    if (!words.empty()) words.erase(words.begin());  // the program
    return words;
  }
};

/// Starts this program as the role; answers its process id (-1 on failure).
inline pid_t spawnHelper(const std::string& role, const std::vector<std::string>& arguments) {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry; ++entry) environment.emplace_back(*entry);
  environment.push_back(std::string(kHelperRoleVariable) + "=" + role);
  std::vector<char*> envp;
  for (auto& entry : environment) envp.push_back(entry.data());
  envp.push_back(nullptr);

  std::vector<std::string> words{"/proc/self/exe"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  pid_t pid = -1;
  if (::posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv.data(), envp.data()) != 0) return -1;
  return pid;
}

/// Waits for the helper; answers its exit status, or -signal when a signal
/// ended it.
inline int waitForHelper(pid_t pid) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1000;
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return -WTERMSIG(status);
  return -1000;
}

}  // namespace tq::testing
