#include <gtest/gtest.h>

#include <vector>

#include "tq/encodings/MimeEncoding.h"
#include "tq/platform/object/PlatformLog.h"

namespace tq {
namespace {

using MimeEncoding::decodedMimeEncodedString;
using MimeEncoding::decodedMimeEncodedString_isMailSploited;

std::string decode(const std::string& header, bool* flag = nullptr) {
  return decodedMimeEncodedString(*str(header), flag)->utf8();
}

// Collects what the decoder sends to the platform log.
std::vector<std::string> logged;
void collect(const std::string& message) { logged.push_back(message); }

class MimeHeaderLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    logged.clear();
    previous_ = setPlatformLogHandler(collect);
  }
  void TearDown() override { setPlatformLogHandler(previous_); }
  PlatformLogHandler previous_ = nullptr;
};

TEST(MimeHeaderTest, PlainTextComesBackWithLeadingWhitespaceOnlyBeforeText) {
  EXPECT_EQ(decode("Hello world"), "Hello world");
  EXPECT_EQ(decode("  Hello"), "  Hello");
  EXPECT_EQ(decode(""), "");
  EXPECT_EQ(decode(" \t\r\n"), "");
  EXPECT_EQ(decode("a=b ? c"), "a=b ? c");
}

// Subjects as mail programs write them: each word of a stateful charset
// starts by switching out of ASCII and ends by switching back.
TEST_F(MimeHeaderLogTest, AdjacentWordsOfStatefulCharsetsDecodeWhole) {
  EXPECT_EQ(decode("=?iso-2022-jp?b?GyRCJCIbKEI=?= =?iso-2022-jp?b?GyRCJCQbKEI=?="), "\u3042\u3044");
  EXPECT_EQ(decode("Fwd: =?iso-2022-jp?B?UmU6IBskQk1oPTUkThsoQg==?=\r\n =?iso-2022-jp?B?GyRCQkckQTlnJG8kOxsoQg==?="),
            "Fwd: Re: \u6765\u9031\u306e\u6253\u3061\u5408\u308f\u305b");
  EXPECT_EQ(decode("=?ISO-2022-KR?B?GyQpQw5IOEBHDyAOQE9BJA8=?= =?ISO-2022-KR?B?GyQpQw46LzBmDyAOPkgzOw8=?="),
            "\ud68c\uc758 \uc77c\uc815\ubcc0\uacbd \uc548\ub0b4");
  EXPECT_EQ(decode("=?HZ-GB-2312?B?fns7YVJpfn0=?= =?HZ-GB-2312?B?fntNKFYqfn0=?="), "\u4f1a\u8bae\u901a\u77e5");
  EXPECT_TRUE(logged.empty());
}

TEST_F(MimeHeaderLogTest, AStatefulRunWithOneBadWordStillDecodesToNothing) {
  // Word by word is only a second try for stateful charsets: a run in which
  // any word is not text in its charset still disappears whole.
  EXPECT_EQ(decode("=?ISO-2022-JP?B?GyRCJCIbKEI=?= =?ISO-2022-JP?B?GyRC//8bKEI=?= tail"), " tail");
  // A character split across two words of a stateless charset still needs
  // the joined bytes (and gets them): the second try is never taken there.
  EXPECT_EQ(decode("=?utf-8?B?4w==?= =?utf-8?B?gYI=?="), "\u3042");
}

TEST(MimeHeaderTest, WordsAndTextMix) {
  EXPECT_EQ(decode("=?utf-8?q?caf=C3=A9?="), "caf\u00e9");
  EXPECT_EQ(decode("Re: =?utf-8?Q?a?= tail"), "Re: a tail");
  EXPECT_EQ(decode("=?UTF-8?B?Y2Fmw6k=?= \t"), "caf\u00e9");  // trailing whitespace after the last word vanishes
  EXPECT_EQ(decode("=?utf-8?Q?a?= =?utf-8?Q?b?="), "ab");
  EXPECT_EQ(decode("=?utf-8?Q?a?=\r\n =?iso-8859-2?Q?=F5?="), "a\u0151");
}

TEST(MimeHeaderTest, PendingBytesAreEmittedAfterLaterPlainText) {
  // Kept ordering: the bytes of earlier words wait until a word of another
  // charset or the end, while plain text goes out at once.
  EXPECT_EQ(decode("=?utf-8?Q?a?= plain =?utf-8?Q?b?="), " plain ab");
  EXPECT_EQ(decode("=?utf-8?Q?a?= plain =?iso-8859-1?Q?b?="), " plain ab");
  EXPECT_EQ(decode("=?utf-8?Q?a?= plain"), "a plain");
}

TEST(MimeHeaderTest, AdjacentWordsOfOneCharsetJoinTheirBytes) {
  // "é" split across two words decodes whole.
  EXPECT_EQ(decode("=?utf-8?Q?caf=C3?= =?utf-8?Q?=A9?="), "caf\u00e9");
  EXPECT_EQ(decode("=?utf-8?B?w6nD?= =?utf-8?B?qQ==?="), "\u00e9\u00e9");
}

TEST(MimeHeaderTest, BrokenWordsAreDropped) {
  EXPECT_EQ(decode("a =?utf-8?Q?b"), "a ");
  EXPECT_EQ(decode("a =?utf-8?X?b?= c"), "a X?b?= c");  // goes on after "utf-8?"
  EXPECT_EQ(decode("x=??Q?a?=y"), "x?Q?a?=y");
  EXPECT_EQ(decode("=?utf-8?Q?\?= z"), "?= z");
  EXPECT_EQ(decode("=?utf-8"), "");
  // Well-formed words that do not decode contribute nothing.
  EXPECT_EQ(decode("a =?x-unknown?Q?b?= c"), "a  c");
  EXPECT_EQ(decode("a =?utf-8?Q?=4G?= c"), "a  c");
}

TEST(MimeHeaderTest, TheFlagReportsAndNeutralisesNulBytes) {
  bool flag = true;
  EXPECT_EQ(decode("plain", &flag), "plain");
  EXPECT_FALSE(flag);
  EXPECT_EQ(decode("=?utf-8?Q?boss=00@evil.example?=", &flag), "boss\\0@evil.example");
  EXPECT_TRUE(flag);
  EXPECT_EQ(decode("=?iso-8859-1?B?YQBi?=", &flag), "a\\0b");
  EXPECT_TRUE(flag);
  // Without a flag the NUL passes through.
  EXPECT_EQ(decode("=?utf-8?Q?a=00b?="), std::string("a\0b", 3));
}

TEST_F(MimeHeaderLogTest, AFailedConversionBetweenCharsetsIsLoggedWithTheHeader) {
  const std::string header = "=?utf-8?Q?=FF?= =?iso-8859-1?Q?ok?=";
  EXPECT_EQ(decode(header), "ok");
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_EQ(logged[0], "problem decoding MimeString: " + header);
  // Every further failure in the same value would repeat the same text: it
  // is logged once per value.
  logged.clear();
  std::string failing;
  for (int i = 0; i < 3000; ++i) failing += "=?utf-8?Q?=FF?= =?iso-8859-1?Q?a?= ";
  EXPECT_EQ(decode(failing), std::string(3000, 'a'));
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_EQ(logged[0], "problem decoding MimeString: " + failing);
  EXPECT_EQ(decode(header), "ok");
  EXPECT_EQ(logged.size(), 2u);
  // The final flush fails silently.
  logged.clear();
  EXPECT_EQ(decode("x =?utf-8?Q?=FF?="), "x ");
  EXPECT_TRUE(logged.empty());
}

TEST(MimeHeaderTest, HostileValuesDecode) {
  // A 1 MiB value of 100,000 markers or of 100,000 tiny words: every search
  // starts where the last one stopped (a rescanning walk never finishes).
  std::string markers;
  for (int i = 0; i < 100000; ++i) markers += "=?";
  EXPECT_EQ(decode(markers), "");
  std::string words;
  for (int i = 0; i < 100000; ++i) words += "=?utf-8?Q?b?=";
  EXPECT_TRUE(decode(words) == std::string(100000, 'b'));
  std::string mixed;
  for (int i = 0; i < 50000; ++i) mixed += (i % 2) ? "=?utf-8?Q?x?= " : "=?iso-8859-1?Q?y?= ";
  std::string alternating;
  for (int i = 0; i < 25000; ++i) alternating += "yx";
  EXPECT_TRUE(decode(mixed) == alternating);
  // A word that never closes swallows the rest of the value.
  std::string noEnd = "a =?utf-8?Q?";
  for (int i = 0; i < 100000; ++i) noEnd += "=?b";
  EXPECT_EQ(decode(noEnd), "a ");
  bool flag = true;
  EXPECT_EQ(decodedMimeEncodedString_isMailSploited(*str(words), &flag)->length(), 100000u);
  EXPECT_FALSE(flag);
}

}  // namespace
}  // namespace tq
