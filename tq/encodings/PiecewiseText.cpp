// Text built piece by piece from the bytes a decoder hands over.

#include "tq/encodings/internal/PiecewiseText.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <mutex>

#include "tq/encodings/internal/Prefault.h"
#include "tq/encodings/internal/VectorDispatch.h"

namespace tq::detail {

namespace {

// How far ahead of the writes the text's memory is faulted in: far enough that
// the requests are few, near enough that a text shorter than its bound (the
// escapes shrink it) leaves little of its reserve mapped for nothing.
constexpr std::size_t PrefaultStepBytes = 1024 * 1024;

// Widens the leading ASCII bytes of s[0, n) to o; answers how many.
std::size_t widenLeadingASCII(const std::uint8_t* s, std::size_t n, char16_t* o) {
  static const EncodingLoops::WidenASCII widenBlocks = EncodingLoops::widest<EncodingLoops::WidenASCII>(
      {nullptr, TQ_VECTOR_LOOP(widenASCIISSE2), TQ_VECTOR_LOOP(widenASCIIAVX2), TQ_VECTOR_LOOP(widenASCIIAVX512)});
  std::size_t i = widenBlocks ? widenBlocks(s, n, o) : 0;
  while (i < n && s[i] < 0x80) {
    o[i] = s[i];
    ++i;
  }
  return i;
}

// The bytes of a UTF-8 character that begins with `lead`; 0 for a byte that
// begins none (a trail byte, C0, C1, F5 to FF).
std::size_t utf8Length(std::uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2) return 0;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  return lead < 0xF5 ? 4 : 0;
}

// Decodes the character at s[i] (n bytes in all) the way the whole-text
// decoder does, so that overlong forms, surrogates and values past U+10FFFF
// fail here exactly as there; false for those.
bool decodeOne(const std::uint8_t* s, std::int64_t& i, std::int64_t n, char16_t*& o) {
  UChar32 c;
  U8_NEXT(s, i, n, c);
  if (c < 0) return false;
  if (c < 0x10000) {
    *o++ = static_cast<char16_t>(c);
  } else {
    *o++ = U16_LEAD(c);
    *o++ = U16_TRAIL(c);
  }
  return true;
}

// The single-byte charsets mail uses most besides ISO-8859-1, read through a
// table of their 256 bytes. The table is the charset service's own answer for
// each byte, so a byte reads here exactly as it does there; a byte it does not
// define is marked Undefined.
constexpr std::uint32_t Undefined = 0xFFFFFFFF;
constexpr StringEncoding TableCharsets[] = {WindowsCP1252StringEncoding, ISOLatin9StringEncoding,
                                            ISOLatin2StringEncoding,     WindowsCP1250StringEncoding,
                                            WindowsCP1251StringEncoding, WindowsCP1253StringEncoding,
                                            WindowsCP1254StringEncoding, KOI8RStringEncoding};
constexpr std::size_t TableCount = sizeof(TableCharsets) / sizeof(TableCharsets[0]);

using ByteTable = std::array<std::uint32_t, 256>;

// Nil unless every byte reads as one unit or not at all, ASCII as itself: only
// then is a text the concatenation of its bytes' readings, and can its ASCII
// runs be widened without the table.
const ByteTable* tableFor(StringEncoding encoding) {
  static std::array<std::once_flag, TableCount> once;
  static std::array<ByteTable, TableCount> tables;
  static std::array<bool, TableCount> usable;
  const auto* found = std::find(std::begin(TableCharsets), std::end(TableCharsets), encoding);
  if (found == std::end(TableCharsets)) return nullptr;
  const auto index = static_cast<std::size_t>(found - std::begin(TableCharsets));
  std::call_once(once[index], [&] {
    usable[index] = true;
    std::u16string unit;
    for (unsigned byte = 0; byte < 256; ++byte) {
      const char c = static_cast<char>(byte);
      if (!Charset::decode(std::string_view(&c, 1), encoding, unit)) {
        tables[index][byte] = Undefined;
      } else if (unit.size() == 1 && (byte >= 0x80 || unit[0] == byte)) {
        tables[index][byte] = unit[0];
      } else {
        usable[index] = false;
      }
    }
  });
  return usable[index] ? &tables[index] : nullptr;
}

}  // namespace

PiecewiseText::PiecewiseText(StringEncoding encoding, std::size_t maxBytes) {
  switch (encoding) {
    case ASCIIStringEncoding:
      kind_ = Kind::ASCII;
      break;
    case ISOLatin1StringEncoding:
      kind_ = Kind::Latin1;
      break;
    case UTF8StringEncoding:
      kind_ = Kind::UTF8;
      break;
    default:
      table_ = tableFor(encoding) ? tableFor(encoding)->data() : nullptr;
      kind_ = table_ ? Kind::Table : Kind::Whole;
  }
  // No byte gives more than one UTF-16 unit (a four-byte character gives
  // two), so this is room for the whole text; reserving does not touch it.
  if (readsPieces()) units_.reserve(maxBytes);
}

bool PiecewiseText::append(std::string_view piece) {
  if (failed_ || kind_ == Kind::Whole) return false;
  // Room for the piece and a character left unfinished by the one before.
  if (scratch_.size() < piece.size() + 4) scratch_.resize(piece.size() + 4);
  const auto* s = reinterpret_cast<const std::uint8_t*>(piece.data());
  const std::size_t n = piece.size();
  char16_t* const start = scratch_.data();
  char16_t* o = start;
  bool ok = true;
  switch (kind_) {
    case Kind::ASCII:
      ok = widenLeadingASCII(s, n, o) == n;
      o += n;
      break;
    case Kind::Latin1:
      for (std::size_t i = widenLeadingASCII(s, n, o); i < n; ++i) o[i] = s[i];
      o += n;
      break;
    case Kind::UTF8:
      ok = appendUTF8(s, n, o);
      break;
    case Kind::Table:
      ok = appendThroughTable(s, n, o);
      break;
    case Kind::Whole:
      break;
  }
  if (!ok) {
    failed_ = true;
    return false;
  }
  commit(static_cast<std::size_t>(o - start));
  return true;
}

bool PiecewiseText::appendThroughTable(const std::uint8_t* s, std::size_t n, char16_t*& o) {
  for (std::size_t i = widenLeadingASCII(s, n, o); i < n; ++i) {
    const std::uint32_t unit = table_[s[i]];
    if (unit == Undefined) return false;
    o[i] = static_cast<char16_t>(unit);
  }
  o += n;
  return true;
}

// Completes the character the last piece left unfinished with the first bytes
// of this one.
bool PiecewiseText::completePending(const std::uint8_t*& s, std::size_t& n, char16_t*& o) {
  const std::size_t length = utf8Length(pending_[0]);
  const std::size_t taken = std::min(length - pendingSize_, n);
  std::copy(s, s + taken, pending_ + pendingSize_);
  pendingSize_ += taken;
  s += taken;
  n -= taken;
  if (pendingSize_ < length) return true;  // still unfinished: a very short piece
  std::int64_t i = 0;
  const bool ok = decodeOne(pending_, i, static_cast<std::int64_t>(length), o) && i == static_cast<std::int64_t>(length);
  pendingSize_ = 0;
  return ok;
}

bool PiecewiseText::appendUTF8(const std::uint8_t* s, std::size_t n, char16_t*& o) {
  if (pendingSize_ != 0 && !completePending(s, n, o)) return false;
  const auto length = static_cast<std::int64_t>(n);
  std::int64_t i = 0;
  while (i < length) {
    // Mail text is mostly ASCII: widen it a block at a time while it is.
    const std::size_t ascii = widenLeadingASCII(s + i, n - static_cast<std::size_t>(i), o);
    i += static_cast<std::int64_t>(ascii);
    o += ascii;
    if (i == length) break;
    const std::size_t expected = utf8Length(s[i]);
    if (expected != 0 && i + static_cast<std::int64_t>(expected) > length) {
      // Cut at the piece's end: the next piece finishes it (or finish() fails).
      pendingSize_ = static_cast<std::size_t>(length - i);
      std::copy(s + i, s + length, pending_);
      return true;
    }
    if (!decodeOne(s, i, length, o)) return false;
  }
  return true;
}

void PiecewiseText::commit(std::size_t units) {
  prefaultFor(units_.size() + units);
  units_.append(scratch_.data(), units);
}

void PiecewiseText::prefaultFor(std::size_t units) {
  if (units <= prefaulted_ || units_.capacity() * sizeof(char16_t) < PrefaultFromBytes) return;
  const std::size_t until =
      std::min(units_.capacity(), std::max(units, prefaulted_ + PrefaultStepBytes / sizeof(char16_t)));
  prefault(units_.data() + prefaulted_, units_.data() + until);
  prefaulted_ = until;
}

Ref<String> PiecewiseText::finish() {
  if (failed_ || kind_ == Kind::Whole || pendingSize_ != 0) return nullptr;
  // The reserve is the most the bytes could need, and escapes or multi-byte
  // characters can leave most of it unused. A large text's unused reserve is
  // address space no write touched, but a small one's is heap memory that
  // the text would hold for its life: that is given back, at the cost of a
  // copy that small texts make cheaply.
  if (units_.capacity() * sizeof(char16_t) < PrefaultFromBytes && units_.capacity() > 2 * units_.size()) {
    units_.shrink_to_fit();
  }
  return make<String>(std::move(units_));
}

}  // namespace tq::detail
