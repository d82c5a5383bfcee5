// The builders of the index-set extensions: from numbers, texts, C strings
// and argument lists.

#include <cstdlib>

#include "tq/collections/IndexSetExtensions.h"
#include "tq/collections/internal/NumberListScanner.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/Scanner.h"

namespace tq::Corvina {

namespace {

// `integerValue` as the platform answers it for the element kinds it knows.
std::int64_t integerValueOf(const Id& element) {
  if (auto number = std::dynamic_pointer_cast<Number>(element)) return number->integerValue();
  if (auto text = std::dynamic_pointer_cast<String>(element)) return text->integerValue();
  raiseUnrecognizedMessage(element.get(), "integerValue");
}

template <class Elements>
Ref<MutableIndexSet> fromIntegerValues(const Elements& elements) {
  auto set = MutableIndexSet::indexSet();
  for (const Id& element : elements) set->addIndex(Index(integerValueOf(element)));
  return set;
}

// The C-string parser's conversion: atol of the digits, kept when it lies
// between 1 and 2^63 - 3.
void addDigits(const char* digits, MutableIndexSet& set) {
  long value = std::atol(digits);
  if (value >= 1 && value <= 0x7ffffffffffffffdL) set.addIndex(Index(value));
}

}  // namespace

Ref<MutableIndexSet> tq_indexSetWithNumberSet(const Set& numbers) { return fromIntegerValues(numbers.objects()); }
Ref<MutableIndexSet> tq_indexSetWithNumberArray(const Array& numbers) { return fromIntegerValues(numbers); }
Ref<MutableIndexSet> tq_indexSetWithStringArray(const Array& texts) { return fromIntegerValues(texts); }

Ref<IndexSet> tq_indexSetWithIntList(std::initializer_list<std::uint32_t> values) {
  auto set = MutableIndexSet::indexSet();
  auto it = values.begin();
  if (it == values.end() || *it == 0) return make<IndexSet>();
  set->addIndex(*it);
  for (++it; it != values.end() && *it != 0 && *it != 0xFFFFFFFFu; ++it) set->addIndex(*it);
  return make<IndexSet>(set->ranges());
}

Ref<IndexSet> tq_indexSetWithWithUTF8String(const char* text) {
  MutableIndexSet set;
  char digits[22];
  std::size_t length = 0;
  for (const char* at = text; at && length < 21; ++at) {
    char c = *at;
    if (c >= '0' && c <= '9') {
      if (c != '0' || length > 0) digits[length++] = c;
    } else if (c == ',' || c == '\0') {
      digits[length] = '\0';
      addDigits(digits, set);
      length = 0;
      if (c == '\0') break;
    }
  }
  return make<IndexSet>(set.ranges());
}

Ref<MutableIndexSet> tq_indexSetWithStringList(const String& text) {
  auto set = MutableIndexSet::indexSet();
  detail::scanNumberList(
      text, "tq_indexSetWithStringList:",
      [](Scanner& scanner, std::uint64_t* value) {
        std::int64_t signedValue = 0;
        bool found = scanner.scanInteger(&signedValue);
        *value = std::uint64_t(signedValue);
        return found;
      },
      [&](std::uint64_t value) { set->addIndex(value); });
  return set;
}

Ref<MutableIndexSet> tq_indexSetWithStringList(std::string_view utf8) { return tq_indexSetWithStringList(String(utf8)); }

Ref<IndexSet> tq_indexSetWithIndexesFrom(Index first, Index last) {
  return IndexSet::indexSetWithIndexesInRange({first, last - first + 1});
}

}  // namespace tq::Corvina
