// Fuzzes the JSON reader. Whatever it accepts must write back and read again
// to the same text.

#include <cstdint>
#include <string_view>

#include "tq/platform/archive/JSON.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  tq::Ref<tq::Error> error;
  tq::Id value = tq::JSON::read(text, &error, size % 2 == 1);
  if (!value) {
    if (!error) __builtin_trap();
    return 0;
  }
  const auto options = tq::JSONWriteOptions::FragmentsAllowed | tq::JSONWriteOptions::SortedKeys;
  auto written = tq::JSON::write(value.get(), options);
  if (!written) __builtin_trap();
  tq::Id again = tq::JSON::read(*written);
  if (!again) __builtin_trap();
  auto rewritten = tq::JSON::write(again.get(), options);
  if (!rewritten || *rewritten != *written) __builtin_trap();
  tq::JSON::write(value.get(), tq::JSONWriteOptions::PrettyPrinted);
  return 0;
}
