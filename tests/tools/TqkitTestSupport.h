#pragma once
// A fixture for tqkit's tests: a temporary folder for input files, and runs
// of the built binary through the shell with its standard error kept.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "tests/support/RunCommand.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/tools/InProcess.h"

namespace tq::testing {

struct BinaryResult {
  int status = -1;
  std::string out;
  std::string err;
};

class TqkitTest : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return (folder_.path() / name).string(); }
  std::string write(const std::string& name, const std::string& bytes) const {
    return folder_.write(name, bytes).string();
  }

  static std::string read(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  /// The tqkit binary of this build; skips the test when it is not built.
  std::string binary() const {
    const auto tqkit = tqkitOfThisBuild();
    if (!std::filesystem::exists(tqkit)) return {};
    return tqkit.string();
  }

  /// Runs "tqkit ARGUMENTS" through the shell (ARGUMENTS is shell text: it may
  /// redirect standard input and output); standard error is kept.
  BinaryResult runBinary(const std::string& arguments) const {
    const std::string errFile = path("stderr.txt");
    const CommandResult ran = runCommand(binary() + " " + arguments + " 2>" + shellQuoted(errFile));
    return {ran.status, ran.output, read(errFile)};
  }

  /// Bytes of every value, in a reproducible order.
  static std::string randomBytes(std::size_t size, unsigned seed = 7) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random() & 0xFF);
    return bytes;
  }

  TemporaryFolder folder_{"tqkit-tools"};
};

/// "group command" as typed after "tqkit" (the group alone for a group of one).
inline std::string pathOf(const tqkit::CommandGroup& group, const tqkit::Command& command) {
  return group.name + (command.name.empty() ? "" : " " + command.name);
}

#define TQKIT_REQUIRE_BINARY() \
  if (binary().empty()) GTEST_SKIP() << "tqkit is not built in this tree"

}  // namespace tq::testing
