// The text forms of the index-set extensions: comma lists, the JSON array,
// run texts and the number and text collections.

#include <charconv>
#include <string>

#include "tq/collections/IndexSetExtensions.h"
#include "tq/platform/value/Number.h"

namespace tq::Corvina {

namespace {

void appendDecimal(std::string& out, std::uint64_t value) {
  char digits[24];
  auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out.append(digits, end);
}

// Every index as ",N", with ",\nN" for every `interval`-th one when the
// interval is 1 or more. Callers drop or replace the leading byte.
std::string commaJoined(const IndexSet& set, std::int64_t interval) {
  std::string out;
  std::int64_t counter = 0;
  for (const Range& run : set.ranges()) {
    for (Index i = run.location; i < run.end(); ++i, ++counter) {
      out += (interval >= 1 && counter % interval == 0) ? ",\n" : ",";
      appendDecimal(out, i);
    }
  }
  return out;
}

std::string decimal(std::uint64_t value) {
  std::string out;
  appendDecimal(out, value);
  return out;
}

}  // namespace

Ref<Set> tq_numberSet(const IndexSet& set) {
  auto numbers = MutableSet::set();
  set.enumerateIndexesUsingBlock([&](Index i, bool*) { numbers->addObject(num(i)); });
  return numbers;
}

Ref<Array> tq_stringArray(const IndexSet& set) {
  auto texts = MutableArray::array();
  set.enumerateIndexesUsingBlock([&](Index i, bool*) { texts->addObject(str(decimal(i))); });
  return texts;
}

Ref<Set> tq_stringSet(const IndexSet& set) { return Set::setWithArray(*tq_stringArray(set)); }

Ref<String> tq_stringList(const IndexSet& set) { return tq_stringListWithReturnInterval(set, 0); }

Ref<String> tq_stringListWithReturnInterval(const IndexSet& set, std::int64_t interval) {
  std::string joined = commaJoined(set, interval);
  return str(joined.empty() ? joined : joined.substr(1));
}

Ref<Data> tq_jsonArray(const IndexSet& set) {
  std::string joined = commaJoined(set, 0);
  if (joined.empty()) joined = "[";
  joined[0] = '[';
  joined += ']';
  return Data::dataWithBytes(joined.data(), joined.size());
}

Ref<String> rangeDescription(const IndexSet& set) {
  if (set.ranges().empty()) return str("{}");
  std::string out;
  for (const Range& run : set.ranges()) {
    if (!out.empty()) out += ',';
    out += '{' + decimal(run.location) + '-' + decimal(run.end() - 1) + '}';
  }
  return str(out);
}

}  // namespace tq::Corvina
