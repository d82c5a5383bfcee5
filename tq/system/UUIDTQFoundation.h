#pragma once
// The library's extension of UUIDs (`TQFoundation`): the 16 bytes as data,
// and a compact 22-character text form (Base64 without its "==" padding),
// plus the two shared UUIDs of all ones and all zeros.

#include "tq/platform/value/Data.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/String.h"

namespace tq::TQFoundation {

/// The 16 bytes of the UUID.
Ref<Data> UUIDData(const UUID& uuid);
/// A UUID from 16 bytes; other lengths fail the assertion "UUID data must be
/// 16 bytes long" (and answer nil when assertions are compiled out).
Ref<UUID> newWithUUIDData(const Data& data);
/// Standard Base64 of the bytes, cut to its first 22 characters.
Ref<String> base64String(const UUID& uuid);
/// The UUID of a 22-character compact form; other lengths fail the assertion
/// "UUID base64 string must be 22 bytes long". Nil for a text that is not
/// Base64 (or, with assertions compiled out, of another length).
Ref<UUID> newWithBase64String(const String& text);
/// The shared UUID whose 16 bytes are all 0xFF.
Ref<UUID> omniUUID();
/// The shared UUID whose 16 bytes are all 0.
Ref<UUID> nilUUID();

}  // namespace tq::TQFoundation
