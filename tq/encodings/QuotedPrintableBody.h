#pragma once
// The quoted-printable body encoder: body bytes, already in their charset,
// escaped and split into lines in one pass.
//
// Escaping: bytes 0x20 to 0x7D, CR and LF stand for themselves, except the
// sixteen that gateways are known to mangle (=!"#$@[\]^`{|}~); every other
// byte is written "=XX". Lines: LF and CRLF end a line (and come out as
// CRLF); a line holds at most 75 characters before its soft break "=", and
// an escape that would start in its last three columns moves to the next
// line instead. A lone CR is an ordinary character. The body's last line has
// no line end; a space ending it is kept by a final "=".

#include <cstddef>
#include <string>
#include <string_view>

namespace tq::MimeEncoding {

/// Appends the quoted-printable form of the body bytes to `out`: the text
/// that quotedPrintableStringForPlainTextBody gives for a body in that
/// charset, as ASCII bytes.
void appendQuotedPrintableBody(std::string_view body, std::string& out);

/// The same encoder, fed the body a piece at a time, for callers that make
/// the bytes as they go (the text encoder converts its characters a block at
/// a time rather than making a body-sized copy).
class QuotedPrintableBodyEncoder {
 public:
  /// Room a piece of n bytes may need in the output: each byte may become
  /// three characters, each soft break adds three after at least 72, and the
  /// end may gain an "="; vector stores may write up to 63 bytes past the end.
  static constexpr std::size_t outputRoom(std::size_t n) { return 4 * n + 64; }

  /// Encodes the next `n` bytes of the body into `out` (which needs
  /// outputRoom(n) bytes) and advances it. `last` says that the body ends
  /// with these bytes. Otherwise a CR ending the piece is not consumed, since
  /// whether it ends a line depends on the byte after it; answers the bytes
  /// consumed.
  std::size_t encode(const char* in, std::size_t n, bool last, char*& out);

 private:
  std::size_t column_ = 0;  // characters on the current line
  char lastByte_ = 0;       // the last byte consumed
};

}  // namespace tq::MimeEncoding
