#pragma once
// A D-Bus bus of a test's own: `dbus-daemon` started with a configuration
// that lets anyone own any name, its address read from its output, and the
// daemon ended with the object. Tests that need it skip when dbus-daemon is
// not installed (scripts/setup installs it).

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "tests/support/TemporaryFolder.h"

extern char** environ;

namespace tq::testing {

class PrivateSessionBus {
 public:
  PrivateSessionBus() : folder_("bus") {
    const std::string daemon = "/usr/bin/dbus-daemon";
    if (::access(daemon.c_str(), X_OK) != 0) return;
    const std::string config = folder_.write("session.conf", R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=)" + folder_.string() + R"(</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)");
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    const std::string configArgument = "--config-file=" + config;
    char* argv[] = {const_cast<char*>(daemon.c_str()), const_cast<char*>(configArgument.c_str()),
                    const_cast<char*>("--nofork"), const_cast<char*>("--print-address"), nullptr};
    const int spawned = posix_spawn(&pid_, daemon.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    if (spawned != 0) {
      pid_ = -1;
      ::close(pipeFds[0]);
      return;
    }
    char c;
    while (::read(pipeFds[0], &c, 1) == 1 && c != '\n') address_ += c;
    ::close(pipeFds[0]);
  }
  ~PrivateSessionBus() {
    if (pid_ > 0) {
      ::kill(pid_, SIGTERM);
      ::waitpid(pid_, nullptr, 0);
    }
  }
  PrivateSessionBus(const PrivateSessionBus&) = delete;
  PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

  /// The bus's address; empty when the daemon could not be started.
  const std::string& address() const { return address_; }

 private:
  TemporaryFolder folder_;
  pid_t pid_ = -1;
  std::string address_;
};

}  // namespace tq::testing
