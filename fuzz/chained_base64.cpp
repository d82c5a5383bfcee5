// Decodes chained data cut into regions at places chosen by the input, and
// checks that the result is the concatenation of the regions decoded one by
// one, up to the first region that fails.
//
// Input: byte 0 = number of cuts (mod 8), then that many cut sizes (one byte
// each), then the Base64 text.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/encodings/TransferEncodings.h"

using tq::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t cuts = std::min<std::size_t>(data[0] % 8, size - 1);
  const std::uint8_t* sizes = data + 1;
  std::string_view text(reinterpret_cast<const char*>(data + 1 + cuts), size - 1 - cuts);
  const std::int64_t options = data[0] >> 6;

  tq::Ref<tq::ChainedData> chained = tq::ChainedData::empty();
  std::string expected;
  bool failed = false;
  auto addRegion = [&](std::string_view piece) {
    if (piece.empty()) return;
    chained = tq::ChainedData::concat(chained, tq::ChainedData::create(piece));
    if (failed) return;
    auto one = tq::TQ_dispatch_data_decode_base64Bytes(piece, options);
    if (!one) {
      failed = true;
      return;
    }
    expected += one->createMap().view();
  };
  for (std::size_t i = 0; i < cuts; ++i) {
    const std::size_t n = std::min<std::size_t>(sizes[i], text.size());
    addRegion(text.substr(0, n));
    text.remove_prefix(n);
  }
  addRegion(text);

  auto decoded = tq::TQ_dispatch_data_decode_base64(*chained, options);
  check(decoded != nullptr);
  check(std::string(decoded->createMap().view()) == expected);
  return 0;
}
