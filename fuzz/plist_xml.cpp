// Fuzzes the XML property-list reader. Whatever it accepts must write back
// (as XML and as binary) and read again to an equal value.

#include <cstdint>
#include <string_view>

#include "tq/platform/archive/PropertyList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (bytes.substr(0, 6) == "bplist") return 0;  // the binary reader has its own target
  tq::Ref<tq::Error> error;
  tq::Id value = tq::PropertyList::read(bytes, &error);
  if (!value) {
    if (!error) __builtin_trap();  // a failure always explains itself
    return 0;
  }
  auto xml = tq::PropertyList::write(value.get(), tq::PropertyListFormat::XML);
  if (!xml) __builtin_trap();
  tq::Id reread = tq::PropertyList::read(xml->view());
  if (!reread || !tq::isEqual(reread, value)) __builtin_trap();  // nothing is lost on the way
  auto binary = tq::PropertyList::write(value.get(), tq::PropertyListFormat::Binary);
  if (!binary) __builtin_trap();
  tq::Id again = tq::PropertyList::read(binary->view());
  if (!again) __builtin_trap();
  auto rewritten = tq::PropertyList::write(again.get(), tq::PropertyListFormat::Binary);
  if (!rewritten || !rewritten->isEqual(*binary)) __builtin_trap();
  return 0;
}
