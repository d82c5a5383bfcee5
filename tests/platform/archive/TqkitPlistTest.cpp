// tqkit plist, run as a user runs it: output, exit codes (0 done, 1 nil or
// false with a one-line reason, 2 usage) and the files it leaves behind.
// Skipped when the tqkit binary of this build tree is missing.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/value/String.h"
#include "tests/support/RunCommand.h"

namespace fs = std::filesystem;
using namespace tq;

namespace {

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

class TqkitPlist : public ::testing::Test {
 protected:
  void SetUp() override {
    tqkit_ = tq::testing::tqkitOfThisBuild();
    if (!fs::exists(tqkit_)) GTEST_SKIP() << "tqkit is not built in this tree";
    folder_ = fs::temp_directory_path() / ("tqkit-plist-" + std::to_string(::getpid()));
    fs::create_directories(folder_);
  }
  void TearDown() override {
    std::error_code ignored;
    if (!folder_.empty()) fs::remove_all(folder_, ignored);
  }

  std::string path(const std::string& name) const { return (folder_ / name).string(); }

  Outcome run(std::initializer_list<std::string> words) const {
    using tq::testing::shellQuoted;
    std::string command = tqkit_.string();
    for (const std::string& word : words) command += " " + shellQuoted(word);
    std::string errFile = path("stderr.txt");
    command += " 2>" + shellQuoted(errFile);
    const tq::testing::CommandResult ran = tq::testing::runCommand(command);
    Outcome result{ran.status, ran.output, {}};
    std::ifstream err(errFile);
    std::stringstream text;
    text << err.rdbuf();
    result.err = text.str();
    return result;
  }

  fs::path tqkit_;
  fs::path folder_;
};

TEST_F(TqkitPlist, SetCreatesTheFileAndGetPrintsStringsRawOthersAsJSON) {
  std::string file = path("new.plist");
  EXPECT_EQ(run({"plist", "set", file, "window.title", "Inbox & more"}).status, 0);
  EXPECT_EQ(run({"plist", "set", file, "window.size", "[640, 480]"}).status, 0);
  EXPECT_EQ(run({"plist", "set", file, "limits.max", "18446744073709551615"}).status, 0);
  EXPECT_EQ(run({"plist", "set", file, "limits.min", "-9223372036854775808"}).status, 0);
  Outcome title = run({"plist", "get", file, "window.title"});
  EXPECT_EQ(title.status, 0);
  EXPECT_EQ(title.out, "Inbox & more\n");
  EXPECT_EQ(run({"plist", "get", file, "window.size.1"}).out, "480\n");
  EXPECT_EQ(run({"plist", "get", file, "limits.max"}).out, "18446744073709551615\n");
  EXPECT_EQ(run({"plist", "get", file, "limits.min"}).out, "-9223372036854775808\n");
  Outcome shown = run({"plist", "show", file});
  EXPECT_EQ(shown.status, 0);
  EXPECT_NE(shown.out.find("\t\t<string>Inbox &amp; more</string>\n"), std::string::npos) << shown.out;
  auto back = cast<Dictionary>(PropertyList::readFile(file));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->count(), 2u);
}

TEST_F(TqkitPlist, ControlCharactersSurviveSetAndGet) {
  std::string file = path("controls.plist");
  ASSERT_EQ(run({"plist", "set", file, "k", "\"a\\u0001b\\r\\nc\""}).status, 0);
  Outcome value = run({"plist", "get", file, "k"});
  EXPECT_EQ(value.status, 0) << value.err;
  EXPECT_EQ(value.out,
            "a\x01"
            "b\r\nc\n");
  EXPECT_EQ(run({"plist", "set", file, "other", "1"}).status, 0);  // the file stays readable
}

TEST_F(TqkitPlist, BinaryFilesStayBinary) {
  std::string file = path("binary.plist");
  ASSERT_TRUE(PropertyList::writeFile(dict({{str("n"), num(1)}}).get(), file, PropertyListFormat::Binary));
  ASSERT_EQ(run({"plist", "set", file, "n", "2"}).status, 0);
  PropertyListFormat format = PropertyListFormat::XML;
  auto back = cast<Dictionary>(PropertyList::readFile(file, nullptr, &format));
  ASSERT_TRUE(back);
  EXPECT_EQ(format, PropertyListFormat::Binary);
  EXPECT_TRUE(isEqual(back->objectForKey("n"), num(2)));
}

TEST_F(TqkitPlist, FailuresExitOneWithAReasonAndLeaveTheFileAlone) {
  std::string file = path("settings.plist");
  ASSERT_EQ(run({"plist", "set", file, "name", "x"}).status, 0);
  Outcome absent = run({"plist", "get", file, "missing.key"});
  EXPECT_EQ(absent.status, 1);
  EXPECT_EQ(absent.out, "");
  EXPECT_NE(absent.err.find("no value at 'missing'"), std::string::npos) << absent.err;

  Outcome beneath = run({"plist", "set", file, "name.inner", "1"});
  EXPECT_EQ(beneath.status, 1);
  EXPECT_NE(beneath.err.find("it holds a String"), std::string::npos) << beneath.err;
  Outcome nested = run({"plist", "set", file, "list", "[1, null]"});
  EXPECT_EQ(nested.status, 1);
  EXPECT_NE(nested.err.find("null"), std::string::npos) << nested.err;
  EXPECT_EQ(run({"plist", "get", file, "list"}).status, 1);  // nothing was written

  std::ofstream(path("broken.plist")) << "<plist><dict><key>a</key><string>x</dict></plist>";
  Outcome broken = run({"plist", "to-json", path("broken.plist")});
  EXPECT_EQ(broken.status, 1);
  EXPECT_NE(broken.err.find("line 1, column"), std::string::npos) << broken.err;
  EXPECT_EQ(run({"plist", "show", path("none.plist")}).status, 1);
}

TEST_F(TqkitPlist, UsageErrorsExitTwoAndHelpExitsZero) {
  Outcome missing = run({"plist", "get", path("any.plist")});
  EXPECT_EQ(missing.status, 2);
  EXPECT_NE(missing.err.find("usage: tqkit plist get FILE|- KEY.PATH"), std::string::npos) << missing.err;
  EXPECT_EQ(run({"plist", "get", path("any.plist"), "a..b"}).status, 2);
  EXPECT_EQ(run({"plist", "frobnicate"}).status, 2);
  for (auto words : {std::initializer_list<std::string>{"--help"}, {"plist", "--help"}, {"plist", "set", "--help"}}) {
    Outcome help = run(words);
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("usage"), std::string::npos) << help.out;
  }
  Outcome version = run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("tqkit ", 0), 0u) << version.out;
}

}  // namespace
