#pragma once
// Runs a tqkit command in this process, as the binary would run it, with
// files of its own as standard input, output and error. The test program
// links tqkit's commands (the tqkit_commands object library).

#include <cstdio>
#include <string>
#include <vector>

#include "tools/tqkit/Command.h"

namespace tq::testing {

struct InProcessResult {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string contentsOf(std::FILE* file) {
  std::string text;
  std::rewind(file);
  char buffer[65536];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, n);
  return text;
}

/// tqkit with `words` (the words after "tqkit"), reading `input`. `out`, when
/// given, is the standard output (a test of write failures passes /dev/full).
inline InProcessResult runInProcess(const std::vector<std::string>& words, const std::string& input = "",
                                    std::FILE* out = nullptr) {
  InProcessResult result;
  std::FILE* in = std::tmpfile();
  std::FILE* ownOut = out ? nullptr : std::tmpfile();
  std::FILE* err = std::tmpfile();
  std::fwrite(input.data(), 1, input.size(), in);
  std::rewind(in);
  result.status = tqkit::runTqkit(words, tqkit::Streams{in, out ? out : ownOut, err});
  if (ownOut) {
    result.out = contentsOf(ownOut);
    std::fclose(ownOut);
  }
  result.err = contentsOf(err);
  std::fclose(in);
  std::fclose(err);
  return result;
}

}  // namespace tq::testing
