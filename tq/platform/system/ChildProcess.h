#pragma once
// Running another program to its end: the one place where the library starts
// processes (scripts shipped in bundles, users' Unix tasks). The child gets
// a process group of its own, so that a time-out, and the end of the child,
// take every process it started with it: nothing it left running outlives
// the call or holds its output open.

#include <optional>
#include <string>
#include <vector>

namespace tq {

/// Where one of the child's output streams goes.
enum class ChildOutput {
  Capture,     // collected into the result
  Discard,     // /dev/null
  Descriptor,  // a descriptor of the caller's, which stays open
};

struct ChildProcessRequest {
  /// A path, or a bare name looked up in PATH.
  std::string executable;
  /// The arguments after the program's name.
  std::vector<std::string> arguments;
  /// Written to the child's standard input, which is then closed; without
  /// it the child reads /dev/null.
  std::optional<std::string> input;
  ChildOutput output = ChildOutput::Capture;
  ChildOutput error = ChildOutput::Capture;
  int outputDescriptor = -1;
  int errorDescriptor = -1;
  /// Seconds before the child's group is stopped (SIGTERM, then SIGKILL a
  /// second later); 0 or less waits without end.
  double timeout = 0;
};

struct ChildProcessResult {
  /// The errno of a child that could not be started (0 when it ran).
  int startError = 0;
  /// The exit status of a child that exited (else -1).
  int exitStatus = -1;
  /// The signal that ended the child (else 0).
  int signal = 0;
  bool timedOut = false;
  std::string output;
  std::string error;

  bool succeeded() const { return startError == 0 && exitStatus == 0 && !timedOut; }
};

namespace ChildProcess {

/// Starts the program, feeds its input, collects what is captured and waits
/// for its end (or its time-out); blocks the calling thread meanwhile. The
/// child's whole process group is killed once the child has ended.
ChildProcessResult run(const ChildProcessRequest& request);

}  // namespace ChildProcess

}  // namespace tq
