// The list parsers of the index set and of the integer set on arbitrary text.
// A text they would loop on is reported once to the assertion handler (which
// here records it) and the parse ends; negative numbers raise the index
// set's invalid-argument failure. Whatever is read writes back as a comma
// list that reads again as the same set.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/collections/IndexSetExtensions.h"
#include "tq/collections/TQIntegerSet.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/object/Exception.h"

using tq::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tq::String text(std::string_view(reinterpret_cast<const char*>(data), size));
  int reports = 0;
  tq::setAssertionHandler([&](const tq::AssertionFailure&) { ++reports; });

  try {
    auto set = tq::Corvina::tq_indexSetWithStringList(text);
    check(reports <= 1);
    check(set->count() == 0 || set->lastIndex() < tq::NotFound);
    auto again = tq::Corvina::tq_indexSetWithStringList(*tq::Corvina::tq_stringList(*set));
    // An empty list reads as {} and a non-empty one as itself.
    check(again->isEqualToIndexSet(*set));
  } catch (const tq::Exception& e) {
    check(std::string(e.name()) == tq::ExceptionName::InvalidArgument);
  }

  reports = 0;
  auto integers = tq::TQMutableIntegerSet::integerSetWithStringList(text);
  check(reports <= 1);
  auto written = integers->stringList();
  reports = 0;
  check(tq::TQIntegerSet::integerSetWithStringList(*written)->isEqualToIntegerSet(*integers));
  check(reports == 0);
  tq::setAssertionHandler(nullptr);
  return 0;
}
