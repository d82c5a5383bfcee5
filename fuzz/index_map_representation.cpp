// The index-map table read from a dictionary representation whose list holds
// the input's lines: it never fails on the elements, and what it read writes
// out and reads back as the same table.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/collections/TQIndexMapTable.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"

using tq::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  auto list = tq::MutableArray::array();
  std::size_t from = 0;
  while (from <= text.size()) {
    std::size_t end = text.find('\n', from);
    if (end == std::string::npos) end = text.size();
    list->addObject(tq::str(text.substr(from, end - from)));
    from = end + 1;
  }
  tq::Dictionary representation{{tq::str("TQIntegerMap"), list}};
  auto table = tq::TQIndexMapTable::initWithDictionaryRepresentation(representation);
  check(table->count() <= list->count());
  auto again = tq::TQIndexMapTable::initWithDictionaryRepresentation(*table->dictionaryRepresentation());
  check(again->debugRepresentation()->isEqualToString(*table->debugRepresentation()));
  return 0;
}
