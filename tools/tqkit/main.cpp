// tqkit: every capability of the library from the command line. main() only
// wires the process's streams to the runner (Runner.cpp), which tests call
// in-process with streams of their own.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Command.h"
#include "tq/Version.h"

using namespace tqkit;

namespace {

// What is still buffered must reach its destination: a full disk or a closed
// pipe is a failure, as with every other tool.
int closeStandardOutput(int status) {
  if (std::fclose(stdout) != 0 && status == Success) {
    std::fprintf(stderr, "tqkit: write error: %s\n", std::strerror(errno));
    return Failure;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  if (!words.empty() && words[0] == "--version") {
    std::printf("tqkit %s\n", tq::versionString);
    return closeStandardOutput(Success);
  }
  return closeStandardOutput(runTqkit(std::move(words), Streams{stdin, stdout, stderr}));
}
