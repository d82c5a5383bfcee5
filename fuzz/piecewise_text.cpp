// Reads arbitrary bytes as text piece by piece, cut where the input says, and
// checks that the text is the one the charset service makes of the bytes
// given whole: the same units, or nil for both.
//
// Input: one byte choosing the charset, two choosing the cuts, then the bytes.

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "fuzz/support/FuzzCheck.h"
#include "tq/encodings/internal/PiecewiseText.h"

namespace {

constexpr tq::StringEncoding Charsets[] = {tq::UTF8StringEncoding, tq::UTF8StringEncoding, tq::UTF8StringEncoding,
                                           tq::ASCIIStringEncoding, tq::ISOLatin1StringEncoding,
                                           tq::WindowsCP1252StringEncoding, tq::WindowsCP1253StringEncoding,
                                           tq::KOI8RStringEncoding};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const tq::StringEncoding encoding = Charsets[data[0] % std::size(Charsets)];
  // Cuts every `step` bytes, from `first` on: single bytes, short pieces and
  // pieces longer than the vector blocks all occur.
  const std::size_t first = data[1], step = 1 + data[2] % 97;
  const std::string_view bytes(reinterpret_cast<const char*>(data + 3), size - 3);

  tq::detail::PiecewiseText text(encoding, bytes.size());
  bool ok = true;
  std::size_t from = 0;
  for (std::size_t cut = std::min(first, bytes.size()); ok && cut < bytes.size(); cut += step) {
    ok = text.append(bytes.substr(from, cut - from));
    from = cut;
  }
  if (ok) ok = text.append(bytes.substr(from));
  const tq::Ref<tq::String> piecewise = ok ? text.finish() : nullptr;
  const tq::Ref<tq::String> whole = tq::Charset::stringWithBytes(bytes, encoding);
  tq::fuzz::check((whole == nullptr) == (piecewise == nullptr));
  if (whole) tq::fuzz::check(whole->utf16() == piecewise->utf16());
  return 0;
}
