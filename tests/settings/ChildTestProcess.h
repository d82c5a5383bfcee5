#pragma once
// Other processes of one product, for the settings tests that share a file
// between processes: the child is this test program again, running one
// disabled test (so that an ordinary run never runs it by itself) with its
// orders in the environment. A fresh exec, not a fork of a process whose
// other threads may hold locks.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/settings/SettingsTestSupport.h"

extern char** environ;

namespace tq::testing {

using ChildVariables = std::vector<std::pair<std::string, std::string>>;

/// Starts this program running only the disabled test `test`, with
/// `variables` added to its environment; answers its process id, or -1.
/// `extraArguments` follow the test program's own on its command line.
inline pid_t startChildTest(const std::string& test, const ChildVariables& variables,
                            std::vector<std::string> extraArguments = {}) {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry; ++entry) environment.emplace_back(*entry);
  for (const auto& [name, value] : variables) environment.push_back(name + "=" + value);
  std::vector<char*> envp;
  for (auto& entry : environment) envp.push_back(entry.data());
  envp.push_back(nullptr);
  std::string program = "/proc/self/exe";
  std::string filter = "--gtest_filter=" + test;
  std::string disabled = "--gtest_also_run_disabled_tests";
  std::string quiet = "--gtest_brief=1";
  std::vector<char*> argv{program.data(), filter.data(), disabled.data(), quiet.data()};
  for (auto& word : extraArguments) argv.push_back(word.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  // The child's own test report would only clutter this one's; its stderr
  // stays, so that a failure or a sanitizer report in the child is seen.
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  int failed = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  ::posix_spawn_file_actions_destroy(&actions);
  return failed ? -1 : pid;
}

/// What `waitForChild` answers for a child that did not end in time.
inline constexpr int kChildHung = -1000;

/// Waits for the child at most `seconds` (a child still running then is
/// killed); answers its exit status, -signal when a signal ended it, or
/// `kChildHung`.
inline int waitForChild(pid_t pid, double seconds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  int status = 0;
  for (;;) {
    pid_t ended = ::waitpid(pid, &status, WNOHANG);
    if (ended == pid) break;
    if (ended < 0 && errno != EINTR) return kChildHung;
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
      return kChildHung;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return -WTERMSIG(status);
  return kChildHung;
}

/// A variable of the child's orders ("" when missing).
inline std::string childVariable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// In a child: a store of the parent's class on the parent's file (the
/// product bundle lies beside the file, as `SettingsTest` makes it).
inline Ref<TestStore> childStoreOnFile(const std::string& path) {
  StoreSetting setting;
  setting.path = path;
  setting.bundle = Bundle::bundleWithPath(*str(path.substr(0, path.find_last_of('/')) + "/Product.bundle"));
  nextStore() = setting;
  return TQFoundationDefaults::create<TestStore>();
}

}  // namespace tq::testing
