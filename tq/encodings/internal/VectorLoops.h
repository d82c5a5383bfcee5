#pragma once
// The vector loops of the encoders and decoders: their signatures and their
// entry points, one per loop and instruction set (tq/encodings/vector/).
//
// The files in tq/encodings/vector/ are compiled for wider instruction sets
// than the rest of the library, and include this header. So it declares and
// never defines: an inline function of external linkage instantiated in such
// a file could be the copy the linker keeps for the whole program, and a
// processor without those instructions would then fault in code that never
// asked for them. Only <cstddef> and <cstdint> are included, for their types.
//
// Each operation chooses one of these once, at first use, through
// internal/VectorDispatch.h; the portable loops stay in the operations' own
// files.

#include <cstddef>
#include <cstdint>

namespace tq::EncodingLoops {

// Base64: decodes whole blocks of digits from s (n bytes) to out (room
// bytes), stopping at the first block it cannot take whole; answers the
// bytes consumed and sets *written to the bytes written. `ignorable` is the
// decoder's table of bytes passed over (1 each), which a line break in a
// block is judged by. May decode nothing; the scalar loop does the rest.
using Base64Decode = std::size_t (*)(const std::uint8_t* s, std::size_t n, std::uint8_t* out, std::size_t room,
                                     bool urlSafe, const std::uint8_t* ignorable, std::size_t* written);
std::size_t base64DecodeAVX2(const std::uint8_t* s, std::size_t n, std::uint8_t* out, std::size_t room, bool urlSafe,
                             const std::uint8_t* ignorable, std::size_t* written);
std::size_t base64DecodeAVX512(const std::uint8_t* s, std::size_t n, std::uint8_t* out, std::size_t room, bool urlSafe,
                               const std::uint8_t* ignorable, std::size_t* written);

// Quoted-printable decoding: decodes from p towards end into o, advancing
// both, and stops short of the end by the width of a block and an escape;
// false at a malformed escape (p then stands before its block). The
// portable loop does the rest.
using QuotedPrintableDecode = bool (*)(const char*& p, const char* end, char*& o, bool underscoreIsSpace);
bool quotedPrintableDecodeAVX2(const char*& p, const char* end, char*& o, bool underscoreIsSpace);
bool quotedPrintableDecodeAVX512(const char*& p, const char* end, char*& o, bool underscoreIsSpace);

// Widening ASCII bytes to UTF-16 units, a block at a time: widens s[0, n)
// into o while the bytes are below 0x80 and answers how many it widened,
// stopping at the first byte that is not ASCII or when less than a block is
// left (the caller widens the rest). May write units past the count it
// answers, but never past o + n.
using WidenASCII = std::size_t (*)(const std::uint8_t* s, std::size_t n, char16_t* o);
std::size_t widenASCIISSE2(const std::uint8_t* s, std::size_t n, char16_t* o);
std::size_t widenASCIIAVX2(const std::uint8_t* s, std::size_t n, char16_t* o);
std::size_t widenASCIIAVX512(const std::uint8_t* s, std::size_t n, char16_t* o);

// The quoted-printable body encoder: the state a body's line carries from one
// piece to the next, and the whole encoder of a piece, as
// QuotedPrintableBodyEncoder::encode describes it.
struct BodyLine {
  std::size_t column = 0;  // characters on the current line
  char lastByte = 0;       // the last byte consumed
};
using QuotedPrintableBody = std::size_t (*)(BodyLine& line, const char* in, std::size_t n, bool last, char*& out);
std::size_t quotedPrintableBodySSE2(BodyLine& line, const char* in, std::size_t n, bool last, char*& out);
std::size_t quotedPrintableBodyAVX2(BodyLine& line, const char* in, std::size_t n, bool last, char*& out);
std::size_t quotedPrintableBodyAVX512(BodyLine& line, const char* in, std::size_t n, bool last, char*& out);

// The blank-line search of the partition: finds the needle (2 or 4 bytes;
// other lengths find nothing) in base[0, size), testing whole blocks of
// positions from i on. Answers its position, or SIZE_MAX with i at the first
// position not yet tested, which the portable search takes from.
using BlankLineSearch = std::size_t (*)(const char* base, std::size_t size, const char* needle,
                                        std::size_t needleSize, std::size_t& i);
std::size_t blankLineSearchSSE2(const char* base, std::size_t size, const char* needle, std::size_t needleSize,
                                std::size_t& i);
std::size_t blankLineSearchAVX2(const char* base, std::size_t size, const char* needle, std::size_t needleSize,
                                std::size_t& i);

}  // namespace tq::EncodingLoops
