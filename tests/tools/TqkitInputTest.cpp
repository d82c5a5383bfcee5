// tqkit's input: FILE arguments and standard input give the same result,
// text commands refuse bytes that are not UTF-8 instead of replacing them,
// and digests are of the bytes unless --text asks for the text's.

#include "tests/tools/TqkitTestSupport.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/StringHashing.h"

namespace tq::testing {
namespace {

using TqkitInput = TqkitTest;

TEST_F(TqkitInput, FileArgumentsAndStandardInputAgree) {
  const std::string text = "caf\xC3\xA9 & <cr\xC3\xA8me>";
  const std::string file = write("text.txt", text + "\n");
  const std::vector<std::vector<std::string>> commands = {
      {"html", "escape"}, {"utf7", "encode"}, {"mime", "encode-word"}, {"mime", "decode-header"}};
  for (const auto& command : commands) {
    const InProcessResult byArgument = runInProcess({command[0], command[1], text});
    auto withFile = command;
    withFile.insert(withFile.end(), {"-f", file});
    auto withDash = command;
    withDash.push_back("-");
    EXPECT_EQ(byArgument.status, 0) << command[0] << " " << command[1] << ": " << byArgument.err;
    EXPECT_EQ(runInProcess(withFile).out, byArgument.out) << command[1];
    EXPECT_EQ(runInProcess(withDash, text + "\n").out, byArgument.out) << command[1];
    EXPECT_EQ(runInProcess(command, text + "\n").out, byArgument.out) << command[1];
  }
  // Streaming commands: several files are read one after another, - among them.
  const std::string a = write("a.bin", randomBytes(100, 1)), b = write("b.bin", randomBytes(200, 2));
  const std::string both = randomBytes(100, 1) + randomBytes(200, 2);
  EXPECT_EQ(runInProcess({"base64", "encode", a, "-"}, randomBytes(200, 2)).out,
            runInProcess({"base64", "encode"}, both).out);
  EXPECT_EQ(runInProcess({"qp", "encode", a, b}).out, runInProcess({"qp", "encode"}, both).out);
}

TEST_F(TqkitInput, TextCommandsRefuseBytesThatAreNotUTF8) {
  const std::string latin1 = "caf\xE9";
  const std::vector<std::vector<std::string>> commands = {{"html", "escape"},
                                                          {"html", "decode"},
                                                          {"utf7", "encode"},
                                                          {"mime", "encode-word"},
                                                          {"mime", "decode-header"},
                                                          {"mime", "encode-body"},
                                                          {"mime", "encode-body", "--charset", "iso-8859-1"},
                                                          {"hash", "md5", "--text"}};
  for (const auto& command : commands) {
    const InProcessResult result = runInProcess(command, latin1 + "\n");
    EXPECT_EQ(result.status, 1) << command[1];
    EXPECT_EQ(result.out, "") << command[1];
    EXPECT_NE(result.err.find(": standard input is not valid UTF-8"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("\xEF\xBF\xBD"), std::string::npos) << "no replacement character";
  }
  const InProcessResult argument = runInProcess({"html", "escape", latin1});
  EXPECT_EQ(argument.status, 1);
  EXPECT_EQ(argument.err,
            "tqkit: html escape: the TEXT argument is not valid UTF-8 (this command works on text; "
            "bytes are never replaced)\n");
  // The byte commands take the same bytes as they are.
  const InProcessResult encoded = runInProcess({"base64", "encode"}, latin1);
  EXPECT_EQ(encoded.out, "Y2Fm6Q==\n");
  EXPECT_EQ(runInProcess({"base64", "decode"}, encoded.out).out, latin1);
  EXPECT_EQ(runInProcess({"qp", "decode"}, "caf=E9").out, latin1);
}

TEST_F(TqkitInput, EncodeBodyRefusesAnInvalidSequenceSplitAcrossBlocks) {
  // A four-byte character cut by the block boundary is whole, and accepted;
  // the same bytes with a broken continuation are refused.
  std::string body(tqkit::BlockSize - 2, 'a');
  body += "\xF0\x9F\x98\x80 end\n";
  const InProcessResult good = runInProcess({"mime", "encode-body"}, body);
  EXPECT_EQ(good.status, 0) << good.err;
  const auto expected = MimeEncoding::quotedPrintableStringForPlainTextBody(*str(body), UTF8StringEncoding);
  EXPECT_EQ(good.out, expected->utf8() + "\n");
  body[tqkit::BlockSize] = 'x';
  const InProcessResult bad = runInProcess({"mime", "encode-body"}, body);
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.err,
            "tqkit: mime encode-body: standard input is not valid UTF-8 (this command works on text; bytes are "
            "never replaced)\n");
}

TEST_F(TqkitInput, DigestsAreOfTheBytesAndAgreeWithMd5sum) {
  TQKIT_REQUIRE_BINARY();
  // Binary: NULs, bytes that are not UTF-8, no final line break.
  std::string bytes = randomBytes(150000, 3);
  bytes[10] = '\0';
  const std::string file = write("binary.bin", bytes);
  const CommandResult md5sum = runCommand("md5sum " + shellQuoted(file));
  ASSERT_EQ(md5sum.status, 0) << "md5sum is part of coreutils";
  const std::string expected = md5sum.output.substr(0, 32);
  const BinaryResult ran = runBinary("hash md5 " + shellQuoted(file));
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.out, expected + "\n");
  EXPECT_EQ(runBinary("hash md5 < " + shellQuoted(file)).out, expected + "\n");
  const CommandResult sha256sum = runCommand("sha256sum " + shellQuoted(file));
  EXPECT_EQ(runBinary("hash sha256 " + shellQuoted(file)).out, sha256sum.output.substr(0, 64) + "\n");

  // Several files: md5sum's own lines.
  const std::string other = write("other.txt", "abc");
  const CommandResult both = runCommand("md5sum " + shellQuoted(file) + " " + shellQuoted(other));
  EXPECT_EQ(runBinary("hash md5 " + shellQuoted(file) + " " + shellQuoted(other)).out, both.output);
}

TEST_F(TqkitInput, TextDigestsAreTheLibrarysOfTheText) {
  // The library's digest of a text stops at its first NUL; the byte digest
  // does not, and keeps the final line break.
  const std::string text = "caf\xC3\xA9\n";
  const InProcessResult asText = runInProcess({"hash", "md5", "--text"}, text);
  EXPECT_EQ(asText.out, TQFoundationHashing::hexMD5String(*str(text))->utf8() + "\n");
  const InProcessResult withNul = runInProcess({"hash", "sha256", "--text"}, std::string("ab\0cd", 5));
  EXPECT_EQ(withNul.out, TQFoundationHashing::sha256HashString(*str("ab"))->utf8() + "\n");
  EXPECT_NE(runInProcess({"hash", "sha256"}, std::string("ab\0cd", 5)).out, withNul.out);
  EXPECT_EQ(runInProcess({"hash", "short-sha", "--text"}, "abc").out,
            TQFoundationHashing::shortSHAHashString(*str("abc"))->utf8() + "\n");
}

TEST_F(TqkitInput, OneUnreadableDigestInputIsReportedAndTheOthersPrinted) {
  const std::string file = write("ok.txt", "abc");
  const InProcessResult result = runInProcess({"hash", "md5", path("missing"), file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "900150983cd24fb0d6963f7d28e17f72  " + file + "\n");
  EXPECT_EQ(result.err, "tqkit: hash md5: cannot read '" + path("missing") + "': No such file or directory\n");
}

}  // namespace
}  // namespace tq::testing
