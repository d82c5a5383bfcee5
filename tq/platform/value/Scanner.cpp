#include "tq/platform/value/Scanner.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <locale.h>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

#include "tq/platform/object/Exception.h"

namespace tq {

namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

int hexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// The scalar at `at` and how many code units it takes (a lone surrogate is a
// character of its own).
char32_t scalarAt(const std::u16string& units, Index at, Index* width) {
  char16_t c = units[at];
  if (U16_IS_LEAD(c) && at + 1 < units.size() && U16_IS_TRAIL(units[at + 1])) {
    *width = 2;
    return U16_GET_SUPPLEMENTARY(c, units[at + 1]);
  }
  *width = 1;
  return c;
}

char16_t fold(char16_t c) { return char16_t(u_foldCase(c, U_FOLD_CASE_DEFAULT)); }

// Reals are read in the "C" locale's format whatever the process locale is:
// mail headers and files do not change with the user's settings.
locale_t cLocale() {
  static locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

template <class T>
T saturatedSigned(bool negative, std::uint64_t magnitude) {
  using Limits = std::numeric_limits<T>;
  if (negative) {
    std::uint64_t most = std::uint64_t(Limits::max()) + 1;
    return magnitude >= most ? Limits::min() : T(-static_cast<std::int64_t>(magnitude));
  }
  return magnitude > std::uint64_t(Limits::max()) ? Limits::max() : T(magnitude);
}

}  // namespace

Scanner::Scanner(Ref<String> string)
    : string_(string ? std::move(string) : make<String>()), skip_(CharacterSet::whitespaceAndNewlineCharacterSet()) {}

void Scanner::setScanLocation(Index location) {
  if (location > length()) {
    raise(ExceptionName::Range, "*** -[Scanner setScanLocation:]: Index " + std::to_string(location) +
                                    " out of bounds; string length " + std::to_string(length()));
  }
  location_ = location;
}

Index Scanner::skipFrom(Index from) const {
  if (!skip_) return from;
  const std::u16string& units = string_->utf16();
  Index width = 1;
  while (from < units.size() && skip_->characterIsMember(scalarAt(units, from, &width))) from += width;
  return from;
}

bool Scanner::isAtEnd() const { return skipFrom(location_) >= length(); }

Ref<String> Scanner::text(Index from, Index to) const {
  return String::fromUTF16(string_->utf16().substr(from, to - from));
}

bool Scanner::readDecimal(Index* at, bool allowSign, bool* negative, std::uint64_t* magnitude, bool* overflow) const {
  Index i = *at;
  *negative = false;
  if (i < length() && (unitAt(i) == u'-' || unitAt(i) == u'+')) {
    if (!allowSign) return false;
    *negative = unitAt(i) == u'-';
    ++i;
  }
  if (i >= length() || !isDigit(unitAt(i))) return false;
  std::uint64_t value = 0;
  *overflow = false;
  for (; i < length() && isDigit(unitAt(i)); ++i) {
    unsigned digit = unitAt(i) - u'0';
    if (value > (std::numeric_limits<std::uint64_t>::max() - digit) / 10) {
      *overflow = true;
      value = std::numeric_limits<std::uint64_t>::max();
    } else if (!*overflow) {
      value = value * 10 + digit;
    }
  }
  *magnitude = value;
  *at = i;
  return true;
}

bool Scanner::scanSigned(bool narrow, std::int64_t* result) {
  Index at = skipFrom(location_);
  bool negative, overflow;
  std::uint64_t magnitude;
  if (!readDecimal(&at, true, &negative, &magnitude, &overflow)) return false;
  location_ = at;
  *result = narrow ? saturatedSigned<int>(negative, magnitude) : saturatedSigned<std::int64_t>(negative, magnitude);
  return true;
}

bool Scanner::scanInt(int* result) {
  std::int64_t value;
  if (!scanSigned(true, &value)) return false;
  if (result) *result = int(value);
  return true;
}

bool Scanner::scanInteger(std::int64_t* result) {
  std::int64_t value;
  if (!scanSigned(false, &value)) return false;
  if (result) *result = value;
  return true;
}

bool Scanner::scanLongLong(long long* result) {
  std::int64_t value;
  if (!scanSigned(false, &value)) return false;
  if (result) *result = value;
  return true;
}

bool Scanner::scanUnsignedLongLong(unsigned long long* result) {
  Index at = skipFrom(location_);
  bool negative, overflow;
  std::uint64_t magnitude;
  if (!readDecimal(&at, false, &negative, &magnitude, &overflow)) return false;
  location_ = at;
  if (result) *result = magnitude;
  return true;
}

bool Scanner::readHex(std::uint64_t limit, std::uint64_t* value) {
  Index at = skipFrom(location_);
  // "0x" counts only when a hex digit follows; otherwise the "0" alone is
  // the number.
  if (at + 2 < length() && unitAt(at) == u'0' && (unitAt(at + 1) == u'x' || unitAt(at + 1) == u'X') &&
      hexValue(unitAt(at + 2)) >= 0) {
    at += 2;
  }
  if (at >= length() || hexValue(unitAt(at)) < 0) return false;
  std::uint64_t result = 0;
  for (; at < length() && hexValue(unitAt(at)) >= 0; ++at) {
    std::uint64_t digit = std::uint64_t(hexValue(unitAt(at)));
    result = result > (limit - digit) / 16 ? limit : result * 16 + digit;
  }
  location_ = at;
  *value = result;
  return true;
}

bool Scanner::scanHexInt(unsigned* result) {
  std::uint64_t value;
  if (!readHex(std::numeric_limits<unsigned>::max(), &value)) return false;
  if (result) *result = unsigned(value);
  return true;
}

bool Scanner::scanHexLongLong(unsigned long long* result) {
  std::uint64_t value;
  if (!readHex(std::numeric_limits<std::uint64_t>::max(), &value)) return false;
  if (result) *result = value;
  return true;
}

bool Scanner::readReal(double* value) {
  Index at = skipFrom(location_);
  std::string text;
  if (at < length() && (unitAt(at) == u'-' || unitAt(at) == u'+')) text.push_back(char(unitAt(at++)));
  std::size_t digits = 0;
  for (; at < length() && isDigit(unitAt(at)); ++at, ++digits) text.push_back(char(unitAt(at)));
  if (at < length() && unitAt(at) == u'.') {
    text.push_back('.');
    for (++at; at < length() && isDigit(unitAt(at)); ++at, ++digits) text.push_back(char(unitAt(at)));
  }
  if (digits == 0) return false;
  // The exponent belongs to the number only when at least one digit follows.
  if (at < length() && (unitAt(at) == u'e' || unitAt(at) == u'E')) {
    Index e = at + 1;
    if (e < length() && (unitAt(e) == u'-' || unitAt(e) == u'+')) ++e;
    if (e < length() && isDigit(unitAt(e))) {
      text.push_back('e');
      for (Index i = at + 1; i < e; ++i) text.push_back(char(unitAt(i)));
      for (at = e; at < length() && isDigit(unitAt(at)); ++at) text.push_back(char(unitAt(at)));
    }
  }
  *value = strtod_l(text.c_str(), nullptr, cLocale());
  location_ = at;
  return true;
}

bool Scanner::scanDouble(double* result) {
  double value;
  if (!readReal(&value)) return false;
  if (result) *result = value;
  return true;
}

bool Scanner::scanFloat(float* result) {
  double value;
  if (!readReal(&value)) return false;
  if (result) {
    constexpr double most = std::numeric_limits<float>::max();
    if (std::fabs(value) > most) {
      *result = std::copysign(std::numeric_limits<float>::infinity(), float(value > 0 ? 1 : -1));
    } else {
      *result = float(value);
    }
  }
  return true;
}

bool Scanner::matchesAt(const String& needle, Index at) const {
  const std::u16string& units = string_->utf16();
  const std::u16string& wanted = needle.utf16();
  if (wanted.size() > units.size() - at) return false;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    char16_t a = units[at + i], b = wanted[i];
    if (a != b && (caseSensitive_ || fold(a) != fold(b))) return false;
  }
  return true;
}

bool Scanner::scanString(const String& string, Ref<String>* intoString) {
  Index at = skipFrom(location_);
  if (string.length() == 0 || !matchesAt(string, at)) return false;
  location_ = at + string.length();
  if (intoString) *intoString = text(at, location_);
  return true;
}

bool Scanner::scanCharactersFromSet(const CharacterSet& set, Ref<String>* intoString) {
  Index start = skipFrom(location_), at = start, width = 1;
  const std::u16string& units = string_->utf16();
  while (at < units.size() && set.characterIsMember(scalarAt(units, at, &width))) at += width;
  if (at == start) return false;
  location_ = at;
  if (intoString) *intoString = text(start, at);
  return true;
}

bool Scanner::scanUpToString(const String& string, Ref<String>* intoString) {
  Index start = skipFrom(location_);
  if (start >= length()) return false;
  // Matched in place, position by position: a scanner that is called again
  // and again over a long text must not copy or fold the rest of it each time.
  // The empty string is never found, so it scans to the end.
  Index end = start;
  if (string.length() == 0) {
    end = length();
  } else {
    while (end < length() && !matchesAt(string, end)) ++end;
  }
  if (end == start) return false;
  location_ = end;
  if (intoString) *intoString = text(start, end);
  return true;
}

bool Scanner::scanUpToCharactersFromSet(const CharacterSet& set, Ref<String>* intoString) {
  Index start = skipFrom(location_), at = start, width = 1;
  const std::u16string& units = string_->utf16();
  while (at < units.size() && !set.characterIsMember(scalarAt(units, at, &width))) at += width;
  if (at == start) return false;
  location_ = at;
  if (intoString) *intoString = text(start, at);
  return true;
}

}  // namespace tq
