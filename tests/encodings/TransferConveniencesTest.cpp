#include <gtest/gtest.h>

#include "tq/encodings/TransferEncodings.h"

namespace tq {
namespace {

std::string literals(std::string_view bytes) {
  auto text = Base64::stringByConvertingLiteralsToBase64(Data(bytes));
  return text ? text->utf8() : "(nil)";
}

TEST(IMAPLiteralsTest, LiteralsBecomeBase64) {
  EXPECT_EQ(literals("A1 APPEND INBOX {3}\r\nabc\r\n"), "A1 APPEND INBOX {4}\r\nYWJj\r\n");
  EXPECT_EQ(literals(std::string_view("{1}\r\n\xFF{2}\r\n\x00\x01 x", 15)), "{4}\r\n/w=={4}\r\nAAE= x");
  EXPECT_EQ(literals("{0}\r\n."), "{0}\r\n.");
  EXPECT_EQ(literals("no literals here"), "no literals here");
  // What is no literal stays as it is.
  EXPECT_EQ(literals("A {5}\r\nab"), "A {5}\r\nab");  // runs past the end
  EXPECT_EQ(literals("A {99999999999999999999999}\r\nab"), "A {99999999999999999999999}\r\nab");
  EXPECT_EQ(literals("{x}\r\n {} {3}\n abc }"), "{x}\r\n {} {3}\n abc }");
  EXPECT_EQ(literals("{{1}\r\na"), "{{4}\r\nYQ==");
  EXPECT_EQ(literals("a"), "(nil)");
  EXPECT_EQ(literals(""), "(nil)");
  EXPECT_EQ(literals("\xFF {1}\r\na"), "(nil)");  // the text around literals is ASCII
}

TEST(HexDigestTest, HexWipesTheBufferAndSHA256) {
  std::uint8_t buffer[] = {0x0A, 0xFF};
  EXPECT_EQ(Base64::toHexString(Data(), buffer, 2)->utf8(), "0aff");
  EXPECT_EQ(buffer[0], 0);
  EXPECT_EQ(buffer[1], 0);
  EXPECT_EQ(Base64::toHexString(Data(), buffer, 0)->utf8(), "");
  EXPECT_EQ(Base64::SHA256String(Data())->utf8(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(Base64::SHA256String(Data(std::string_view("abc")))->utf8(),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(ModifiedUTF7Test, MailboxNamesBothWays) {
  EXPECT_EQ(UTF7Encoding::encodedUTF7String(*str("Entw\u00fcrfe"))->utf8(), "Entw&APw-rfe");
  EXPECT_EQ(UTF7Encoding::encodedUTF7String(*str("a&b"))->utf8(), "a&-b");
  EXPECT_EQ(UTF7Encoding::decodedUTF7String(*str("Entw&APw-rfe"))->utf8(), "Entw\u00fcrfe");
  EXPECT_EQ(UTF7Encoding::decodedUTF7String(*str("&ZeVnLIqe-/&AOk-"))->utf8(), "\u65e5\u672c\u8a9e/\u00e9");
  EXPECT_EQ(UTF7Encoding::decodedUTF7String(*str("a&-b"))->utf8(), "a&b");
  EXPECT_EQ(UTF7Encoding::decodedUTF7String(*str("caf\u00e9")), nullptr);
  EXPECT_EQ(UTF7Encoding::decodedUTF7String(*str("&AOk")), nullptr);
  EXPECT_EQ(UTF7Encoding::decodedUTF7String(*str("&Jjo!")), nullptr);
  // Modified UTF-7 is Base64 of UTF-16 units, so even an unpaired surrogate has a form.
  EXPECT_EQ(UTF7Encoding::encodedUTF7String(String(std::u16string(1, char16_t(0xD800))))->utf8(), "&2AA-");
}

}  // namespace
}  // namespace tq
