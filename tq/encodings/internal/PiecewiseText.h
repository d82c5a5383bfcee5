#pragma once
// Text built from bytes that arrive piece by piece, so that a decoder can
// hand over its output a block at a time and the decoded bytes are never
// held whole: each block is turned into UTF-16 while it is still in cache.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tq/platform/value/Charset.h"
#include "tq/platform/value/String.h"

namespace tq::detail {

class PiecewiseText {
 public:
  /// A text in `encoding` of at most `maxBytes` bytes in all.
  PiecewiseText(StringEncoding encoding, std::size_t maxBytes);

  /// Whether the charset can be read piece by piece: ASCII, UTF-8 and the
  /// common single-byte charsets. The others (the stateful and multi-byte
  /// charsets, 16-bit Unicode with its byte-order mark) must be given whole
  /// to Charset.
  bool readsPieces() const { return kind_ != Kind::Whole; }

  /// Appends the text of the next piece. A UTF-8 character cut at the
  /// piece's end is completed by the next piece. False when the bytes are
  /// not valid in the charset; the text is then unusable.
  bool append(std::string_view piece);

  /// The text of all the pieces; nil when a piece failed or the last one
  /// ended inside a character.
  Ref<String> finish();

 private:
  enum class Kind { Whole, ASCII, Latin1, UTF8, Table };

  bool appendUTF8(const std::uint8_t* s, std::size_t n, char16_t*& o);
  bool completePending(const std::uint8_t*& s, std::size_t& n, char16_t*& o);
  bool appendThroughTable(const std::uint8_t* s, std::size_t n, char16_t*& o);
  void commit(std::size_t units);
  void prefaultFor(std::size_t units);

  Kind kind_ = Kind::Whole;
  const std::uint32_t* table_ = nullptr;  // byte to unit, for Kind::Table
  bool failed_ = false;
  std::uint8_t pending_[4] = {};          // an unfinished UTF-8 character
  std::size_t pendingSize_ = 0;
  std::u16string units_;
  std::u16string scratch_;                // one piece's units, while in cache
  std::size_t prefaulted_ = 0;            // units of units_ known to be mapped
};

}  // namespace tq::detail
