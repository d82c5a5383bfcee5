// tqkit's conventions as a user meets them: errors in one style with exit 1,
// usage errors and mistyped commands with exit 2, output that cannot be
// written, inputs that cannot be read. Run in-process and through the binary.

#include <sys/stat.h>

#include <filesystem>

#include "tests/tools/TqkitTestSupport.h"

namespace tq::testing {
namespace {

namespace fs = std::filesystem;

using TqkitConventions = TqkitTest;

TEST_F(TqkitConventions, InProcessRunsGiveWhatTheBinaryGives) {
  TQKIT_REQUIRE_BINARY();
  const std::string input = randomBytes(1000);
  const std::string file = write("input.bin", input);
  const InProcessResult inProcess = runInProcess({"base64", "encode"}, input);
  const BinaryResult ran = runBinary("base64 encode " + shellQuoted(file));
  EXPECT_EQ(inProcess.status, 0);
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(inProcess.out, ran.out);
  EXPECT_EQ(runInProcess({"base64", "decode"}, inProcess.out).out, input);
  EXPECT_EQ(inProcess.err, "");
}

TEST_F(TqkitConventions, FailuresNameTheCommandWhatFailedAndWhy) {
  const std::string missing = path("x.txt");
  InProcessResult result = runInProcess({"base64", "decode", missing});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tqkit: base64 decode: cannot read '" + missing + "': No such file or directory\n");

  result = runInProcess({"plist", "get", path("none.plist"), "a"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("tqkit: plist get: cannot read '" + path("none.plist") + "': ", 0), 0u) << result.err;

  result = runInProcess({"qp", "decode"}, "bad =G1");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("tqkit: qp decode: malformed quoted-printable", 0), 0u) << result.err;

  // A folder given as a file fails on its first read.
  result = runInProcess({"hash", "md5", folder_.string()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tqkit: hash md5: cannot read '" + folder_.string() + "': Is a directory\n");
}

TEST_F(TqkitConventions, MistypedCommandsGetOneLineWithTheNearestNameAndExitTwo) {
  // With nothing near, no guess: a pointer to the list.
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"bsae64"}, "unknown command 'bsae64'; did you mean 'base64'?"},
      {{"base64", "decod"}, "unknown command 'base64 decod'; did you mean 'base64 decode'?"},
      {{"hlep"}, "unknown command 'hlep'; did you mean 'help'?"},
      {{"frobnicate"}, "unknown command 'frobnicate'; see 'tqkit --help'"}};
  for (const auto& [words, message] : cases) {
    const InProcessResult result = runInProcess(words);
    EXPECT_EQ(result.status, 2) << words[0];
    EXPECT_EQ(result.err, "tqkit: " + message + "\n");
    EXPECT_EQ(result.out, "") << words[0];
  }
}

TEST_F(TqkitConventions, UsageErrorsExitTwoWithTheUsageLine) {
  InProcessResult result = runInProcess({"base64", "encode", "--wrap", "wide"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "tqkit: base64 encode: --wrap needs a whole number of columns\n"
            "usage: tqkit base64 encode [-w N | --wrap N] [--path-safe] [FILE...]\n"
            "Try 'tqkit base64 encode --help' for more information.\n");
  result = runInProcess({"html", "escape", "--bogus"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err.rfind("tqkit: html escape: unknown option '--bogus'\n", 0), 0u) << result.err;
}

TEST_F(TqkitConventions, OutputThatCannotBeWrittenIsAFailure) {
  // In-process: the stream refuses at the final flush.
  std::FILE* full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  InProcessResult result = runInProcess({"base64", "encode", "-w", "0"}, "abc", full);
  std::fclose(full);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tqkit: base64 encode: write error: No space left on device\n");

  TQKIT_REQUIRE_BINARY();
  const std::string big = write("big.bin", randomBytes(1 << 20));
  for (const std::string& command :
       std::vector<std::string>{"base64 encode " + big, "hash md5 --help", "--help", "--version"}) {
    const BinaryResult ran = runBinary(command + " >/dev/full");
    EXPECT_EQ(ran.status, 1) << command;
    EXPECT_NE(ran.err.find("write error: No space left on device"), std::string::npos) << command << ": " << ran.err;
  }
  // A reader that has gone away, with SIGPIPE ignored as some shells and
  // services do: the write fails with EPIPE instead of killing tqkit.
  const CommandResult pipe = runCommand("bash -c \"trap '' PIPE; " + binary() + " base64 encode " + big +
                                        " 2>/dev/null | head -c 10 >/dev/null; echo \\${PIPESTATUS[0]}\"");
  EXPECT_EQ(pipe.output, "1\n");
}

TEST_F(TqkitConventions, EmlReportsWhatItCannotReadAndGoesOnWithTheRest) {
  fs::create_directories(folder_.path() / "mail" / "inner");
  write("mail/a.eml", "Subject: one\r\n\r\nbody\r\n");
  write("mail/inner/c.eml", "Subject: three\n\nbody\n");
  fs::create_symlink(folder_.path() / "nowhere.eml", folder_.path() / "mail" / "b.eml");  // dangling

  InProcessResult result = runInProcess({"eml", path("mail")});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.out.find("\"Subject\",\"one\""), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("\"Subject\",\"three\""), std::string::npos) << result.out;
  EXPECT_EQ(result.err, "tqkit: eml: cannot read '" + path("mail/b.eml") + "': No such file or directory\n");

  // A folder it may not list, when permissions bind (not for root).
  if (::geteuid() != 0) {
    fs::remove(folder_.path() / "mail" / "b.eml");
    ::chmod(path("mail/inner").c_str(), 0);
    result = runInProcess({"eml", path("mail")});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("\"Subject\",\"one\""), std::string::npos) << result.out;
    EXPECT_EQ(result.err, "tqkit: eml: cannot read folder '" + path("mail/inner") + "': Permission denied\n");
    ::chmod(path("mail/inner").c_str(), 0700);
  }
}

TEST_F(TqkitConventions, ProgressShowsOnATerminalOnly) {
  TQKIT_REQUIRE_BINARY();
  // The input pauses, so the work lasts longer than the half second after
  // which the progress line appears.
  const std::string slow = "(head -c 100000 /dev/zero; sleep 1.2; head -c 100000 /dev/zero) | " + binary();
  const CommandResult file = runCommand(slow + " base64 encode 2>&1 >/dev/null");
  EXPECT_EQ(file.status, 0);
  EXPECT_EQ(file.output, "") << "standard error in a pipe shows nothing";
  // script(1) runs the same on a terminal of its own and passes on what the
  // terminal showed.
  if (runCommand("command -v script >/dev/null").status != 0) GTEST_SKIP() << "no script(1) to make a terminal";
  const CommandResult terminal =
      runCommand("script -qec " + shellQuoted(slow + " base64 encode >/dev/null") + " /dev/null");
  EXPECT_EQ(terminal.status, 0);
  const std::size_t line = terminal.output.find("\rbase64 encode: ");
  ASSERT_NE(line, std::string::npos) << terminal.output;
  EXPECT_NE(terminal.output.find(" kB read\x1b[K", line), std::string::npos) << terminal.output;
  EXPECT_NE(terminal.output.find("\r\x1b[K"), std::string::npos) << "the line is cleared at the end";
}

}  // namespace
}  // namespace tq::testing
