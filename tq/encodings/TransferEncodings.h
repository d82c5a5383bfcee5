#pragma once
// Byte-level encoders and decoders of mail: quoted-printable, Base64 (the
// library's own chunked decoder and the standard encoder and decoder), the
// literal rewriting of IMAP command streams, hex and SHA-256 texts, and the
// modified UTF-7 of IMAP mailbox names.

#include <cstdint>
#include <string>
#include <string_view>

#include "tq/platform/value/ChainedData.h"
#include "tq/platform/value/Charset.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/value/String.h"

namespace tq {

namespace FKQuotedPrintable {

/// Decode option: "_" stands for a space (the Q variant of encoded words).
inline constexpr std::uint64_t QuotedPrintableDecodeUnderscoreAsSpace = 1;
/// The domain of the decoder's error.
inline constexpr const char* ParserErrorDomain = "com.tqbasekit.parser";
/// The code of a malformed escape.
inline constexpr std::int64_t MalformedQuotedPrintableError = 11;
/// The string-table key of the error's description.
inline constexpr const char* MalformedQuotedPrintableKey = "MALFORMED_QUOTED_PRINTABLE_STRING";

/// The text of quoted-printable bytes in a charset, or nil. A malformed
/// escape fills `error` (code 11); bytes the charset cannot read give nil
/// without an error. Hard line breaks and trailing white space are kept.
Ref<String> decodedQuotedPrintableStringWithEncoding(const Data& data, StringEncoding encoding, std::uint64_t options,
                                                     Ref<Error>* error = nullptr);
/// The byte-level decoder behind it; false on a malformed escape.
bool decodeQuotedPrintable(std::string_view input, std::uint64_t options, std::string& out);

}  // namespace FKQuotedPrintable

/// Options of the library's Base64 decoder (bit flags).
inline constexpr std::int64_t Base64DecodeIgnoreInvalid = 1;
inline constexpr std::int64_t Base64DecodeURLSafe = 2;
/// The size of the decoder's output chunks (2728 groups of three bytes).
inline constexpr std::size_t Base64DecodeChunkSize = 8184;

/// Decodes the UTF-8 bytes of a text (up to its first NUL) into chained data
/// of 8184-byte chunks. Nil when a strict decode meets an invalid byte.
Ref<ChainedData> TQ_dispatch_data_decode_base64String(const String& text, std::int64_t options);
/// The same on raw bytes.
Ref<ChainedData> TQ_dispatch_data_decode_base64Bytes(std::string_view bytes, std::int64_t options);
/// Decodes chained data region by region, each region as a whole text
/// (groups straddling two regions are not joined). A region that fails ends
/// the walk; what was decoded until then is the result (never nil).
Ref<ChainedData> TQ_dispatch_data_decode_base64(const ChainedData& data, std::int64_t options);

namespace Base64 {

// Data extension.
/// The bytes of a Base64 text, decoded leniently (invalid bytes skipped).
Ref<ChainedData> dataFromBase64String(const String& text);
/// Standard Base64 with "=" padding and no line breaks; the options are
/// ignored.
Ref<String> FKbase64EncodedStringWithOptions(const Data& data, std::int64_t options);
/// Standard Base64 with "/" written as "-" and "+" as "_" (padding kept).
Ref<String> pathSafeBase64EncodedString(const Data& data);
/// An IMAP command stream with each literal "{N}\r\n" + N bytes rewritten as
/// "{M}\r\n" + the M-character Base64 text of those bytes; nil for data
/// shorter than two bytes.
Ref<String> stringByConvertingLiteralsToBase64(const Data& data);
/// Lower-case hex of a buffer, which is wiped (zeroed) byte by byte as it is
/// written: meant for secrets such as digests.
Ref<String> toHexString(const Data& data, std::uint8_t* buffer, std::uint32_t length);
/// The 64 lower-case hex digits of the data's SHA-256.
Ref<String> SHA256String(const Data& data);

// String extension.
/// Base64 of the text's UTF-8 bytes.
Ref<String> base64EncodedString(const String& text);
/// Path-safe Base64 of the text's UTF-8 bytes.
Ref<String> pathSafeBase64EncodedString(const String& text);
/// The UTF-8 text of standard or path-safe Base64 ("-" read as "/", "_" as
/// "+"), decoded strictly; nil on failure.
Ref<String> base64DecodedString(const String& text);

// The standard codec (RFC 4648 section 4) that the conveniences build on.
std::string encode(std::string_view bytes);
/// Strict unless `ignoreUnknown`: groups of four with at most two "=" at the
/// very end; anything else gives false.
bool decode(std::string_view text, bool ignoreUnknown, std::string& out);
bool decode(std::u16string_view text, bool ignoreUnknown, std::string& out);

}  // namespace Base64

namespace UTF7Encoding {

/// The text of IMAP modified UTF-7, or nil when it is not valid.
Ref<String> decodedUTF7String(const String& text);
/// The IMAP modified UTF-7 form of a text.
Ref<String> encodedUTF7String(const String& text);

}  // namespace UTF7Encoding

}  // namespace tq
