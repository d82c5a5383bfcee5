// Decodes arbitrary bytes as quoted-printable, plain and in Q mode, and
// checks the decoder against the properties every decode has: the output is
// never longer than the input, an error comes with code 11, and without "_"
// the two modes agree; and both modes match a byte-by-byte decoder. The text
// of a long input must be the charset's reading of its decoded bytes.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/encodings/TransferEncodings.h"

namespace {

using tq::fuzz::check;

int hex(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The decoder written plainly from its rules, byte by byte, to hold the
// vectorised copy of plain runs to them.
bool reference(std::string_view in, bool q, std::string& out) {
  out.clear();
  for (std::size_t i = 0; i < in.size();) {
    const char c = in[i];
    if (c != '=') {
      out.push_back(q && c == '_' ? ' ' : c);
      ++i;
      continue;
    }
    const unsigned char h1 = i + 1 < in.size() ? in[i + 1] : 0, h2 = i + 2 < in.size() ? in[i + 2] : 0;
    if (h1 == '\r' && h2 == '\n') {
      i += 3;
    } else if (h1 == '\n') {
      i += 2;
    } else if (hex(h1) >= 0 && hex(h2) >= 0) {
      out.push_back(char(hex(h1) * 16 + hex(h2)));
      i += 3;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  std::string plain, q;
  const bool plainOK = tq::FKQuotedPrintable::decodeQuotedPrintable(input, 0, plain);
  const bool qOK = tq::FKQuotedPrintable::decodeQuotedPrintable(input, 1, q);
  check(plainOK == qOK);
  std::string expected;
  check(reference(input, false, expected) == plainOK);
  if (plainOK) check(plain == expected);
  if (qOK) check(reference(input, true, expected) && q == expected);
  if (plainOK) check(plain.size() <= input.size() && q.size() == plain.size());
  if (plainOK && input.find('_') == std::string_view::npos) check(plain == q);

  tq::Ref<tq::Error> error;
  auto text = tq::FKQuotedPrintable::decodedQuotedPrintableStringWithEncoding(tq::Data(input),
                                                                              tq::ISOLatin1StringEncoding, 0, &error);
  check(plainOK ? (text && !error && text->length() == plain.size()) : (!text && error && error->code() == 11));

  // Long texts are turned into text a block at a time: repeated past the
  // first blocks' edges, the input must read as its decoded bytes do, given
  // whole to the charset service, in a multi-byte and a table charset.
  if (size == 0) return 0;
  std::string repeated;
  while (repeated.size() < 20000) repeated.append(input);
  std::string bytes;
  const bool repeatedOK = tq::FKQuotedPrintable::decodeQuotedPrintable(repeated, 0, bytes);
  for (tq::StringEncoding encoding : {tq::UTF8StringEncoding, tq::WindowsCP1253StringEncoding}) {
    tq::Ref<tq::Error> repeatedError;
    auto piecewise = tq::FKQuotedPrintable::decodedQuotedPrintableStringWithEncoding(tq::Data(repeated), encoding, 0,
                                                                                     &repeatedError);
    if (!repeatedOK) {
      check(!piecewise && repeatedError && repeatedError->code() == 11);
      continue;
    }
    auto whole = tq::Charset::stringWithBytes(bytes, encoding);
    check(!repeatedError && (whole == nullptr) == (piecewise == nullptr));
    if (whole) check(whole->isEqualToString(*piecewise));
  }
  return 0;
}
