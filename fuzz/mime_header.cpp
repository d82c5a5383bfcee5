// Decodes arbitrary header values, with and without the NUL flag. Checks that
// the flag changes nothing for values without NUL bytes in their words, and
// that a value without any "=?" comes back unchanged (less whitespace that no
// text follows).
//
// Input: UTF-8 text; when the first byte is 0xFE the rest is raw UTF-16
// (little-endian pairs), so that lone surrogates reach the decoder.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/value/CharacterSet.h"

namespace {

using tq::fuzz::check;

void quiet(const std::string&) {}

tq::String textOf(const std::uint8_t* data, std::size_t size) {
  if (size > 0 && data[0] == 0xFE) {
    std::u16string units;
    for (std::size_t i = 1; i + 1 < size; i += 2) units.push_back(char16_t(data[i] | data[i + 1] << 8));
    return tq::String(std::move(units));
  }
  return tq::String(std::string_view(reinterpret_cast<const char*>(data), size));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto previous = tq::setPlatformLogHandler(quiet);
  (void)previous;
  const tq::String header = textOf(data, size);
  auto plain = tq::MimeEncoding::decodedMimeEncodedString(header);
  bool flag = true;
  auto flagged = tq::MimeEncoding::decodedMimeEncodedString(header, &flag);
  check(plain && flagged);
  if (!flag) check(plain->isEqualToString(*flagged));

  const std::u16string& units = header.utf16();
  if (units.find(u"=?") == std::u16string::npos) {
    const auto& whitespace = *tq::CharacterSet::whitespaceAndNewlineCharacterSet();
    bool allWhitespace = true;
    for (char16_t c : units) allWhitespace = allWhitespace && whitespace.characterIsMember(c);
    check(plain->utf16() == (allWhitespace ? std::u16string() : units));
  }
  return 0;
}
