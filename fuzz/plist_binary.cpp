// Fuzzes the binary property-list reader against hostile bytes. Whatever it
// accepts must write back and read again to the same bytes.

#include <cstdint>
#include <string>
#include <string_view>

#include "tq/platform/archive/PropertyList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Every input is taken as a binary property list, with or without a header,
  // so that the fuzzer spends its time past the magic bytes.
  std::string bytes(reinterpret_cast<const char*>(data), size);
  if (bytes.rfind("bplist00", 0) != 0) bytes.insert(0, "bplist00");
  tq::Ref<tq::Error> error;
  tq::Id value = tq::PropertyList::read(bytes, &error, nullptr, size % 2 == 1);
  if (!value) {
    if (!error) __builtin_trap();
    return 0;
  }
  auto binary = tq::PropertyList::write(value.get(), tq::PropertyListFormat::Binary);
  if (!binary) __builtin_trap();
  tq::Id again = tq::PropertyList::read(binary->view());
  if (!again) __builtin_trap();
  auto rewritten = tq::PropertyList::write(again.get(), tq::PropertyListFormat::Binary);
  if (!rewritten || !rewritten->isEqual(*binary)) __builtin_trap();
  auto xml = tq::PropertyList::write(value.get(), tq::PropertyListFormat::XML);
  if (!xml) __builtin_trap();
  return 0;
}
