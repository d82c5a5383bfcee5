// The C-string parser on arbitrary bytes: every index it keeps lies in
// 1 ... 2^63 - 3, and its comma list reads back as the same set.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/collections/IndexSetExtensions.h"

using tq::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);  // NUL-terminated by c_str()
  auto set = tq::Corvina::tq_indexSetWithWithUTF8String(text.c_str());
  if (set->count()) {
    check(set->firstIndex() >= 1);
    check(set->lastIndex() <= 0x7ffffffffffffffdULL);
  }
  const std::string written = tq::Corvina::tq_stringList(*set)->utf8();
  check(tq::Corvina::tq_indexSetWithWithUTF8String(written.c_str())->isEqualToIndexSet(*set));
  return 0;
}
