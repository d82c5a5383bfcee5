// tqkit plist: output, exit codes (0 done, 1 nil or false with a one-line
// reason, 2 usage) and the files it leaves behind.

#include "tests/tools/TqkitTestSupport.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"

namespace tq::testing {
namespace {

using TqkitPlist = TqkitTest;

TEST_F(TqkitPlist, SetCreatesTheFileAndGetPrintsStringsRawOthersAsJSON) {
  const std::string file = path("new.plist");
  EXPECT_EQ(runInProcess({"plist", "set", file, "window.title", "Inbox & more"}).status, 0);
  EXPECT_EQ(runInProcess({"plist", "set", file, "window.size", "[640, 480]"}).status, 0);
  EXPECT_EQ(runInProcess({"plist", "set", file, "limits.max", "18446744073709551615"}).status, 0);
  EXPECT_EQ(runInProcess({"plist", "set", file, "limits.min", "-9223372036854775808"}).status, 0);
  const InProcessResult title = runInProcess({"plist", "get", file, "window.title"});
  EXPECT_EQ(title.status, 0);
  EXPECT_EQ(title.out, "Inbox & more\n");
  EXPECT_EQ(runInProcess({"plist", "get", file, "window.size.1"}).out, "480\n");
  EXPECT_EQ(runInProcess({"plist", "get", file, "limits.max"}).out, "18446744073709551615\n");
  EXPECT_EQ(runInProcess({"plist", "get", file, "limits.min"}).out, "-9223372036854775808\n");
  const InProcessResult shown = runInProcess({"plist", "show", file});
  EXPECT_EQ(shown.status, 0);
  EXPECT_NE(shown.out.find("\t\t<string>Inbox &amp; more</string>\n"), std::string::npos) << shown.out;
  auto back = cast<Dictionary>(PropertyList::readFile(file));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->count(), 2u);
}

TEST_F(TqkitPlist, ControlCharactersSurviveSetAndGetAndBinaryFilesStayBinary) {
  const std::string file = path("controls.plist");
  ASSERT_EQ(runInProcess({"plist", "set", file, "k", "\"a\\u0001b\\r\\nc\""}).status, 0);
  const InProcessResult value = runInProcess({"plist", "get", file, "k"});
  EXPECT_EQ(value.status, 0) << value.err;
  EXPECT_EQ(value.out, "a\x01" "b\r\nc\n");
  EXPECT_EQ(runInProcess({"plist", "set", file, "other", "1"}).status, 0);  // the file stays readable

  const std::string binary = path("binary.plist");
  ASSERT_TRUE(PropertyList::writeFile(dict({{str("n"), num(1)}}).get(), binary, PropertyListFormat::Binary));
  ASSERT_EQ(runInProcess({"plist", "set", binary, "n", "2"}).status, 0);
  PropertyListFormat format = PropertyListFormat::XML;
  auto back = cast<Dictionary>(PropertyList::readFile(binary, nullptr, &format));
  ASSERT_TRUE(back);
  EXPECT_EQ(format, PropertyListFormat::Binary);
  EXPECT_TRUE(isEqual(back->objectForKey("n"), num(2)));
}

TEST_F(TqkitPlist, FailuresExitOneWithAReasonAndLeaveTheFileAlone) {
  const std::string file = path("settings.plist");
  ASSERT_EQ(runInProcess({"plist", "set", file, "name", "x"}).status, 0);
  const InProcessResult absent = runInProcess({"plist", "get", file, "missing.key"});
  EXPECT_EQ(absent.status, 1);
  EXPECT_EQ(absent.out, "");
  EXPECT_NE(absent.err.find("no value at 'missing'"), std::string::npos) << absent.err;

  const InProcessResult beneath = runInProcess({"plist", "set", file, "name.inner", "1"});
  EXPECT_EQ(beneath.status, 1);
  EXPECT_NE(beneath.err.find("it holds a String"), std::string::npos) << beneath.err;
  const InProcessResult nested = runInProcess({"plist", "set", file, "list", "[1, null]"});
  EXPECT_EQ(nested.status, 1);
  EXPECT_NE(nested.err.find("null"), std::string::npos) << nested.err;
  EXPECT_EQ(runInProcess({"plist", "get", file, "list"}).status, 1);  // nothing was written

  const InProcessResult broken = runInProcess(
      {"plist", "to-json", write("broken.plist", "<plist><dict><key>a</key><string>x</dict></plist>")});
  EXPECT_EQ(broken.status, 1);
  EXPECT_NE(broken.err.find("line 1, column"), std::string::npos) << broken.err;
  EXPECT_EQ(runInProcess({"plist", "show", path("none.plist")}).status, 1);
}

TEST_F(TqkitPlist, UsageErrorsExitTwo) {
  // The help and version of every command are the help tests'.
  const InProcessResult missing = runInProcess({"plist", "get", path("any.plist")});
  EXPECT_EQ(missing.status, 2);
  EXPECT_NE(missing.err.find("usage: tqkit plist get FILE|- KEY.PATH"), std::string::npos) << missing.err;
  EXPECT_EQ(runInProcess({"plist", "get", path("any.plist"), "a..b"}).status, 2);
  EXPECT_EQ(runInProcess({"plist", "frobnicate"}).status, 2);
}

}  // namespace
}  // namespace tq::testing
