#pragma once
// Constants of the binary property-list format ("bplist00"), shared by its
// reader and writer. Not part of the public interface.

#include <cstdint>
#include <string_view>

namespace tq::plist_detail::binary {

/// The eight bytes every binary property list starts with.
inline constexpr std::string_view Magic = "bplist00";
/// The trailer: 6 unused bytes, offset size, reference size, then object
/// count, top object and offset-table offset as 8-byte big-endian integers.
inline constexpr std::size_t TrailerSize = 32;

// Object markers: the high nibble is the type, the low nibble a size or count.
inline constexpr std::uint8_t False = 0x08;
inline constexpr std::uint8_t True = 0x09;
inline constexpr std::uint8_t Int = 0x10;
inline constexpr std::uint8_t Real = 0x20;
inline constexpr std::uint8_t DateMarker = 0x33;
inline constexpr std::uint8_t DataType = 0x40;
inline constexpr std::uint8_t ASCIIString = 0x50;
inline constexpr std::uint8_t UTF16String = 0x60;
inline constexpr std::uint8_t UID = 0x80;
inline constexpr std::uint8_t ArrayType = 0xA0;
inline constexpr std::uint8_t SetType = 0xC0;
inline constexpr std::uint8_t DictType = 0xD0;

}  // namespace tq::plist_detail::binary
