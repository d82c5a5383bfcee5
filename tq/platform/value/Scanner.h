#pragma once
// A cursor over a string that reads numbers, literal strings and runs of
// characters, skipping a set of characters (white space by default) before
// each read.
//
// Every scan answers whether it found something. A scan that fails leaves the
// location where it was (the skipped characters included), so that a caller
// can try another kind of scan at the same place.

#include <cstdint>

#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/object/Range.h"
#include "tq/platform/value/String.h"

namespace tq {

class Scanner : public Object {
 public:
  explicit Scanner(Ref<String> string);
  static Ref<Scanner> scannerWithString(Ref<String> string) { return make<Scanner>(std::move(string)); }

  std::string className() const override { return "Scanner"; }

  const Ref<String>& string() const { return string_; }
  /// In UTF-16 code units.
  Index scanLocation() const { return location_; }
  /// Raises the range failure past the end of the string.
  void setScanLocation(Index location);
  /// White space and line breaks unless changed; nil skips nothing.
  const Ref<CharacterSet>& charactersToBeSkipped() const { return skip_; }
  void setCharactersToBeSkipped(Ref<CharacterSet> set) { skip_ = std::move(set); }
  /// Whether `scanString` and `scanUpToString` match case exactly; off unless set.
  bool caseSensitive() const { return caseSensitive_; }
  void setCaseSensitive(bool flag) { caseSensitive_ = flag; }
  /// True when nothing but skippable characters remains.
  bool isAtEnd() const;

  // Decimal integers: an optional sign and ASCII digits. A value out of the
  // type's range gives the type's maximum (or minimum) and still consumes
  // every digit.
  bool scanInt(int* result = nullptr);
  bool scanInteger(std::int64_t* result = nullptr);
  bool scanLongLong(long long* result = nullptr);
  /// No sign: a leading "-" or "+" fails the scan.
  bool scanUnsignedLongLong(unsigned long long* result = nullptr);
  // Hexadecimal integers with an optional "0x"/"0X"; saturate like the above.
  bool scanHexInt(unsigned* result = nullptr);
  bool scanHexLongLong(unsigned long long* result = nullptr);
  // Decimal reals whatever the process locale: sign, digits, "." and
  // fraction, exponent. Too large a value gives an infinity.
  bool scanFloat(float* result = nullptr);
  bool scanDouble(double* result = nullptr);

  /// The exact text (case-folded unless case-sensitive); `intoString` gets
  /// the characters as they stand in the scanned string.
  bool scanString(const String& string, Ref<String>* intoString = nullptr);
  /// The longest non-empty run of members of the set.
  bool scanCharactersFromSet(const CharacterSet& set, Ref<String>* intoString = nullptr);
  /// Everything up to the next occurrence of `string`, or to the end; fails
  /// when `string` stands at the location.
  bool scanUpToString(const String& string, Ref<String>* intoString = nullptr);
  /// The longest non-empty run of non-members of the set.
  bool scanUpToCharactersFromSet(const CharacterSet& set, Ref<String>* intoString = nullptr);

 private:
  /// The first location at or after `from` that is not skipped.
  Index skipFrom(Index from) const;
  char16_t unitAt(Index at) const { return string_->utf16()[at]; }
  Index length() const { return string_->length(); }
  /// Reads `[+-]?digits` at `at` with 64-bit saturation.
  bool readDecimal(Index* at, bool allowSign, bool* negative, std::uint64_t* magnitude, bool* overflow) const;
  /// A decimal integer saturated at int (`narrow`) or 64-bit width.
  bool scanSigned(bool narrow, std::int64_t* result);
  bool readHex(std::uint64_t limit, std::uint64_t* value);
  bool readReal(double* value);
  /// Where the text of `needle` matches at `at`, honouring case sensitivity.
  bool matchesAt(const String& needle, Index at) const;
  Ref<String> text(Index from, Index to) const;

  Ref<String> string_;
  Index location_ = 0;
  Ref<CharacterSet> skip_;
  bool caseSensitive_ = false;
};

}  // namespace tq
