// tqkit's man page and bash completion, both printed by the tool from the
// help its commands declare: the page names every group, command, option and
// example, escapes what roff would otherwise read as requests, and renders
// without a formatter's warnings; the completion is valid bash and completes
// groups, commands, options, option values and files; the build's copies are
// what the tool prints.

#include <algorithm>
#include <set>
#include <sstream>

#include "tests/tools/TqkitTestSupport.h"
#include "tools/tqkit/HelpTexts.h"
#include "tq/Version.h"

namespace tq::testing {
namespace {

using TqkitManPage = TqkitTest;
using TqkitBuiltDocuments = TqkitTest;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The option names in an option form or a synopsis: "-w, --wrap N" and
// "[-w N | --wrap N]" name -w and --wrap.
std::vector<std::string> optionNamesIn(const std::string& forms) {
  std::vector<std::string> names;
  std::string word;
  for (char c : forms + " ") {
    if (c == ' ' || c == ',' || c == '[' || c == ']' || c == '|') {
      if (word.size() > 1 && word[0] == '-') names.push_back(word);
      word.clear();
    } else {
      word.push_back(c);
    }
  }
  return names;
}

bool hasProgram(const std::string& name) { return runCommand("command -v " + name + " >/dev/null 2>&1").status == 0; }

std::string manPage() {
  const InProcessResult page = runInProcess({"help", "--man"});
  EXPECT_EQ(page.status, 0) << page.err;
  return page.out;
}

TEST(TqkitRoffEscaping, WhatRoffWouldReadAsRequestsOrEscapesIsQuoted) {
  EXPECT_EQ(tqkit::roffEscaped(".eml files"), "\\&.eml files");
  EXPECT_EQ(tqkit::roffEscaped("'quoted' at the start"), "\\(aqquoted\\(aq at the start");
  EXPECT_EQ(tqkit::roffEscaped("--url-safe"), "\\-\\-url\\-safe");
  EXPECT_EQ(tqkit::roffEscaped("a \\0 here"), "a \\e0 here");
  EXPECT_EQ(tqkit::roffEscaped("say \"tqkit\""), "say \\(dqtqkit\\(dq");
  EXPECT_EQ(tqkit::roffEscaped("~/Mail and `x` and ^"), "\\(ti/Mail and \\(gax\\(ga and \\(ha");
  EXPECT_EQ(tqkit::roffEscaped("two\nlines"), "two lines");
  // Non-ASCII as named code points, so that no input encoding is assumed.
  EXPECT_EQ(tqkit::roffEscaped("café €"), "caf\\[u00E9] \\[u20AC]");
  EXPECT_EQ(tqkit::roffEscaped("\xF0\x9F\x93\xA7"), "\\[u1F4E7]");
  EXPECT_EQ(tqkit::roffEscaped("bad \xC3 byte"), "bad \\[uFFFD] byte");
  // A dot later in the text is plain text.
  EXPECT_EQ(tqkit::roffEscaped("a.b"), "a.b");
}

TEST_F(TqkitManPage, NamesEveryGroupCommandOptionAndExample) {
  const std::string page = manPage();
  for (const char* section :
       {"\n.SH NAME\n", "\n.SH SYNOPSIS\n", "\n.SH DESCRIPTION\n", "\n.SH COMMANDS\n", "\n.SH \"EXIT STATUS\"\n",
        "\n.SH ENVIRONMENT\n", "\n.SH FILES\n", "\n.SH \"SEE ALSO\"\n"}) {
    EXPECT_NE(page.find(section), std::string::npos) << section;
  }
  EXPECT_NE(page.find("\n.SH NAME\ntqkit \\- "), std::string::npos) << "whatis needs 'NAME \\- text'";
  std::size_t groups = 0, commands = 0, options = 0;
  for (const tqkit::CommandGroup* group : tqkit::allGroups()) {
    ++groups;
    EXPECT_NE(page.find("\n.SS " + tqkit::roffEscaped(group->name) + "\n" + tqkit::roffEscaped(group->summary) + "\n"),
              std::string::npos)
        << group->name;
    for (const tqkit::Command& command : group->commands) {
      ++commands;
      const std::string path = pathOf(*group, command);
      EXPECT_NE(page.find("\n\\fBtqkit " + tqkit::roffEscaped(path) + "\\fR"), std::string::npos) << path;
      EXPECT_NE(page.find(tqkit::roffEscaped(command.summary)), std::string::npos) << path;
      for (const tqkit::OptionHelp& option : command.options) {
        for (const std::string& name : optionNamesIn(option.forms)) {
          ++options;
          EXPECT_NE(page.find("\\fB" + tqkit::roffEscaped(name) + "\\fR"), std::string::npos) << path << " " << name;
        }
        EXPECT_NE(page.find(tqkit::roffEscaped(option.text)), std::string::npos) << path << " " << option.forms;
      }
      for (const tqkit::ExampleHelp& example : command.examples) {
        EXPECT_NE(page.find("\\fB" + tqkit::roffEscaped(example.commandLine) + "\\fR"), std::string::npos)
            << example.commandLine;
      }
    }
  }
  EXPECT_GE(groups, 10u);
  EXPECT_GE(commands, 20u);
  EXPECT_GE(options, 20u);
  for (const auto& [status, meaning] : tqkit::exitStatuses()) {
    EXPECT_NE(page.find(".TP\n\\fB" + status + "\\fR\n" + tqkit::roffEscaped(meaning) + "\n"), std::string::npos)
        << status;
  }
}

TEST_F(TqkitManPage, EveryLineIsAKnownMacroOrEscapedText) {
  const std::string page = manPage();
  const std::set<std::string> macros{".\\\"", ".TH", ".SH", ".SS", ".PP", ".TP",
                                     ".RS",   ".RE", ".nf", ".fi", ".nh", ".ad"};
  for (const std::string& line : linesOf(page)) {
    ASSERT_FALSE(line.empty()) << "a blank line in a page is a formatting fault";
    EXPECT_NE(line[0], '\'') << line;
    if (line[0] == '.') {
      EXPECT_TRUE(macros.count(line.substr(0, line.find(' ')))) << line;
      continue;
    }
    // Text: every hyphen is an escaped minus, every byte ASCII.
    for (std::size_t i = 0; i < line.size(); ++i) {
      EXPECT_LT(static_cast<unsigned char>(line[i]), 0x80) << line;
      if (line[i] == '-') EXPECT_TRUE(i > 0 && line[i - 1] == '\\') << line;
    }
  }
}

TEST_F(TqkitManPage, TitleCarriesTheVersionAndTheBuildDate) {
  TQKIT_REQUIRE_BINARY();
  // 1 March 2021, 00:00 UTC: as a packager sets it for a reproducible build.
  const CommandResult page = runCommand("SOURCE_DATE_EPOCH=1614556800 " + binary() + " help --man");
  ASSERT_EQ(page.status, 0);
  EXPECT_NE(page.output.find("\n.TH TQKIT 1 2021-03-01 \"TQBaseKit " + tqkit::roffEscaped(tq::versionString) +
                             "\" \"User Commands\"\n"),
            std::string::npos)
      << page.output.substr(0, 300);
  // Without it, today's date in the same form.
  const CommandResult today = runCommand("env -u SOURCE_DATE_EPOCH " + binary() + " help --man | sed -n 3p");
  EXPECT_EQ(today.output.rfind(".TH TQKIT 1 20", 0), 0u) << today.output;
  EXPECT_EQ(today.output[16], '-') << today.output;
}

TEST_F(TqkitManPage, RendersWithoutWarningsAndAsTyped) {
  if (!hasProgram("groff")) GTEST_SKIP() << "groff is not installed";
  const std::string file = write("tqkit.1", manPage());
  // -ww: every warning; -z: no output, the diagnostics alone.
  const CommandResult lint = runCommand("groff -man -Tutf8 -ww -z " + shellQuoted(file) + " 2>&1");
  EXPECT_EQ(lint.status, 0);
  EXPECT_EQ(lint.output, "");
  if (hasProgram("man")) {
    const CommandResult man =
        runCommand("LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l " + shellQuoted(file) + " 2>&1 >/dev/null");
    EXPECT_EQ(man.status, 0);
    EXPECT_EQ(man.output, "");
  }
  // Rendered wide enough for no line to wrap, with escapes plain: every
  // example reads as the command line to type (the minus sign the terminal
  // shows as U+2212 is the ASCII one when copied from a man page).
  const CommandResult text =
      runCommand("LC_ALL=C.UTF-8 GROFF_NO_SGR=1 groff -man -Tutf8 -rLL=250n -P-bcou " + shellQuoted(file) + " 2>&1");
  ASSERT_EQ(text.status, 0);
  std::string rendered;
  for (std::size_t i = 0; i < text.output.size(); ++i) {
    if (text.output.compare(i, 3, "\xE2\x88\x92") == 0 || text.output.compare(i, 3, "\xE2\x80\x90") == 0) {
      rendered += '-';
      i += 2;
    } else {
      rendered += text.output[i];
    }
  }
  for (const tqkit::CommandGroup* group : tqkit::allGroups()) {
    for (const tqkit::Command& command : group->commands) {
      EXPECT_NE(
          rendered.find("tqkit " + pathOf(*group, command) + (command.synopsis.empty() ? "" : " ") + command.synopsis),
          std::string::npos)
          << pathOf(*group, command);
      for (const tqkit::ExampleHelp& example : command.examples) {
        EXPECT_NE(rendered.find(" " + example.commandLine + "\n"), std::string::npos) << example.commandLine;
      }
    }
  }
}

// ---- The completion -------------------------------------------------------

class TqkitCompletion : public TqkitTest {
 protected:
  void SetUp() override {
    TqkitTest::SetUp();
    const InProcessResult script = runInProcess({"help", "--completion", "bash"});
    ASSERT_EQ(script.status, 0) << script.err;
    script_ = write("tqkit.bash", script.out);
    write("notes.txt", "");
    write("notes.b64", "");
    std::filesystem::create_directories(path("mail"));
  }

  /// What _tqkit offers when the words typed are `words` (the last being the
  /// one under the cursor), sorted; run in the test's folder, whose files are
  /// notes.txt, notes.b64, mail/ and the script itself.
  std::vector<std::string> complete(const std::vector<std::string>& words) const {
    std::string array;
    for (const std::string& word : words) array += " " + shellQuoted(word);
    const std::string script = "source " + shellQuoted(script_) + " && COMP_WORDS=(" + array +
                               ") && COMP_CWORD=" + std::to_string(words.size() - 1) +
                               " && _tqkit && printf '%s\\n' \"${COMPREPLY[@]}\"";
    const CommandResult ran = runCommand("cd " + shellQuoted(folder_.string()) + " && bash --norc --noprofile -c " +
                                         shellQuoted(script) + " 2>&1");
    EXPECT_EQ(ran.status, 0) << ran.output;
    std::vector<std::string> offered;
    for (const std::string& line : linesOf(ran.output)) {
      if (!line.empty()) offered.push_back(line);
    }
    std::sort(offered.begin(), offered.end());
    return offered;
  }

  static std::vector<std::string> sorted(std::vector<std::string> words) {
    std::sort(words.begin(), words.end());
    return words;
  }

  std::string script_;
};

using Words = std::vector<std::string>;

TEST_F(TqkitCompletion, IsValidBash) {
  // Sourced, it parses without a message (bash reads the whole file) and
  // registers the function for tqkit.
  const CommandResult registered =
      runCommand("bash --norc -c " + shellQuoted("source " + shellQuoted(script_) + " && complete -p tqkit") + " 2>&1");
  EXPECT_EQ(registered.output, "complete -F _tqkit tqkit\n");
}

TEST_F(TqkitCompletion, CompletesGroupsAndCommands) {
  EXPECT_EQ(complete({"tqkit", "h"}), (Words{"hash", "help", "html"}));
  Words groups{"help"};
  for (const tqkit::CommandGroup* group : tqkit::allGroups()) groups.push_back(group->name);
  EXPECT_EQ(complete({"tqkit", ""}), sorted(groups));
  EXPECT_EQ(complete({"tqkit", "--v"}), Words{"--version"});
  for (const tqkit::CommandGroup* group : tqkit::allGroups()) {
    if (tqkit::isSingleCommand(*group)) continue;
    Words names;
    for (const tqkit::Command& command : group->commands) names.push_back(command.name);
    EXPECT_EQ(complete({"tqkit", group->name, ""}), sorted(names)) << group->name;
    EXPECT_EQ(complete({"tqkit", "help", group->name, ""}), sorted(names)) << group->name;
  }
  EXPECT_EQ(complete({"tqkit", "mime", "encode-"}), (Words{"encode-body", "encode-word"}));
  EXPECT_EQ(complete({"tqkit", "help", "pl"}), Words{"plist"});
  EXPECT_EQ(complete({"tqkit", "help", "plist", "show", ""}), Words{});
}

TEST_F(TqkitCompletion, CompletesEveryDeclaredOptionOfEachCommand) {
  for (const tqkit::CommandGroup* group : tqkit::allGroups()) {
    for (const tqkit::Command& command : group->commands) {
      Words words{"tqkit", group->name};
      if (!command.name.empty()) words.push_back(command.name);
      words.push_back("-");
      const Words offered = complete(words);
      const std::string path = pathOf(*group, command);
      EXPECT_TRUE(std::count(offered.begin(), offered.end(), "--help")) << path;
      for (const tqkit::OptionHelp& option : command.options) {
        for (const std::string& name : optionNamesIn(option.forms)) {
          EXPECT_TRUE(std::count(offered.begin(), offered.end(), name)) << path << " lacks " << name;
        }
      }
      // Options only the synopsis names are offered too.
      for (const std::string& name : optionNamesIn(command.synopsis)) {
        EXPECT_TRUE(std::count(offered.begin(), offered.end(), name)) << path << " lacks " << name;
      }
    }
  }
  EXPECT_EQ(complete({"tqkit", "base64", "decode", "--p"}), Words{"--path-safe"});
  EXPECT_EQ(complete({"tqkit", "log", "--s"}), (Words{"--stdin", "--subsystem"}));
  // After --, a word with a dash is an argument (a file here).
  EXPECT_EQ(complete({"tqkit", "base64", "decode", "--", "--"}), Words{});
}

TEST_F(TqkitCompletion, CompletesOptionValuesAndFileArguments) {
  const Words files{"mail", "notes.b64", "notes.txt", "tqkit.bash"};
  // FILE arguments, and the FILE of -f.
  EXPECT_EQ(complete({"tqkit", "base64", "decode", ""}), files);
  EXPECT_EQ(complete({"tqkit", "base64", "decode", "notes."}), (Words{"notes.b64", "notes.txt"}));
  EXPECT_EQ(complete({"tqkit", "eml", "ma"}), Words{"mail"});
  EXPECT_EQ(complete({"tqkit", "utf7", "encode", "-f", "notes.b"}), Words{"notes.b64"});
  EXPECT_EQ(complete({"tqkit", "utf7", "encode", "--file", "=", "notes.b"}), Words{"notes.b64"});
  EXPECT_EQ(complete({"tqkit", "console", "--log", "notes.t"}), Words{"notes.txt"});
  // A TEXT argument or a value to type is not a file.
  EXPECT_EQ(complete({"tqkit", "utf7", "encode", "no"}), Words{});
  EXPECT_EQ(complete({"tqkit", "base64", "encode", "--wrap", ""}), Words{});
  EXPECT_EQ(complete({"tqkit", "base64", "encode", "--wrap", "=", ""}), Words{});
  EXPECT_EQ(complete({"tqkit", "log", "--plugin", "no"}), Words{});
  // The value of an option is not an argument: after it, FILE again.
  EXPECT_EQ(complete({"tqkit", "base64", "encode", "-w", "0", "notes.t"}), Words{"notes.txt"});
  // Positions: plist set FILE KEY.PATH VALUE.
  EXPECT_EQ(complete({"tqkit", "plist", "set", "notes.t"}), Words{"notes.txt"});
  EXPECT_EQ(complete({"tqkit", "plist", "set", "a.plist", "no"}), Words{});
  // Choices.
  EXPECT_EQ(complete({"tqkit", "html", "escape", "--table", "a"}), (Words{"ascii", "ascii-content"}));
  EXPECT_EQ(complete({"tqkit", "html", "escape", "--table", "="}),
            (Words{"ascii", "ascii-content", "content", "markup"}));
}

TEST_F(TqkitCompletion, OtherShellsAndExtraWordsAreUsageErrors) {
  EXPECT_EQ(runInProcess({"help", "--completion", "zsh"}).status, 2);
  EXPECT_EQ(runInProcess({"help", "--completion"}).status, 2);
  const InProcessResult extra = runInProcess({"help", "--man", "base64"});
  EXPECT_EQ(extra.status, 2);
  EXPECT_EQ(extra.out, "");
  EXPECT_NE(extra.err.find("usage: tqkit help --man"), std::string::npos) << extra.err;
  // They are not in the help listing: the installed files are how they reach a user.
  const InProcessResult top = runInProcess({"--help"});
  EXPECT_EQ(top.out.find("--man"), std::string::npos);
  EXPECT_EQ(top.out.find("--completion"), std::string::npos);
}

// ---- The build's copies ---------------------------------------------------

TEST_F(TqkitBuiltDocuments, AreWhatTheToolPrints) {
  TQKIT_REQUIRE_BINARY();
  const std::filesystem::path folder = std::filesystem::path(binary()).parent_path();
  if (!std::filesystem::exists(folder / "tqkit.1") || !std::filesystem::exists(folder / "tqkit.bash-completion")) {
    GTEST_SKIP() << "the tqkit_documents target is not built in this tree";
  }
  EXPECT_EQ(read((folder / "tqkit.bash-completion").string()), runInProcess({"help", "--completion", "bash"}).out);
  // The page's title line holds the day it was built; the rest is the same.
  std::vector<std::string> built = linesOf(read((folder / "tqkit.1").string()));
  std::vector<std::string> printed = linesOf(manPage());
  ASSERT_EQ(built.size(), printed.size());
  for (std::size_t i = 0; i < built.size(); ++i) {
    if (built[i].rfind(".TH ", 0) == 0) continue;
    EXPECT_EQ(built[i], printed[i]);
  }
}

}  // namespace
}  // namespace tq::testing
