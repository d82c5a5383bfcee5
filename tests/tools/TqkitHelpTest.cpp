// tqkit's help: every command answers its own help in three ways, the help
// fits 80 columns when it is not shown on a terminal, and the top level
// says what the exit statuses mean.

#include <set>

#include "tests/tools/TqkitTestSupport.h"

namespace tq::testing {
namespace {

using TqkitHelp = TqkitTest;

std::size_t widestLine(const std::string& text) {
  std::size_t widest = 0, column = 0;
  for (unsigned char c : text) {
    if (c == '\n') {
      widest = std::max(widest, column);
      column = 0;
    } else if ((c & 0xC0) != 0x80) {
      ++column;
    }
  }
  return std::max(widest, column);
}

TEST_F(TqkitHelp, EveryCommandsHelpFitsEightyColumnsWhenNotOnATerminal) {
  TQKIT_REQUIRE_BINARY();
  std::set<std::string> groups;
  for (const tqkit::CommandGroup* group : tqkit::allGroups()) {
    groups.insert(group->name);
    const BinaryResult groupHelp = runBinary("help " + group->name + " </dev/null");
    EXPECT_EQ(groupHelp.status, 0) << group->name;
    EXPECT_LE(widestLine(groupHelp.out), 80u) << groupHelp.out;
    for (const tqkit::Command& command : group->commands) {
      const std::string name = pathOf(*group, command);
      // Not a terminal (a pipe) and no COLUMNS: 80.
      const CommandResult direct = runCommand("env -u COLUMNS " + binary() + " help " + name);
      EXPECT_EQ(direct.status, 0) << name;
      EXPECT_EQ(direct.output.rfind("usage: tqkit " + name, 0), 0u) << direct.output;
      EXPECT_LE(widestLine(direct.output), 80u) << direct.output;
    }
  }
  // Every group of the binary is among those checked.
  const CommandResult top = runCommand("env -u COLUMNS " + binary() + " --help");
  for (const char* name : {"base64", "console", "eml", "hash", "html", "log", "mime", "plist", "qp", "utf7"}) {
    EXPECT_TRUE(groups.count(name)) << name;
    EXPECT_NE(top.output.find("\n  " + std::string(name) + " "), std::string::npos) << name;
  }
  EXPECT_LE(widestLine(top.output), 80u) << top.output;
}

TEST_F(TqkitHelp, HelpCommandHelpOptionAndGroupFormAgree) {
  for (const tqkit::CommandGroup* group : tqkit::allGroups()) {
    for (const tqkit::Command& command : group->commands) {
      std::vector<std::string> words{"help", group->name};
      std::vector<std::string> option{group->name};
      if (!command.name.empty()) {
        words.push_back(command.name);
        option.push_back(command.name);
      }
      option.push_back("--help");
      const InProcessResult byHelp = runInProcess(words);
      const InProcessResult byOption = runInProcess(option);
      EXPECT_EQ(byHelp.status, 0);
      EXPECT_EQ(byOption.status, 0);
      EXPECT_EQ(byHelp.out, byOption.out) << pathOf(*group, command);
      EXPECT_NE(byHelp.out.find(command.summary.substr(0, 20)), std::string::npos) << byHelp.out;
    }
  }
}

TEST_F(TqkitHelp, ACommandsHelpHasItsSynopsisOptionsAndExamples) {
  const InProcessResult eml = runInProcess({"help", "eml"});
  EXPECT_EQ(eml.out.rfind("usage: tqkit eml [FILE | FOLDER | -]...\n", 0), 0u) << eml.out;
  EXPECT_NE(eml.out.find("\nExamples:\n  tqkit eml "), std::string::npos) << eml.out;
  EXPECT_EQ(eml.out.find("EXIT STATUS"), std::string::npos) << "the top-level help, not the command's";

  const InProcessResult decode = runInProcess({"base64", "decode", "--help"});
  EXPECT_EQ(decode.out.rfind("usage: tqkit base64 decode [--lenient] [--url-safe | --path-safe] [FILE...]\n", 0), 0u)
      << decode.out;
  EXPECT_NE(decode.out.find("\nOptions:\n  --lenient "), std::string::npos) << decode.out;
  EXPECT_NE(decode.out.find("\nExamples:\n"), std::string::npos) << decode.out;

  const InProcessResult group = runInProcess({"base64", "--help"});
  EXPECT_NE(group.out.find("\n  decode "), std::string::npos) << group.out;
  EXPECT_NE(group.out.find("\n  encode "), std::string::npos) << group.out;
  // A group without its command is a usage error, its help on stderr.
  const InProcessResult bare = runInProcess({"base64"});
  EXPECT_EQ(bare.status, 2);
  EXPECT_EQ(bare.err, group.out);
}

TEST_F(TqkitHelp, TopLevelSaysTheExitStatusesOnce) {
  const InProcessResult top = runInProcess({"--help"});
  EXPECT_EQ(top.status, 0);
  const std::size_t exitStatus = top.out.find("\nEXIT STATUS\n");
  ASSERT_NE(exitStatus, std::string::npos) << top.out;
  const std::string section = top.out.substr(exitStatus);
  EXPECT_NE(section.find("\n  0  success"), std::string::npos) << section;
  EXPECT_NE(section.find("\n  1  failure"), std::string::npos) << section;
  EXPECT_NE(section.find("\n  2  usage error"), std::string::npos) << section;
  EXPECT_EQ(runInProcess({"help"}).out, top.out);
  EXPECT_EQ(runInProcess({"-h"}).out, top.out);
}

TEST_F(TqkitHelp, HelpIsWrappedToTheColumnsGiven) {
  TQKIT_REQUIRE_BINARY();
  const CommandResult narrow = runCommand("COLUMNS=50 " + binary() + " help mime encode-body");
  EXPECT_EQ(narrow.status, 0);
  EXPECT_LE(widestLine(narrow.output), 50u) << narrow.output;
  EXPECT_GT(widestLine(narrow.output), 40u) << narrow.output;
  const CommandResult wide = runCommand("COLUMNS=200 " + binary() + " help mime encode-body");
  EXPECT_GT(widestLine(wide.output), 100u) << wide.output;
  // The version is the binary's own (it is not one of the commands).
  const BinaryResult version = runBinary("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("tqkit ", 0), 0u) << version.out;
}

}  // namespace
}  // namespace tq::testing
