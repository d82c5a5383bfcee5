#include "tq/encodings/StringHashing.h"

#include <gtest/gtest.h>

#include <string>

#include "tq/platform/object/Exception.h"

namespace tq {
namespace {

using namespace TQFoundationHashing;

std::string md5(std::string_view text) { return hexMD5String(*str(text))->utf8(); }

TEST(StringHashing, MD5MatchesTheReferenceSuite) {
  // One block, padding that spills into a second block, and two blocks.
  EXPECT_EQ(md5(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(md5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"), "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(md5("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(StringHashing, DigestsStopAtTheFirstNul) {
  auto withNul = String::fromUTF16(std::u16string(u"abc\0def", 7));
  EXPECT_EQ(hexMD5String(*withNul)->utf8(), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(sha256HashString(*withNul)->utf8(), sha256HashString(*str("abc"))->utf8());
  EXPECT_EQ(md5DigestData(*withNul)->length(), 16u);
  EXPECT_EQ(hexMD5StringWithKey(*withNul, *str("Jefe"))->utf8(),
            hexMD5StringWithKey(*str("abc"), *str("Jefe"))->utf8());
}

TEST(StringHashing, HMACMD5MatchesTheReferenceVectors) {
  EXPECT_EQ(hexMD5StringWithKey(*str("what do ya want for nothing?"), *str("Jefe"))->utf8(),
            "750c783e6ab0b503eaa86e310a5db738");
  EXPECT_EQ(hexMD5StringWithKey(*str("Hi There"), *str(std::string(16, '\x0b')))->utf8(),
            "9294727a3638bb1c13f48ef8158bfc9d");
  // Non-ASCII text has no C string in ASCII: a caller error.
  EXPECT_THROW(hexMD5StringWithKey(*str("caf\u00e9"), *str("k")), Exception);
}

TEST(StringHashing, SHA256AndItsShortForm) {
  EXPECT_EQ(sha256HashString(*str("abc"))->utf8(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(sha256HashString(*str(""))->utf8(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  // UTF-8 bytes are hashed: U+00E9 is C3 A9.
  EXPECT_EQ(sha256HashString(*str("\u00e9"))->utf8(), sha256HashString(*String::fromUTF8("\xc3\xa9"))->utf8());
  EXPECT_EQ(shortSHAHashString(*str(""))->utf8(), "47DEQpj8HBSa");
  EXPECT_EQ(shortSHAHashString(*str("abc"))->utf8(), "ungWv48Bz_pB");  // "+" written as "_"
}

TEST(StringHashing, RawMD5AndItsTruncation) {
  auto full = md5DigestData(*str("abc"));
  ASSERT_EQ(full->length(), 16u);
  EXPECT_EQ(full->bytes()[0], 0x90);
  EXPECT_EQ(full->bytes()[15], 0x72);
  EXPECT_EQ(md5DigestDataWithLength(*str("abc"), 32)->length(), 16u);
  EXPECT_EQ(md5DigestDataWithLength(*str("abc"), 4)->view(), full->view().substr(0, 4));
  EXPECT_EQ(md5DigestDataWithLength(*str("abc"), 0)->length(), 0u);
}

TEST(StringHashing, BinaryTextKeepsItsTrailingComma) {
  EXPECT_EQ(TQStringWithBits(5)->utf8(), "0b101,");
  EXPECT_EQ(TQStringWithBits(0)->utf8(), "0b0,");
  EXPECT_EQ(TQStringWithBits(-1)->utf8(), "0b" + std::string(64, '1') + ",");
  EXPECT_EQ(TQStringWithBits(INT64_MIN)->utf8(), "0b1" + std::string(63, '0') + ",");
  EXPECT_EQ(FKStringWithBits(2)->utf8(), "0b10,");
}

TEST(StringHashing, DecimalTexts) {
  EXPECT_EQ(TQStringWithUInteger(UINT64_MAX)->utf8(), "18446744073709551615");
  EXPECT_EQ(TQStringWithInteger(INT64_MIN)->utf8(), "-9223372036854775808");
  EXPECT_EQ(FKStringWithInteger(-7)->utf8(), "-7");
  EXPECT_EQ(FKStringWithUInteger(42)->utf8(), "42");
}

}  // namespace
}  // namespace tq
