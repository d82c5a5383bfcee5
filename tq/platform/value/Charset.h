#pragma once
// The charset service: the platform's string-encoding numbers, their IANA
// names, and conversion between text and bytes through ICU converters.
//
// Every conversion is strict: a character the charset cannot hold, or bytes
// that are not valid in it, make the conversion fail instead of being
// replaced, so "converts" always means "converts without loss".

#include <cstdint>
#include <string>
#include <string_view>

#include "tq/platform/value/Data.h"
#include "tq/platform/value/String.h"

namespace tq {

/// A charset identifier: the platform's string-encoding number.
using StringEncoding = std::uint64_t;

// The numbers the platform gives its named encodings.
inline constexpr StringEncoding NoStringEncoding = 0;
inline constexpr StringEncoding ASCIIStringEncoding = 1;
inline constexpr StringEncoding JapaneseEUCStringEncoding = 3;
inline constexpr StringEncoding UTF8StringEncoding = 4;
inline constexpr StringEncoding ISOLatin1StringEncoding = 5;
inline constexpr StringEncoding ShiftJISStringEncoding = 8;
inline constexpr StringEncoding ISOLatin2StringEncoding = 9;
/// UTF-16 with a byte-order mark (written little-endian; read by its mark,
/// big-endian without one).
inline constexpr StringEncoding UnicodeStringEncoding = 10;
inline constexpr StringEncoding WindowsCP1251StringEncoding = 11;
inline constexpr StringEncoding WindowsCP1252StringEncoding = 12;
inline constexpr StringEncoding WindowsCP1253StringEncoding = 13;
inline constexpr StringEncoding WindowsCP1254StringEncoding = 14;
inline constexpr StringEncoding WindowsCP1250StringEncoding = 15;
inline constexpr StringEncoding ISO2022JPStringEncoding = 21;
inline constexpr StringEncoding MacOSRomanStringEncoding = 30;
inline constexpr StringEncoding UTF16BigEndianStringEncoding = 0x90000100;
inline constexpr StringEncoding UTF16LittleEndianStringEncoding = 0x94000100;
inline constexpr StringEncoding UTF32StringEncoding = 0x8c000100;
inline constexpr StringEncoding UTF32BigEndianStringEncoding = 0x98000100;
inline constexpr StringEncoding UTF32LittleEndianStringEncoding = 0x9c000100;

/// The remaining charsets have no named constant on the platform: their number
/// is the high bit joined to the platform's lower-level encoding number.
constexpr StringEncoding stringEncodingFromLowLevel(std::uint32_t lowLevel) { return 0x80000000u | lowLevel; }
inline constexpr StringEncoding ISOLatin3StringEncoding = stringEncodingFromLowLevel(0x0203);
inline constexpr StringEncoding ISOLatin4StringEncoding = stringEncodingFromLowLevel(0x0204);
inline constexpr StringEncoding ISOLatinCyrillicStringEncoding = stringEncodingFromLowLevel(0x0205);
inline constexpr StringEncoding ISOLatinArabicStringEncoding = stringEncodingFromLowLevel(0x0206);
inline constexpr StringEncoding ISOLatinGreekStringEncoding = stringEncodingFromLowLevel(0x0207);
inline constexpr StringEncoding ISOLatinHebrewStringEncoding = stringEncodingFromLowLevel(0x0208);
inline constexpr StringEncoding ISOLatin5StringEncoding = stringEncodingFromLowLevel(0x0209);
inline constexpr StringEncoding ISOLatin6StringEncoding = stringEncodingFromLowLevel(0x020A);
inline constexpr StringEncoding ISOLatinThaiStringEncoding = stringEncodingFromLowLevel(0x020B);
inline constexpr StringEncoding ISOLatin7StringEncoding = stringEncodingFromLowLevel(0x020D);
inline constexpr StringEncoding ISOLatin8StringEncoding = stringEncodingFromLowLevel(0x020E);
inline constexpr StringEncoding ISOLatin9StringEncoding = stringEncodingFromLowLevel(0x020F);
inline constexpr StringEncoding ISOLatin10StringEncoding = stringEncodingFromLowLevel(0x0210);
inline constexpr StringEncoding WindowsHebrewStringEncoding = stringEncodingFromLowLevel(0x0505);
inline constexpr StringEncoding WindowsArabicStringEncoding = stringEncodingFromLowLevel(0x0506);
inline constexpr StringEncoding WindowsBalticRimStringEncoding = stringEncodingFromLowLevel(0x0507);
inline constexpr StringEncoding WindowsVietnameseStringEncoding = stringEncodingFromLowLevel(0x0508);
inline constexpr StringEncoding KOI8RStringEncoding = stringEncodingFromLowLevel(0x0A02);
inline constexpr StringEncoding KOI8UStringEncoding = stringEncodingFromLowLevel(0x0A08);
inline constexpr StringEncoding GB2312StringEncoding = stringEncodingFromLowLevel(0x0930);
inline constexpr StringEncoding GBKStringEncoding = stringEncodingFromLowLevel(0x0631);
inline constexpr StringEncoding GB18030StringEncoding = stringEncodingFromLowLevel(0x0632);
inline constexpr StringEncoding HZGB2312StringEncoding = stringEncodingFromLowLevel(0x0A05);
inline constexpr StringEncoding Big5StringEncoding = stringEncodingFromLowLevel(0x0A03);
inline constexpr StringEncoding Big5HKSCSStringEncoding = stringEncodingFromLowLevel(0x0A06);
inline constexpr StringEncoding EUCKRStringEncoding = stringEncodingFromLowLevel(0x0940);
inline constexpr StringEncoding ISO2022KRStringEncoding = stringEncodingFromLowLevel(0x0840);
inline constexpr StringEncoding ISO2022CNStringEncoding = stringEncodingFromLowLevel(0x0830);
inline constexpr StringEncoding DOSJapaneseStringEncoding = stringEncodingFromLowLevel(0x0420);
inline constexpr StringEncoding DOSKoreanStringEncoding = stringEncodingFromLowLevel(0x0422);
inline constexpr StringEncoding DOSThaiStringEncoding = stringEncodingFromLowLevel(0x041D);
inline constexpr StringEncoding DOSLatinUSStringEncoding = stringEncodingFromLowLevel(0x0400);
inline constexpr StringEncoding DOSLatin1StringEncoding = stringEncodingFromLowLevel(0x0410);
inline constexpr StringEncoding DOSRussianStringEncoding = stringEncodingFromLowLevel(0x0413);
inline constexpr StringEncoding UTF7StringEncoding = stringEncodingFromLowLevel(0x04000100);
/// IMAP's modified UTF-7 (mailbox names); it has no IANA name.
inline constexpr StringEncoding UTF7IMAPStringEncoding = stringEncodingFromLowLevel(0x0A10);

/// What a name lookup answers for a charset it does not know.
inline constexpr StringEncoding InvalidStringEncoding = 0xFFFFFFFFu;

namespace Charset {

/// Whether the service can convert in this charset.
bool isSupported(StringEncoding encoding);

/// The charset's IANA name as the registry spells it ("UTF-8", "Shift_JIS");
/// empty when the charset has none.
std::string_view ianaName(StringEncoding encoding);
/// The charset for a name, in any case; also understands the common aliases
/// ("latin1", "utf8", "cp1252"). InvalidStringEncoding when unknown.
StringEncoding encodingForIANAName(std::string_view name);
StringEncoding encodingForIANAName(std::u16string_view name);

/// Text to bytes; false (and `out` unspecified) when a character is lost.
bool encode(std::u16string_view text, StringEncoding encoding, std::string& out);
/// Bytes to text; false when the bytes are not valid in the charset.
bool decode(std::string_view bytes, StringEncoding encoding, std::u16string& out);
/// Appends the decoded bytes to `out`; on failure `out` is left as it was.
bool decodeAppending(std::string_view bytes, StringEncoding encoding, std::u16string& out);

/// Whether the text converts into the charset without loss.
bool canBeConvertedToEncoding(std::u16string_view text, StringEncoding encoding);
inline bool canBeConvertedToEncoding(const String& text, StringEncoding encoding) {
  return canBeConvertedToEncoding(std::u16string_view(text.utf16()), encoding);
}
/// The text's bytes in the charset, or nil when it does not convert.
Ref<Data> dataUsingEncoding(const String& text, StringEncoding encoding);
/// The text of bytes in the charset, or nil when they do not convert.
Ref<String> stringWithBytes(std::string_view bytes, StringEncoding encoding);
inline Ref<String> stringWithData(const Data& data, StringEncoding encoding) {
  return stringWithBytes(data.view(), encoding);
}
/// The bytes up to the first NUL byte, read in the charset; nil on failure.
Ref<String> stringWithCString(std::string_view bytes, StringEncoding encoding);

/// The smallest charset that holds the text: ASCII when every character is
/// ASCII, else ISO-8859-1 when every character is below 256, else the first
/// single-byte charset of the table that holds it, else UTF-8, else the 16-bit
/// Unicode encoding (which holds any sequence of code units).
StringEncoding smallestEncoding(std::u16string_view text);

/// IMAP modified UTF-7 bytes of a text. Being Base64 of UTF-16 units, it
/// writes any text, unpaired surrogates included.
bool encodeModifiedUTF7(std::u16string_view text, std::string& out);
/// Text of IMAP modified UTF-7 bytes; false when they are not valid.
bool decodeModifiedUTF7(std::string_view bytes, std::u16string& out);

}  // namespace Charset
}  // namespace tq
