#pragma once
// Strings of one document made once each. A defaults file repeats the same
// few keys in every record of its lists (every rule has a "name", every
// account an "address") and many short values ("INBOX", "move"); a string
// made once is converted to UTF-16, allocated and hashed once however often
// it appears. Strings are immutable, so the containers can share them. Not
// part of the public interface.

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "tq/platform/archive/internal/TextConversion.h"
#include "tq/platform/value/String.h"

namespace tq::plist_detail {

class StringCache {
 public:
  /// A cache of strings up to `maxLength` bytes, sized for a document of
  /// `documentLength` bytes: direct-mapped, so that a miss costs little more
  /// than making the string would, and bounded, so that a document of
  /// distinct strings costs no memory beyond its slots. Longer strings are
  /// rarely repeated; they are made each time.
  StringCache(std::size_t maxLength, std::size_t documentLength) : maxLength_(maxLength) {
    std::size_t count = MinSlots;
    while (count < MaxSlots && count * 256 < documentLength) count *= 2;
    slots_.resize(count);
  }

  /// The string for the UTF-8 bytes.
  Ref<String> string(std::string_view utf8) {
    if (utf8.size() > maxLength_) return make<String>(utf16FromUTF8(utf8));
    Slot& slot = slots_[hashOf(utf8) & (slots_.size() - 1)];
    if (!slot.string || slot.bytes != utf8) {
      slot.bytes.assign(utf8);
      slot.string = make<String>(utf16FromUTF8(utf8));
    }
    return slot.string;
  }

 private:
  static constexpr std::size_t MinSlots = 16, MaxSlots = 512;

  struct Slot {
    std::string bytes;
    Ref<String> string;
  };

  // Eight bytes at a time, mixed by multiplication; the top bits are best
  // mixed, so they are folded down.
  static std::size_t hashOf(std::string_view bytes) {
    std::uint64_t hash = bytes.size() * 0x9E3779B97F4A7C15u;
    std::size_t at = 0;
    for (; at + 8 <= bytes.size(); at += 8) {
      std::uint64_t word;
      std::memcpy(&word, bytes.data() + at, 8);
      hash = (hash ^ word) * 0xFF51AFD7ED558CCDu;
    }
    if (at < bytes.size()) {
      std::uint64_t word = 0;
      std::memcpy(&word, bytes.data() + at, bytes.size() - at);
      hash = (hash ^ word) * 0xFF51AFD7ED558CCDu;
    }
    return std::size_t(hash ^ (hash >> 29) ^ (hash >> 47));
  }

  std::size_t maxLength_;
  std::vector<Slot> slots_;
};

}  // namespace tq::plist_detail
