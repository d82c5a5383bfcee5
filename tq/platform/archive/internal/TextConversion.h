#pragma once
// UTF-8 to UTF-16 for the property-list readers: every key and string of a
// document passes through here, and nearly all of them are short and ASCII.
// Not part of the public interface.

#include <string>
#include <string_view>

namespace tq::plist_detail {

/// The UTF-16 form of the bytes, unit for unit what `tq::utf8ToUTF16` gives
/// (ill-formed sequences become U+FFFD), in a string sized to fit: ASCII is
/// widened in one pass, well-formed multi-byte text is decoded after one
/// counting pass, and anything ill-formed is left to `utf8ToUTF16`.
std::u16string utf16FromUTF8(std::string_view utf8);

}  // namespace tq::plist_detail
