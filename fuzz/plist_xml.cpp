// Fuzzes the XML property-list reader. Whatever it accepts must write back
// (as XML and as binary) and read again to an equal value.

#include <cstdint>
#include <string_view>

#include "fuzz/support/PropertyListRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (bytes.substr(0, 6) == "bplist") return 0;  // the binary reader has its own target
  tq::Id value = tq::fuzz::readExplained(bytes);
  if (!value) return 0;
  tq::fuzz::checkXMLRoundTrip(value);
  tq::fuzz::checkBinaryRoundTrip(value);
  return 0;
}
