// tqkit's mail-text commands run as a user runs them, input on standard
// input: their output must be what the library gives for the same text, and
// their exit status 1 when the library gives nil. Skipped when the tqkit
// binary of this build tree is missing.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/RunCommand.h"
#include "tq/encodings/MimeEncoding.h"

namespace tq {
namespace {

namespace fs = std::filesystem;
using namespace tq::testing;

class TqkitEncodings : public ::testing::Test {
 protected:
  void SetUp() override {
    tqkit_ = tqkitOfThisBuild();
    if (!fs::exists(tqkit_)) GTEST_SKIP() << "tqkit is not built in this tree";
    input_ = fs::temp_directory_path() / ("tqkit-encodings-" + std::to_string(::getpid()));
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove(input_, ignored);
  }

  // tqkit with `arguments`, reading `input` as its standard input.
  CommandResult run(const std::string& arguments, const std::string& input) const {
    std::ofstream(input_, std::ios::binary) << input;
    return runCommand(tqkit_.string() + " " + arguments + " <" + shellQuoted(input_.string()) + " 2>/dev/null");
  }

  fs::path tqkit_;
  fs::path input_;
};

TEST_F(TqkitEncodings, EncodeBodyGivesWhatTheLibraryGivesForTheText) {
  // A UTF-8 body is encoded from its bytes; another charset goes through text.
  const std::string longLine(100, 'x');
  const std::string bodies[] = {"caf\xC3\xA9 =x\r\n" + longLine + "\nend \n", "trailing space ",
                                "\xF0\x9F\x98\x80\r\rcr", ""};
  for (const std::string& body : bodies) {
    for (const char* charset : {"utf-8", "iso-8859-1"}) {
      const auto expected = MimeEncoding::quotedPrintableStringForPlainTextBody(
          *str(body), Charset::encodingForIANAName(std::string_view(charset)));
      ASSERT_TRUE(expected);
      const CommandResult result = run(std::string("mime encode-body --charset ") + charset, body);
      EXPECT_EQ(result.status, 0) << body;
      EXPECT_EQ(result.output, expected->utf8() + "\n") << charset << ": " << body;
    }
  }
  // A body that is not UTF-8 is refused, not encoded with replaced bytes.
  for (const char* charset : {"utf-8", "iso-8859-1"}) {
    const CommandResult result = run(std::string("mime encode-body --charset ") + charset, "caf\xE9 is not UTF-8\n");
    EXPECT_EQ(result.status, 1) << charset;
    EXPECT_EQ(result.output, "") << charset;
  }
}

TEST_F(TqkitEncodings, DecodersGiveBytesAndFailWithStatusOne) {
  const std::string bytes("\x00\xFF\r\n=\x80 tail", 10);
  const CommandResult encoded = run("base64 encode", bytes);
  ASSERT_EQ(encoded.status, 0);
  EXPECT_EQ(run("base64 decode", encoded.output).output, bytes);
  EXPECT_EQ(run("base64 decode", "QUJD\r\n").status, 1);  // CR is invalid unless lenient
  EXPECT_EQ(run("base64 decode --lenient", "QUJD\r\n").output, "ABC");
  EXPECT_EQ(run("qp decode", "caf=C3=A9=\r\n!").output, "caf\xC3\xA9!");  // bytes, as they are
  EXPECT_EQ(run("qp decode", "bad =G1").status, 1);
}

TEST_F(TqkitEncodings, DecodeHeaderReportsASmuggledNul) {
  const CommandResult result = run("mime decode-header --sploit", "=?utf-8?Q?a=00b?= c\n");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "a\\0b c\nsploited: yes\n");
}

}  // namespace
}  // namespace tq
