#pragma once
// Header text in mail: encoded words (=?charset?Q?text?= and =?charset?B?text?=),
// the quoted-printable body encoder, and the decoder of whole header values
// in which plain text and encoded words are mixed.
//
// The encoders only ever produce Q-encoded words, one word per text however
// long. The header decoder never fails as a whole: broken words are dropped
// and words that do not decode contribute nothing.

#include <cstdint>

#include "tq/platform/value/Charset.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/String.h"

namespace tq {

/// The longest line a quoted-printable body may have, its soft break included.
inline constexpr std::int64_t kQuotedPrintableLineLength = 76;

namespace MimeEncoding {

/// The Q-encoded payload of a text (without the =? ... ?= wrapper), in the
/// first charset that holds the text: the preferred one, then ISO-8859-2,
/// UTF-8, 16-bit Unicode, and last the smallest charset that holds it. Nil
/// (and 0 as the charset used) when none fits.
Ref<String> qEncodedStringWithString(const String& text, StringEncoding preferredEncoding,
                                     StringEncoding* encodingUsed = nullptr);
/// One whole encoded word "=?name?Q?payload?=", or nil.
Ref<String> mimeWordWithString(const String& text, StringEncoding preferredEncoding,
                               StringEncoding* encodingUsed = nullptr);
/// The quoted-printable form of a plain-text body, with CRLF line ends and
/// lines of at most 76 characters; the charset is the preferred one, then
/// ISO-8859-2, UTF-8 and 16-bit Unicode. Nil when none holds the body.
Ref<String> quotedPrintableStringForPlainTextBody(const String& body, StringEncoding preferredEncoding,
                                                  StringEncoding* encodingUsed = nullptr);

/// The charset's IANA name in lower case, or nil when it has none.
Ref<String> FKcharSetNameForEncoding(StringEncoding encoding);
/// The charset for an IANA name in any case; InvalidStringEncoding when unknown.
StringEncoding FKencodingForCharSetName(const String& name);

/// The text of one encoded word (delimiters included), or nil when the word
/// is malformed or its bytes are not text in its charset. A Q word's text
/// ends at its first decoded NUL byte.
Ref<String> stringWithMimeEncodedWord(const String& word);

/// The decoded text of a header value (never nil). With a flag, reports
/// whether an encoded word smuggled in a NUL byte; such bytes then come out
/// as the two characters "\0".
Ref<String> decodedMimeEncodedString(const String& header, bool* isMailSploited = nullptr);
/// The same under the name that spells out the flag.
inline Ref<String> decodedMimeEncodedString_isMailSploited(const String& header, bool* isMailSploited) {
  return decodedMimeEncodedString(header, isMailSploited);
}

}  // namespace MimeEncoding

namespace MimeWordDecoding {

/// The bytes of one encoded word (delimiters included), or nil when it is
/// malformed. Once the charset name is recognised its id goes to
/// `usedEncoding`, even when the payload then fails to decode.
Ref<Data> dataForMimeEncodedWord(const String& word, StringEncoding* usedEncoding = nullptr);

}  // namespace MimeWordDecoding

}  // namespace tq
