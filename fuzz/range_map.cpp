// The range-map algorithm against the plain model of its two passes, on
// source and destination sets of up to 64 indexes each drawn from the input.

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/support/FuzzCheck.h"
#include "fuzz/support/RangeMapModel.h"
#include "tq/collections/TQRangeMap.h"

using tq::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  // Byte 0: where the sets start (so indexes need not begin at 0); then one
  // byte per index: bit 0 puts it in the source set, bit 1 in the destination.
  const std::uint64_t base = data[0];
  tq::model::Indexes S, D;
  tq::MutableIndexSet source, destination;
  for (std::size_t i = 1; i < size && i <= 64; ++i) {
    std::uint64_t index = base + i - 1;
    if (data[i] & 1) S.insert(index), source.addIndex(index);
    if (data[i] & 2) D.insert(index), destination.addIndex(index);
  }
  std::vector<std::string> maps;
  auto found = tq::TQRangeMap::rangeMapsFromIndexes(source, destination);
  for (const tq::Id& map : *found) {
    maps.push_back(map->description()->utf8());
  }
  check(maps == tq::model::rangeMaps(S, D));
  return 0;
}
