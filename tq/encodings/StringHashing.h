#pragma once
// Digests of text (MD5, keyed MD5, SHA-256) in hex, short and raw forms, and
// binary and decimal texts of integers, for stable keys and identifiers.
//
// Every digest reads its text as a C string: its UTF-8 bytes up to the first
// NUL, so anything after an embedded NUL character does not count.

#include <cstdint>

#include "tq/platform/value/Data.h"
#include "tq/platform/value/String.h"

namespace tq {

namespace TQFoundationHashing {

/// 32 lower-case hex digits of the MD5 of the UTF-8 bytes.
Ref<String> hexMD5String(const String& text);
/// 32 lower-case hex digits of HMAC-MD5, the key's bytes as key and the
/// text's bytes as message. Both must be ASCII (a parameter assertion; with
/// assertions compiled out their UTF-8 bytes are used).
Ref<String> hexMD5StringWithKey(const String& text, const String& key);
/// 64 lower-case hex digits of the SHA-256 of the UTF-8 bytes.
Ref<String> sha256HashString(const String& text);
/// The first 12 characters of the path-safe Base64 text of the SHA-256.
Ref<String> shortSHAHashString(const String& text);
/// The 16 bytes of the MD5.
Ref<Data> md5DigestData(const String& text);
/// The first min(length, 16) bytes of the MD5.
Ref<Data> md5DigestDataWithLength(const String& text, Index length);

}  // namespace TQFoundationHashing

/// "0b" + the value's bits without leading zeros + "," (the trailing comma is
/// part of the format): 5 gives "0b101,", 0 gives "0b0,".
Ref<String> TQStringWithBits(std::int64_t value);
/// Decimal text ("%llu", "%lld").
Ref<String> TQStringWithUInteger(std::uint64_t value);
Ref<String> TQStringWithInteger(std::int64_t value);

// The same functions under the mail helpers' names.
inline Ref<String> FKStringWithBits(std::int64_t value) { return TQStringWithBits(value); }
inline Ref<String> FKStringWithUInteger(std::uint64_t value) { return TQStringWithUInteger(value); }
inline Ref<String> FKStringWithInteger(std::int64_t value) { return TQStringWithInteger(value); }

}  // namespace tq
