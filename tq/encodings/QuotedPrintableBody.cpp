// The quoted-printable body encoder: escaping and line splitting in one pass.
// Runs of plain text are found and copied a vector at a time; the loop is
// built for SSE2 here and for AVX2 and AVX-512 beside it, and the widest the
// processor has is used.

#include "tq/encodings/QuotedPrintableBody.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBodyLoop.h"
#include "tq/platform/system/VectorSupport.h"

namespace tq::MimeEncoding {

namespace BodyEncoding {
namespace {

static_assert(kLineLimit == kQuotedPrintableLineLength - 1);

#if defined(__SSE2__)
inline __m128i inRange(__m128i b, char low, char high) {
  // Signed comparisons: bytes of 0x80 and above are negative and fall outside
  // every range, whose bounds are all positive.
  return _mm_and_si128(_mm_cmpgt_epi8(b, _mm_set1_epi8(static_cast<char>(low - 1))),
                       _mm_cmplt_epi8(b, _mm_set1_epi8(static_cast<char>(high + 1))));
}

// All ones in the plain bytes. SSE2 has no byte table lookup, so the set is
// spelled out as ranges: 0x20 to 0x7D less "!\"#$", "=", "@", "[\\]^", "`"
// and "{|}".
inline __m128i plainBytes(__m128i b) {
  __m128i escaped = inRange(b, 0x21, 0x24);
  escaped = _mm_or_si128(escaped, _mm_cmpeq_epi8(b, _mm_set1_epi8('=')));
  escaped = _mm_or_si128(escaped, _mm_cmpeq_epi8(b, _mm_set1_epi8('@')));
  escaped = _mm_or_si128(escaped, inRange(b, 0x5B, 0x5E));
  escaped = _mm_or_si128(escaped, _mm_cmpeq_epi8(b, _mm_set1_epi8('`')));
  escaped = _mm_or_si128(escaped, inRange(b, 0x7B, 0x7D));
  return _mm_andnot_si128(escaped, inRange(b, 0x20, 0x7D));
}
#endif

struct BaselineScanner {
  static std::size_t copyPlainRun(const char* p, const char* end, std::size_t limit, char* o) {
    std::size_t done = 0;
#if defined(__SSE2__)
    while (done < limit && end - p - done >= 16) {
      const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + done));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(o + done), b);
      const auto mask = static_cast<unsigned>(_mm_movemask_epi8(plainBytes(b)));
      if (mask != 0xFFFF) return std::min(limit, done + static_cast<std::size_t>(__builtin_ctz(~mask)));
      done += 16;
    }
    if (done >= limit) return limit;
#endif
    return copyPlainTail(p, end, done, limit, o);
  }
};

using EncodePiece = std::size_t (*)(BodyLine&, const char*, std::size_t, bool, char*&);

EncodePiece widestEncoder() {
#if defined(__x86_64__)
  if (VectorSupport::useAVX512()) return encodePieceAVX512;
  if (VectorSupport::useAVX2()) return encodePieceAVX2;
#endif
  return encodePiece<BaselineScanner>;
}

}  // namespace
}  // namespace BodyEncoding

std::size_t QuotedPrintableBodyEncoder::encode(const char* in, std::size_t n, bool last, char*& out) {
  static const BodyEncoding::EncodePiece encodePiece = BodyEncoding::widestEncoder();
  BodyEncoding::BodyLine line{column_, lastByte_};
  const std::size_t used = encodePiece(line, in, n, last, out);
  column_ = line.column;
  lastByte_ = line.lastByte;
  return used;
}

void appendQuotedPrintableBody(std::string_view body, std::string& out) {
  // Written straight into `out`, a piece at a time: each piece first grows it
  // by the most the piece can need, in cache, and the growth not used is
  // given back at the end. Copying through a separate buffer cost more.
  constexpr std::size_t kPiece = 4096;
  // Reserved for prose with a few escapes in each line; only the pages
  // written are ever touched, so reserving too much costs nothing, while
  // reserving too little costs a copy of everything written so far.
  out.reserve(out.size() + body.size() + body.size() / 4 + QuotedPrintableBodyEncoder::outputRoom(kPiece));
  QuotedPrintableBodyEncoder encoder;
  std::size_t at = 0, size = out.size();
  do {
    const std::size_t n = std::min(kPiece, body.size() - at);
    out.resize(size + QuotedPrintableBodyEncoder::outputRoom(n));
    char* const start = out.data() + size;
    char* o = start;
    at += encoder.encode(body.data() + at, n, at + n == body.size(), o);
    size += static_cast<std::size_t>(o - start);
  } while (at < body.size());
  out.resize(size);
}

}  // namespace tq::MimeEncoding
