#pragma once
// Text as UTF-16 code units, the unit in which every length, index and range
// of the library counts. UTF-8 goes in and out at the edges.

#include <compare>
#include <string>
#include <string_view>
#include <vector>

#include "tq/platform/object/Comparable.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/object/Range.h"

namespace tq {

class Array;
class CharacterSet;

enum class StringCompareOptions : unsigned {
  None = 0,
  CaseInsensitive = 1,
  Literal = 2,
  Backwards = 4,
  Anchored = 8,
  Numeric = 64,
};
constexpr StringCompareOptions operator|(StringCompareOptions a, StringCompareOptions b) {
  return StringCompareOptions(unsigned(a) | unsigned(b));
}
constexpr bool has(StringCompareOptions set, StringCompareOptions flag) {
  return (unsigned(set) & unsigned(flag)) != 0;
}

class String : public Object {
 public:
  String() = default;
  explicit String(std::u16string units) : units_(std::move(units)) {}
  /// From UTF-8; ill-formed sequences become U+FFFD.
  explicit String(std::string_view utf8);

  static Ref<String> fromUTF8(std::string_view utf8) { return make<String>(utf8); }
  static Ref<String> fromUTF16(std::u16string units) { return make<String>(std::move(units)); }
  /// Nil when the bytes are not well-formed UTF-8.
  static Ref<String> fromUTF8Strict(std::string_view utf8);
  /// Whether the bytes are well-formed UTF-8 (no surrogates, no overlong forms).
  static bool isValidUTF8(std::string_view utf8);

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  Ref<String> description() const override;
  std::string className() const override { return "String"; }
  Id copy() const override;
  Id mutableCopy() const override;

  // Access
  Index length() const { return units_.size(); }
  /// Raises the range failure past the end.
  char16_t characterAtIndex(Index index) const;
  const std::u16string& utf16() const { return units_; }
  std::string utf8() const;
  bool isEqualToString(const String& other) const { return units_ == other.units_; }
  bool isEqualToString(std::string_view utf8) const;

  // Derived strings
  Ref<String> substringWithRange(Range range) const;
  Ref<String> substringFromIndex(Index index) const;
  Ref<String> substringToIndex(Index index) const;
  Ref<String> stringByAppendingString(const String& other) const;
  Ref<String> lowercaseString() const;
  Ref<String> uppercaseString() const;
  Ref<String> stringByTrimmingCharactersInSet(const CharacterSet& set) const;
  Ref<String> stringByReplacingOccurrencesOfString(const String& target, const String& replacement) const;
  Ref<Array> componentsSeparatedByString(const String& separator) const;

  // Searching and comparing
  bool hasPrefix(const String& prefix) const;
  bool hasSuffix(const String& suffix) const;
  bool hasPrefix(std::u16string_view prefix) const;
  bool hasSuffix(std::u16string_view suffix) const;
  Range rangeOfString(const String& needle, StringCompareOptions options = StringCompareOptions::None) const;
  Range rangeOfString(const String& needle, StringCompareOptions options, Range searchRange) const;
  bool containsString(const String& needle) const { return rangeOfString(needle).location != NotFound; }
  /// Code-unit order, or case-folded and/or numeric order with the options.
  ComparisonResult compare(const String& other, StringCompareOptions options = StringCompareOptions::None) const;
  ComparisonResult caseInsensitiveCompare(const String& other) const {
    return compare(other, StringCompareOptions::CaseInsensitive);
  }

  // Numeric values: leading white space skipped, then the longest prefix that
  // reads as a number; 0 when none.
  std::int64_t integerValue() const;
  double doubleValue() const;
  /// YES for a leading "Y", "y", "T", "t" or a non-zero digit, after optional
  /// white space, signs and zeros.
  bool boolValue() const;

 protected:
  std::u16string units_;
  mutable std::size_t hash_ = 0;
  mutable bool hashed_ = false;
};

class MutableString : public String {
 public:
  using String::String;
  static Ref<MutableString> string() { return make<MutableString>(); }

  std::string className() const override { return "MutableString"; }
  std::size_t hash() const override;
  Id copy() const override;

  void appendString(const String& other);
  void appendUTF8(std::string_view utf8);
  void appendCharacter(char16_t unit) { units_.push_back(unit); }
  void insertString(const String& other, Index at);
  void deleteCharactersInRange(Range range);
  void replaceCharactersInRange(Range range, const String& with);
  void setString(const String& other) { units_ = other.utf16(); }
  std::u16string& mutableUTF16() { return units_; }
};

/// A string from UTF-8 text: `tq::str("key")`.
inline Ref<String> str(std::string_view utf8) { return String::fromUTF8(utf8); }
/// A string from UTF-16 text: `tq::str(u"key")`.
inline Ref<String> str(std::u16string_view units) { return String::fromUTF16(std::u16string(units)); }

/// UTF-8 ↔ UTF-16 at the edges; ill-formed input becomes U+FFFD.
std::u16string utf8ToUTF16(std::string_view utf8);
std::string utf16ToUTF8(std::u16string_view utf16);

}  // namespace tq
