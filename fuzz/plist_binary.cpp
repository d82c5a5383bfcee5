// Fuzzes the binary property-list reader against hostile bytes. Whatever it
// accepts must write back and read again to the same bytes.

#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/support/PropertyListRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Every input is taken as a binary property list, with or without a header,
  // so that the fuzzer spends its time past the magic bytes.
  std::string bytes(reinterpret_cast<const char*>(data), size);
  if (bytes.rfind("bplist00", 0) != 0) bytes.insert(0, "bplist00");
  tq::Id value = tq::fuzz::readExplained(bytes, size % 2 == 1);
  if (!value) return 0;
  tq::fuzz::checkBinaryRoundTrip(value);
  tq::fuzz::writes(value, tq::PropertyListFormat::XML);
  return 0;
}
