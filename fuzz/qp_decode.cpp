// Decodes arbitrary bytes as quoted-printable, plain and in Q mode, and
// checks the decoder against the properties every decode has: the output is
// never longer than the input, an error comes with code 11, and without "_"
// the two modes agree.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "tq/encodings/TransferEncodings.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  std::string plain, q;
  const bool plainOK = tq::FKQuotedPrintable::decodeQuotedPrintable(input, 0, plain);
  const bool qOK = tq::FKQuotedPrintable::decodeQuotedPrintable(input, 1, q);
  check(plainOK == qOK);
  if (plainOK) check(plain.size() <= input.size() && q.size() == plain.size());
  if (plainOK && input.find('_') == std::string_view::npos) check(plain == q);

  tq::Ref<tq::Error> error;
  auto text = tq::FKQuotedPrintable::decodedQuotedPrintableStringWithEncoding(tq::Data(input),
                                                                              tq::ISOLatin1StringEncoding, 0, &error);
  check(plainOK ? (text && !error && text->length() == plain.size()) : (!text && error && error->code() == 11));
  return 0;
}
