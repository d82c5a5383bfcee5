// Drives a scanner over arbitrary text with a sequence of scans chosen by the
// input, checking that the location never goes back or past the end, that a
// failed scan leaves it where it was, and that the text a scan hands out is
// the text it moved over.
//
// Input layout: byte 0 = number of operation bytes (mod 64), then those bytes,
// then the text. When the top bit of byte 0 is set, the text is read as raw
// UTF-16 (little-endian pairs), so lone surrogates reach the scanner.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/value/Scanner.h"
#include "tq/platform/value/String.h"

namespace {

using tq::fuzz::check;

// Built once: making a character set fills a table for the whole BMP.
tq::Ref<tq::CharacterSet> skipSet(unsigned choice) {
  static const tq::Ref<tq::CharacterSet> sets[] = {tq::CharacterSet::whitespaceAndNewlineCharacterSet(), nullptr,
                                                   tq::CharacterSet::characterSetWithCharactersInString(u", "),
                                                   tq::CharacterSet::letterCharacterSet()};
  return sets[choice % 4];
}

const tq::String& needle(unsigned choice) {
  static const tq::Ref<tq::String> needles[] = {tq::str("=?"),      tq::str("?="), tq::str("Q"),
                                                tq::str(u"\u00e9"), tq::str(","),  tq::str(u"\U0001F600"),
                                                tq::str("0x"),      tq::str("")};
  return *needles[choice % 8];
}

const tq::CharacterSet& set(unsigned choice) {
  static const tq::Ref<tq::CharacterSet> sets[] = {
      tq::CharacterSet::decimalDigitCharacterSet(), tq::CharacterSet::alphanumericCharacterSet(),
      tq::CharacterSet::characterSetWithCharactersInString(u"?=\U0001F600"),
      tq::CharacterSet::whitespaceCharacterSet()};
  return *sets[choice % 4];
}

// One scan; answers whether it succeeded, and checks what it handed out.
bool scanOnce(tq::Scanner& scanner, std::uint8_t op) {
  const tq::String& text = *scanner.string();
  tq::Index before = scanner.scanLocation();
  tq::Ref<tq::String> out;
  bool found = false;
  bool textual = false;
  unsigned arg = op >> 4;
  switch (op & 15) {
    case 0:
      found = scanner.scanInt();
      break;
    case 1:
      found = scanner.scanInteger();
      break;
    case 2:
      found = scanner.scanLongLong();
      break;
    case 3:
      found = scanner.scanUnsignedLongLong();
      break;
    case 4:
      found = scanner.scanHexInt();
      break;
    case 5:
      found = scanner.scanHexLongLong();
      break;
    case 6:
      found = scanner.scanFloat();
      break;
    case 7:
      found = scanner.scanDouble();
      break;
    case 8:
      found = scanner.scanString(needle(arg), &out);
      textual = true;
      if (found) check(out->length() == needle(arg).length());
      break;
    case 9:
      found = scanner.scanCharactersFromSet(set(arg), &out), textual = true;
      break;
    case 10:
      found = scanner.scanUpToString(needle(arg), &out), textual = true;
      break;
    case 11:
      found = scanner.scanUpToCharactersFromSet(set(arg), &out), textual = true;
      break;
    case 12:
      scanner.setCharactersToBeSkipped(skipSet(arg));
      return false;
    case 13:
      scanner.setCaseSensitive(arg & 1);
      return false;
    case 14:
      scanner.setScanLocation(std::min<tq::Index>(arg * 3, text.length()));
      return false;
    default: {
      // isAtEnd must agree with a scan that can only fail at the end.
      bool atEnd = scanner.isAtEnd();
      static const auto nothing = tq::CharacterSet::characterSetWithCharactersInString(u"");
      bool any = scanner.scanUpToCharactersFromSet(*nothing);
      check(atEnd != any);
      found = any;
      break;
    }
  }
  tq::Index after = scanner.scanLocation();
  check(after <= text.length());
  if (!found) {
    check(after == before);
    return false;
  }
  check(after > before);
  if (textual) {
    check(out && out->length() > 0 && out->length() <= after - before);
    // The handed-out text is the end of what was passed over.
    check(text.utf16().compare(after - out->length(), out->length(), out->utf16()) == 0);
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  bool raw16 = data[0] & 0x80;
  std::size_t opCount = std::min<std::size_t>(data[0] & 63, size - 1);
  const std::uint8_t* ops = data + 1;
  const std::uint8_t* body = ops + opCount;
  std::size_t bodySize = size - 1 - opCount;
  tq::Ref<tq::String> text;
  if (raw16) {
    std::u16string units;
    for (std::size_t i = 0; i + 1 < bodySize; i += 2) units.push_back(char16_t(body[i] | (body[i + 1] << 8)));
    text = tq::String::fromUTF16(std::move(units));
  } else {
    text = tq::String::fromUTF8(std::string_view(reinterpret_cast<const char*>(body), bodySize));
  }
  tq::Scanner scanner(text);
  if (opCount == 0) return 0;
  // Like a parsing loop: run the operations round after round until a whole
  // round makes no progress.
  for (int round = 0; round < 64; ++round) {
    bool progress = false;
    for (std::size_t i = 0; i < opCount; ++i) progress = scanOnce(scanner, ops[i]) || progress;
    if (!progress) break;
  }
  return 0;
}
