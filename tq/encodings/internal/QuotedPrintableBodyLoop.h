#pragma once
// The body encoder's loop, shared by the translation units that compile it
// for different instruction sets (the portable one in QuotedPrintableBody.cpp,
// the others in tq/encodings/vector/); each supplies the scanner that finds
// and copies runs of plain bytes.
//
// Everything here has internal linkage, and it includes nothing with inline
// functions of external linkage (no library templates either): of such a
// function the linker keeps one copy for the whole program, and if that were
// the copy built for AVX2, a processor without AVX2 would fault in code that
// never asked for it. The vector files include this header and
// VectorLoops.h alone.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::MimeEncoding::BodyEncoding {

using EncodingLoops::BodyLine;

namespace {

enum ByteClass : std::uint8_t { Plain, Escaped, LineFeed, CarriageReturn };

struct ByteTable {
  std::uint8_t of[256];
};

// 0x20 to 0x7D, CR and LF are plain, less the sixteen bytes that gateways
// are known to mangle; the rest is escaped.
constexpr ByteTable makeClasses() {
  ByteTable classes{};
  for (int c = 0; c < 256; ++c) classes.of[c] = (c >= 0x20 && c <= 0x7D) ? Plain : Escaped;
  for (const char* c = "=!\"#$@[\\]^`{|}~"; *c; ++c) classes.of[static_cast<unsigned char>(*c)] = Escaped;
  classes.of[static_cast<unsigned char>('\n')] = LineFeed;
  classes.of[static_cast<unsigned char>('\r')] = CarriageReturn;
  return classes;
}
constexpr ByteTable Classes = makeClasses();

struct WordTable {
  std::uint32_t of[256];
};

// The escape of each byte, "=XY", as the bytes of a little-endian word.
constexpr WordTable makeEscapeWords() {
  const char* digits = "0123456789ABCDEF";
  WordTable words{};
  for (std::uint32_t c = 0; c < 256; ++c) {
    words.of[c] = '=' | std::uint32_t(std::uint8_t(digits[c >> 4])) << 8 | std::uint32_t(std::uint8_t(digits[c & 15])) << 16;
  }
  return words;
}
constexpr WordTable EscapeWords = makeEscapeWords();
constexpr std::uint32_t LineEndWord = '\r' | '\n' << 8;
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the escape words are written as little-endian words");

// Characters a line holds before its soft break's "=" (the line length,
// kQuotedPrintableLineLength, less one).
constexpr std::size_t kLineLimit = 75;
// An escape starting at this column or later would not fit.
constexpr std::size_t kEscapeLimit = kLineLimit - 3;

inline std::size_t smaller(std::size_t a, std::size_t b) { return a < b ? a : b; }

inline char* softBreak(char* o) {
  std::memcpy(o, "=\r\n", 3);
  return o + 3;
}

// Copies the plain bytes from p, at most `limit` of them, to o, a byte at a
// time: the end of the input, where a vector would read past it.
inline std::size_t copyPlainTail(const char* p, const char* end, std::size_t done, std::size_t limit, char* o) {
  while (done < limit && p + done < end && Classes.of[static_cast<unsigned char>(p[done])] == Plain) {
    o[done] = p[done];
    ++done;
  }
  return done;
}

// Encodes the next n bytes as QuotedPrintableBodyEncoder::encode describes.
// Scanner::copyPlainRun(p, end, limit, o) copies the plain bytes from p, at
// most `limit` of them, to o and answers how many; it may write up to 63
// bytes more, which are then written over.
template <class Scanner>
std::size_t encodePiece(BodyLine& line, const char* in, std::size_t n, bool last, char*& out) {
  const char* p = in;
  const char* const end = in + n;
  char* o = out;
  std::size_t column = line.column;
  while (p < end) {
    const std::size_t run = Scanner::copyPlainRun(p, end, kLineLimit - column, o);
    p += run;
    o += run;
    column += run;
    if (p == end) break;
    if (Classes.of[static_cast<unsigned char>(*p)] == Plain) {  // the run stopped because the line is full
      o = softBreak(o);
      column = 0;
      continue;
    }
    // Escapes, LFs, CRLFs and lone CRs, as many as follow each other (the
    // bytes of a non-ASCII character come in a row). Which one each is
    // varies too irregularly to branch on, so all four are written the same
    // way: a four-byte word of which one to three bytes count.
    do {
      const auto byte = static_cast<unsigned char>(*p);
      if (byte == '\r' && p + 1 == end && !last) goto pieceEnd;  // the next piece says what it is
      const bool crlf = byte == '\r' && p + 1 < end && p[1] == '\n';
      const bool lineEnd = byte == '\n' || crlf;
      const bool loneCR = byte == '\r' && !crlf;
      const bool escape = !lineEnd && !loneCR;
      // An escape must fit whole on its line; a lone CR is one more character.
      const std::size_t fits = escape ? kEscapeLimit : loneCR ? kLineLimit : SIZE_MAX;
      if (column >= fits) {
        o = softBreak(o);
        column = 0;
      }
      const std::uint32_t word = escape ? EscapeWords.of[byte] : loneCR ? std::uint32_t{'\r'} : LineEndWord;
      std::memcpy(o, &word, 4);
      const std::size_t length = escape ? 3 : loneCR ? 1 : 2;
      o += length;
      column = lineEnd ? 0 : column + length;
      p += 1 + crlf;
    } while (p < end && Classes.of[static_cast<unsigned char>(*p)] != Plain);
  }
pieceEnd:
  if (p != in) line.lastByte = p[-1];
  // The last line has no line end; a space ending it would be lost in
  // transport, so a soft break protects it. Spaces ending the other lines,
  // before their hard breaks, are left as they are.
  if (last && column > 0 && line.lastByte == ' ') *o++ = '=';
  line.column = column;
  out = o;
  return static_cast<std::size_t>(p - in);
}

}  // namespace

}  // namespace tq::MimeEncoding::BodyEncoding
