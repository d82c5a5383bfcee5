// The quoted-printable body encoder: escaping and line splitting in one pass.
// Runs of plain text are found and copied a vector at a time where the
// processor allows (the loops in tq/encodings/vector/); the portable loop
// here takes them a byte at a time.

#include "tq/encodings/QuotedPrintableBody.h"

#include <algorithm>

#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/internal/QuotedPrintableBodyLoop.h"
#include "tq/encodings/internal/VectorDispatch.h"

namespace tq::MimeEncoding {

namespace BodyEncoding {
namespace {

static_assert(kLineLimit == kQuotedPrintableLineLength - 1);

struct PortableScanner {
  static std::size_t copyPlainRun(const char* p, const char* end, std::size_t limit, char* o) {
    return copyPlainTail(p, end, 0, limit, o);
  }
};

std::size_t encodePiecePortable(BodyLine& line, const char* in, std::size_t n, bool last, char*& out) {
  return encodePiece<PortableScanner>(line, in, n, last, out);
}

}  // namespace
}  // namespace BodyEncoding

std::size_t QuotedPrintableBodyEncoder::encode(const char* in, std::size_t n, bool last, char*& out) {
  static const EncodingLoops::QuotedPrintableBody encodePiece = EncodingLoops::widest<EncodingLoops::QuotedPrintableBody>(
      {&BodyEncoding::encodePiecePortable, TQ_VECTOR_LOOP(quotedPrintableBodySSE2),
       TQ_VECTOR_LOOP(quotedPrintableBodyAVX2), TQ_VECTOR_LOOP(quotedPrintableBodyAVX512)});
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
