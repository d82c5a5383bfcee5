#include "tq/platform/system/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <chrono>
#include <utility>

extern char** environ;

namespace tq::ChildProcess {

namespace {

using Clock = std::chrono::steady_clock;

// How long a stopped group has between SIGTERM and SIGKILL, and how long
// output is still read after the child ended (a grandchild that left the
// group could otherwise hold the pipe open for ever).
constexpr auto TerminationGrace = std::chrono::seconds(1);
constexpr auto DrainAfterExit = std::chrono::milliseconds(500);

struct Descriptor {
  int fd = -1;
  Descriptor() = default;
  explicit Descriptor(int value) : fd(value) {}
  Descriptor(Descriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    reset();
    fd = std::exchange(other.fd, -1);
    return *this;
  }
  ~Descriptor() { reset(); }
  void reset() {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }
};

struct Pipe {
  Descriptor read, write;
};

bool makePipe(Pipe& pipe) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return false;
  pipe.read = Descriptor(fds[0]);
  pipe.write = Descriptor(fds[1]);
  return true;
}

// Standard input is a socket pair rather than a pipe: writing to a child that
// stopped reading must not raise SIGPIPE in the caller (MSG_NOSIGNAL).
bool makeInputSocket(Pipe& pair) {
  int fds[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) return false;
  pair.write = Descriptor(fds[0]);
  pair.read = Descriptor(fds[1]);
  ::shutdown(fds[1], SHUT_WR);
  return true;
}

void setNonBlocking(int fd) { ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK); }

class Spawn {
 public:
  Spawn() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
  }
  ~Spawn() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  void dup(int from, int to) { posix_spawn_file_actions_adddup2(&actions_, from, to); }
  void null(int to, int flags) { posix_spawn_file_actions_addopen(&actions_, to, "/dev/null", flags, 0); }

  int start(const ChildProcessRequest& request, pid_t& pid) {
    // Descriptors the caller opened without close-on-exec stay out of the
    // child; its signals start at their defaults, unblocked.
    posix_spawn_file_actions_addclosefrom_np(&actions_, 3);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(request.executable.c_str()));
    for (const std::string& argument : request.arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const bool search = request.executable.find('/') == std::string::npos;
    return (search ? ::posix_spawnp : ::posix_spawn)(&pid, request.executable.c_str(), &actions_, &attributes_,
                                                     argv.data(), environ);
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

void routeOutput(Spawn& spawn, ChildOutput kind, int descriptor, Pipe& pipe, int to) {
  switch (kind) {
    case ChildOutput::Capture: spawn.dup(pipe.write.fd, to); break;
    case ChildOutput::Discard: spawn.null(to, O_WRONLY); break;
    case ChildOutput::Descriptor: spawn.dup(descriptor, to); break;
  }
}

// Whether the child has ended, without reaping it: while it is a zombie its
// process-group number cannot be given to anyone else, so the group can
// still be killed safely.
bool hasEnded(pid_t pid) {
  siginfo_t info{};
  return ::waitid(P_PID, id_t(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == pid;
}

void reap(pid_t pid, ChildProcessResult& result) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
}

// Reads what is ready; false at the end of the stream.
bool readSome(Descriptor& from, std::string& into) {
  char buffer[16384];
  ssize_t n = ::read(from.fd, buffer, sizeof buffer);
  if (n > 0) {
    into.append(buffer, std::size_t(n));
    return true;
  }
  if (n < 0 && (errno == EINTR || errno == EAGAIN)) return true;
  from.reset();
  return false;
}

class Supervisor {
 public:
  Supervisor(pid_t pid, const ChildProcessRequest& request, ChildProcessResult& result)
      : pid_(pid), request_(request), result_(result) {
    pidfd_ = Descriptor(int(::syscall(SYS_pidfd_open, pid, 0)));
    if (request.timeout > 0) {
      deadline_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(request.timeout));
    }
  }

  void run(Descriptor input, Descriptor output, Descriptor error) {
    input_ = std::move(input);
    output_ = std::move(output);
    error_ = std::move(error);
    if (input_.fd >= 0) setNonBlocking(input_.fd);
    while (!ended_ || output_.fd >= 0 || error_.fd >= 0) {
      if (ended_ && Clock::now() > drainUntil_) break;
      step();
    }
    reap(pid_, result_);
  }

 private:
  void step() {
    std::vector<pollfd> fds;
    auto watch = [&](const Descriptor& d, short events) {
      if (d.fd >= 0) fds.push_back({d.fd, events, 0});
    };
    watch(output_, POLLIN);
    watch(error_, POLLIN);
    if (!ended_) {
      watch(input_, POLLOUT);
      watch(pidfd_, POLLIN);
    }
    ::poll(fds.data(), fds.size(), waitMilliseconds());
    for (const pollfd& p : fds) {
      if (!p.revents) continue;
      if (p.fd == output_.fd) readSome(output_, result_.output);
      else if (p.fd == error_.fd) readSome(error_, result_.error);
      else if (p.fd == input_.fd) feed();
    }
    checkEnd();
  }

  int waitMilliseconds() const {
    // Without a process descriptor the end is noticed by looking every 20 ms.
    auto until = ended_ ? drainUntil_ : (pidfd_.fd < 0 ? Clock::now() + std::chrono::milliseconds(20) : Clock::time_point::max());
    if (!ended_ && deadline_) until = std::min(until, *deadline_);
    if (until == Clock::time_point::max()) return -1;
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    return int(std::max<long long>(0, std::min<long long>(left + 1, 60'000)));
  }

  void feed() {
    const std::string& bytes = *request_.input;
    ssize_t n = ::send(input_.fd, bytes.data() + written_, bytes.size() - written_, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) written_ += std::size_t(n);
    if ((n < 0 && errno != EAGAIN && errno != EINTR) || written_ == bytes.size()) input_.reset();
  }

  void checkEnd() {
    if (ended_) return;
    if (hasEnded(pid_)) {
      ended_ = true;
      ::kill(-pid_, SIGKILL);  // whatever the child left running in its group
      input_.reset();
      drainUntil_ = Clock::now() + DrainAfterExit;
      return;
    }
    if (deadline_ && Clock::now() >= *deadline_) {
      result_.timedOut = true;
      ::kill(-pid_, stopping_ ? SIGKILL : SIGTERM);
      deadline_ = Clock::now() + TerminationGrace;
      stopping_ = true;
    }
  }

  pid_t pid_;
  const ChildProcessRequest& request_;
  ChildProcessResult& result_;
  Descriptor pidfd_, input_, output_, error_;
  std::optional<Clock::time_point> deadline_;
  Clock::time_point drainUntil_{};
  std::size_t written_ = 0;
  bool ended_ = false;
  bool stopping_ = false;
};

}  // namespace

ChildProcessResult run(const ChildProcessRequest& request) {
  ChildProcessResult result;
  Pipe input, output, error;
  const bool ok = (!request.input || makeInputSocket(input)) &&
                  (request.output != ChildOutput::Capture || makePipe(output)) &&
                  (request.error != ChildOutput::Capture || makePipe(error));
  if (!ok) {
    result.startError = errno;
    return result;
  }
  Spawn spawn;
  if (request.input) spawn.dup(input.read.fd, STDIN_FILENO);
  else spawn.null(STDIN_FILENO, O_RDONLY);
  routeOutput(spawn, request.output, request.outputDescriptor, output, STDOUT_FILENO);
  routeOutput(spawn, request.error, request.errorDescriptor, error, STDERR_FILENO);
  pid_t pid = 0;
  if (int failed = spawn.start(request, pid)) {
    result.startError = failed;
    return result;
  }
  // The child's ends belong to the child now; holding them would keep the
  // streams from ever ending.
  input.read.reset();
  output.write.reset();
  error.write.reset();
  Supervisor(pid, request, result).run(std::move(input.write), std::move(output.read), std::move(error.read));
  return result;
}

}  // namespace tq::ChildProcess
