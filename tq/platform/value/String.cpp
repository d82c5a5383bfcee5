#include "tq/platform/value/String.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <locale.h>

#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/object/Exception.h"

namespace tq {

std::u16string utf8ToUTF16(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  const auto* s = reinterpret_cast<const uint8_t*>(utf8.data());
  int32_t length = static_cast<int32_t>(utf8.size());
  int32_t i = 0;
  while (i < length) {
    if (s[i] < 0x80) {
      out.push_back(static_cast<char16_t>(s[i++]));
      continue;
    }
    UChar32 c;
    U8_NEXT(s, i, length, c);
    if (c < 0) c = 0xFFFD;
    if (c < 0x10000) {
      out.push_back(static_cast<char16_t>(c));
    } else {
      out.push_back(static_cast<char16_t>(U16_LEAD(c)));
      out.push_back(static_cast<char16_t>(U16_TRAIL(c)));
    }
  }
  return out;
}

std::string utf16ToUTF8(std::u16string_view utf16) {
  std::string out;
  out.reserve(utf16.size());
  std::size_t i = 0, n = utf16.size();
  while (i < n) {
    UChar32 c = utf16[i++];
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
      continue;
    }
    if (U16_IS_LEAD(c) && i < n && U16_IS_TRAIL(utf16[i])) {
      c = U16_GET_SUPPLEMENTARY(c, utf16[i]);
      ++i;
    } else if (U16_IS_SURROGATE(c)) {
      c = 0xFFFD;
    }
    char buffer[4];
    int32_t len = 0;
    U8_APPEND_UNSAFE(buffer, len, c);
    out.append(buffer, static_cast<std::size_t>(len));
  }
  return out;
}

String::String(std::string_view utf8) : units_(utf8ToUTF16(utf8)) {}

bool String::isValidUTF8(std::string_view utf8) {
  // ICU counts in 32 bits, so very long text is checked in slices, each cut
  // before a byte that starts a character.
  constexpr std::size_t kSlice = std::size_t{1} << 30;
  while (utf8.size() > kSlice) {
    std::size_t cut = kSlice;
    while (cut > kSlice - 4 && (static_cast<unsigned char>(utf8[cut]) & 0xC0) == 0x80) --cut;
    if (!isValidUTF8(utf8.substr(0, cut))) return false;
    utf8.remove_prefix(cut);
  }
  const auto* s = reinterpret_cast<const uint8_t*>(utf8.data());
  const auto length = static_cast<int32_t>(utf8.size());
  for (int32_t i = 0; i < length;) {
    UChar32 c;
    U8_NEXT(s, i, length, c);
    if (c < 0) return false;
  }
  return true;
}

Ref<String> String::fromUTF8Strict(std::string_view utf8) { return isValidUTF8(utf8) ? fromUTF8(utf8) : nullptr; }

bool String::isEqual(const Object& other) const {
  if (this == &other) return true;
  const auto* text = dynamic_cast<const String*>(&other);
  return text && text->units_ == units_;
}

std::size_t String::hash() const {
  // Immutable strings are shared between threads (dictionary keys), so the
  // cache is filled with atomic accesses; racing threads store the same value.
  std::atomic_ref<bool> ready(hashed_);
  std::atomic_ref<std::size_t> cached(hash_);
  if (ready.load(std::memory_order_acquire)) return cached.load(std::memory_order_relaxed);
  std::size_t value = std::hash<std::u16string>()(units_);
  cached.store(value, std::memory_order_relaxed);
  ready.store(true, std::memory_order_release);
  return value;
}

Ref<String> String::description() const { return selfAs<String>(); }

Id String::copy() const { return self(); }

Id String::mutableCopy() const { return make<MutableString>(units_); }

char16_t String::characterAtIndex(Index index) const {
  if (index >= units_.size()) raise(ExceptionName::Range, "-[String characterAtIndex:]: Range or index out of bounds");
  return units_[index];
}

std::string String::utf8() const { return utf16ToUTF8(units_); }

bool String::isEqualToString(std::string_view utf8) const { return units_ == utf8ToUTF16(utf8); }

Ref<String> String::substringWithRange(Range range) const {
  if (range.location > units_.size() || range.length > units_.size() - range.location) {
    raise(ExceptionName::Range, "-[String substringWithRange:]: Range " + toString(range) +
                                    " out of bounds; string length " + std::to_string(units_.size()));
  }
  return fromUTF16(units_.substr(range.location, range.length));
}

Ref<String> String::substringFromIndex(Index index) const {
  if (index > units_.size()) return substringWithRange({index, 0});
  return substringWithRange({index, units_.size() - index});
}

Ref<String> String::substringToIndex(Index index) const { return substringWithRange({0, index}); }

Ref<String> String::stringByAppendingString(const String& other) const {
  return fromUTF16(units_ + other.units_);
}

namespace {

std::u16string mapCase(const std::u16string& units, bool upper) {
  if (units.empty()) return units;
  std::u16string out(units.size() + 8, u'\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    UErrorCode status = U_ZERO_ERROR;
    auto* dest = reinterpret_cast<UChar*>(out.data());
    const auto* src = reinterpret_cast<const UChar*>(units.data());
    int32_t n = upper ? u_strToUpper(dest, int32_t(out.size()), src, int32_t(units.size()), "", &status)
                      : u_strToLower(dest, int32_t(out.size()), src, int32_t(units.size()), "", &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
      out.assign(std::size_t(n), u'\0');
      continue;
    }
    out.resize(std::size_t(n));
    return out;
  }
  return units;
}

std::u16string foldCase(std::u16string_view units) {
  std::u16string out(units.size() * 3 + 1, u'\0');
  UErrorCode status = U_ZERO_ERROR;
  int32_t n = u_strFoldCase(reinterpret_cast<UChar*>(out.data()), int32_t(out.size()),
                            reinterpret_cast<const UChar*>(units.data()), int32_t(units.size()),
                            U_FOLD_CASE_DEFAULT, &status);
  out.resize(U_SUCCESS(status) ? std::size_t(n) : 0);
  return out;
}

char32_t scalarAt(const std::u16string& s, std::size_t i, std::size_t* width) {
  char16_t c = s[i];
  if (U16_IS_LEAD(c) && i + 1 < s.size() && U16_IS_TRAIL(s[i + 1])) {
    *width = 2;
    return U16_GET_SUPPLEMENTARY(c, s[i + 1]);
  }
  *width = 1;
  return c;
}

}  // namespace

Ref<String> String::lowercaseString() const { return fromUTF16(mapCase(units_, false)); }
Ref<String> String::uppercaseString() const { return fromUTF16(mapCase(units_, true)); }

Ref<String> String::stringByTrimmingCharactersInSet(const CharacterSet& set) const {
  std::size_t begin = 0, end = units_.size(), width = 1;
  while (begin < end && set.characterIsMember(scalarAt(units_, begin, &width))) begin += width;
  while (end > begin) {
    std::size_t at = end - 1;
    if (at > begin && U16_IS_TRAIL(units_[at]) && U16_IS_LEAD(units_[at - 1])) --at;
    if (!set.characterIsMember(scalarAt(units_, at, &width))) break;
    end = at;
  }
  return fromUTF16(units_.substr(begin, end - begin));
}

Ref<String> String::stringByReplacingOccurrencesOfString(const String& target,
                                                         const String& replacement) const {
  if (target.units_.empty()) return fromUTF16(units_);
  std::u16string out;
  std::size_t from = 0;
  for (std::size_t at; (at = units_.find(target.units_, from)) != std::u16string::npos;
       from = at + target.units_.size()) {
    out.append(units_, from, at - from);
    out.append(replacement.units_);
  }
  out.append(units_, from, std::u16string::npos);
  return fromUTF16(std::move(out));
}

bool String::hasPrefix(const String& prefix) const { return hasPrefix(std::u16string_view(prefix.units_)); }
bool String::hasSuffix(const String& suffix) const { return hasSuffix(std::u16string_view(suffix.units_)); }
bool String::hasPrefix(std::u16string_view prefix) const {
  // The platform answers NO for an empty prefix.
  return !prefix.empty() && std::u16string_view(units_).starts_with(prefix);
}
bool String::hasSuffix(std::u16string_view suffix) const {
  return !suffix.empty() && std::u16string_view(units_).ends_with(suffix);
}

Range String::rangeOfString(const String& needle, StringCompareOptions options) const {
  return rangeOfString(needle, options, {0, units_.size()});
}

Range String::rangeOfString(const String& needle, StringCompareOptions options, Range searchRange) const {
  if (searchRange.location > units_.size() || searchRange.length > units_.size() - searchRange.location) {
    raise(ExceptionName::Range, "-[String rangeOfString:options:range:]: Range " + toString(searchRange) +
                                    " out of bounds; string length " + std::to_string(units_.size()));
  }
  if (needle.units_.empty()) return {NotFound, 0};
  std::u16string_view hay(units_.data() + searchRange.location, searchRange.length);
  std::u16string foldedHay, foldedNeedle;
  std::u16string_view n = needle.units_;
  bool insensitive = has(options, StringCompareOptions::CaseInsensitive);
  if (insensitive) {
    // Simple case folding keeps lengths for the BMP letters mail uses; where
    // folding changes the length we fall back to per-unit folding.
    foldedHay.resize(hay.size());
    for (std::size_t i = 0; i < hay.size(); ++i) foldedHay[i] = char16_t(u_foldCase(hay[i], U_FOLD_CASE_DEFAULT));
    foldedNeedle.resize(n.size());
    for (std::size_t i = 0; i < n.size(); ++i) foldedNeedle[i] = char16_t(u_foldCase(n[i], U_FOLD_CASE_DEFAULT));
    hay = foldedHay;
    n = foldedNeedle;
  }
  std::size_t at;
  if (has(options, StringCompareOptions::Anchored)) {
    bool backwards = has(options, StringCompareOptions::Backwards);
    bool match = backwards ? hay.ends_with(n) : hay.starts_with(n);
    if (!match) return {NotFound, 0};
    at = backwards ? hay.size() - n.size() : 0;
  } else {
    at = has(options, StringCompareOptions::Backwards) ? hay.rfind(n) : hay.find(n);
    if (at == std::u16string_view::npos) return {NotFound, 0};
  }
  return {searchRange.location + at, n.size()};
}

namespace {

int sign(int value) { return (value > 0) - (value < 0); }

// Compares runs of ASCII digits by value, the rest by code unit.
int numericCompare(std::u16string_view a, std::u16string_view b) {
  std::size_t i = 0, j = 0;
  auto digit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
  while (i < a.size() && j < b.size()) {
    if (digit(a[i]) && digit(b[j])) {
      std::size_t si = i, sj = j;
      while (si < a.size() && a[si] == u'0') ++si;
      while (sj < b.size() && b[sj] == u'0') ++sj;
      std::size_t ei = si, ej = sj;
      while (ei < a.size() && digit(a[ei])) ++ei;
      while (ej < b.size() && digit(b[ej])) ++ej;
      if (ei - si != ej - sj) return ei - si < ej - sj ? -1 : 1;
      int c = a.substr(si, ei - si).compare(b.substr(sj, ej - sj));
      if (c) return sign(c);
      i = ei;
      j = ej;
      continue;
    }
    if (a[i] != b[j]) return a[i] < b[j] ? -1 : 1;
    ++i;
    ++j;
  }
  if (i < a.size()) return 1;
  if (j < b.size()) return -1;
  return 0;
}

}  // namespace

ComparisonResult String::compare(const String& other, StringCompareOptions options) const {
  std::u16string_view a = units_, b = other.units_;
  std::u16string fa, fb;
  if (has(options, StringCompareOptions::CaseInsensitive)) {
    fa = foldCase(a);
    fb = foldCase(b);
    a = fa;
    b = fb;
  }
  int c = has(options, StringCompareOptions::Numeric) ? numericCompare(a, b) : sign(a.compare(b));
  return ComparisonResult(c);
}

namespace {

std::string leadingNumberText(const std::u16string& units, bool allowFraction) {
  std::size_t i = 0;
  auto* space = CharacterSet::whitespaceAndNewlineCharacterSet().get();
  while (i < units.size() && space->characterIsMember(units[i])) ++i;
  std::string text;
  for (; i < units.size() && units[i] < 0x80; ++i) text.push_back(char(units[i]));
  (void)allowFraction;
  return text;
}

}  // namespace

std::int64_t String::integerValue() const {
  std::string text = leadingNumberText(units_, false);
  errno = 0;
  long long value = std::strtoll(text.c_str(), nullptr, 10);
  return value;
}

double String::doubleValue() const {
  std::string text = leadingNumberText(units_, true);
  // Parse in the "C" locale's format whatever the process locale is.
  std::size_t i = 0;
  std::string clean;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) clean.push_back(text[i++]);
  while (i < text.size() && (std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '.' ||
                             text[i] == 'e' || text[i] == 'E' ||
                             ((text[i] == '+' || text[i] == '-') && (text[i - 1] == 'e' || text[i - 1] == 'E')))) {
    clean.push_back(text[i++]);
  }
  // strtod_l rather than from_chars: from_chars leaves the value at 0 when
  // it is out of range, where a too large number must read as an infinity.
  static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(clean.c_str(), nullptr, cLocale);
}

bool String::boolValue() const {
  std::size_t i = 0;
  auto* space = CharacterSet::whitespaceAndNewlineCharacterSet().get();
  while (i < units_.size() && space->characterIsMember(units_[i])) ++i;
  if (i < units_.size() && (units_[i] == u'+' || units_[i] == u'-')) ++i;
  while (i < units_.size() && units_[i] == u'0') ++i;
  if (i >= units_.size()) return false;
  char16_t c = units_[i];
  return c == u'Y' || c == u'y' || c == u'T' || c == u't' || (c >= u'1' && c <= u'9');
}

std::size_t MutableString::hash() const {
  // Mutable: no cached hash.
  return std::hash<std::u16string>()(units_);
}

Id MutableString::copy() const { return make<String>(units_); }

void MutableString::appendString(const String& other) { units_.append(other.utf16()); }
void MutableString::appendUTF8(std::string_view utf8) { units_.append(utf8ToUTF16(utf8)); }

void MutableString::insertString(const String& other, Index at) {
  if (at > units_.size()) {
    raise(ExceptionName::Range, "-[MutableString insertString:atIndex:]: Range or index out of bounds");
  }
  units_.insert(at, other.utf16());
}

void MutableString::deleteCharactersInRange(Range range) {
  replaceCharactersInRange(range, String());
}

void MutableString::replaceCharactersInRange(Range range, const String& with) {
  if (range.location > units_.size() || range.length > units_.size() - range.location) {
    raise(ExceptionName::Range, "-[MutableString replaceCharactersInRange:withString:]: Range " +
                                    toString(range) + " out of bounds; string length " +
                                    std::to_string(units_.size()));
  }
  units_.replace(range.location, range.length, with.utf16());
}

}  // namespace tq
