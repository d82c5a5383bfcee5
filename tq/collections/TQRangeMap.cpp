#include "tq/collections/TQRangeMap.h"

#include "tq/collections/IndexSetExtensions.h"

namespace tq {

namespace {

Index runsOf(const Ref<MutableIndexSet>& set) { return set ? Corvina::rangeCount(*set) : 0; }

Ref<MutableIndexSet> setOfRun(Range run) {
  auto set = MutableIndexSet::indexSet();
  if (run.length) set->addIndexesInRange(run);
  return set;
}

Ref<MutableIndexSet> clipped(const IndexSet& set, Range run) {
  std::vector<Range> parts;
  set.enumerateRangesInRange(run, EnumerationOptions::None, [&](Range part, bool*) { parts.push_back(part); });
  return parts.empty() ? nullptr : make<MutableIndexSet>(std::move(parts));
}

// One map per maximal run of indexes in either set, holding what each set
// has of that run. Walking the runs of the union gives the same maps as
// walking every index from 0 to the last one, without its cost.
std::vector<Ref<TQRangeMap>> grouped(const IndexSet& source, const IndexSet& destination) {
  std::vector<Ref<TQRangeMap>> maps;
  Ref<IndexSet> either = source.unionWithIndexSet(destination);
  for (const Range& run : either->ranges()) {
    auto map = make<TQRangeMap>();
    map->setSrcRanges(clipped(source, run));
    map->setDstRanges(clipped(destination, run));
    maps.push_back(map);
  }
  return maps;
}

// Splits off one map per leading pair of runs while the current map has two
// runs or more on both sides; answers where the current map now stands.
std::size_t splitLeadingPairs(std::vector<Ref<TQRangeMap>>& maps, std::size_t p) {
  const Ref<TQRangeMap> cur = maps[p];  // held by value: inserting moves the vector
  while (runsOf(cur->srcRanges()) >= 2 && runsOf(cur->dstRanges()) >= 2) {
    Range src = Corvina::firstRange(*cur->srcRanges()), dst = Corvina::firstRange(*cur->dstRanges());
    auto split = make<TQRangeMap>();
    split->setSrcRanges(setOfRun(src));
    split->setDstRanges(setOfRun(dst));
    cur->srcRanges()->removeIndexesInRange(src);
    cur->dstRanges()->removeIndexesInRange(dst);
    maps.insert(maps.begin() + std::ptrdiff_t(p), split);
    ++p;
  }
  return p;
}

// Hands runs of the current map (at p) to the previous one, removing the
// current map when it is used up.
void balanceWithPrevious(std::vector<Ref<TQRangeMap>>& maps, std::size_t p, const Ref<TQRangeMap>& prev) {
  const Ref<TQRangeMap> cur = maps[p];
  Index s = runsOf(cur->srcRanges()), d = runsOf(cur->dstRanges());
  Index ps = runsOf(prev->srcRanges()), pd = runsOf(prev->dstRanges());
  if (ps != 0 && pd == 0) {
    if (d >= 2) {
      Range first = Corvina::firstRange(*cur->dstRanges());
      cur->dstRanges()->removeIndexesInRange(first);
      prev->setDstRanges(setOfRun(first));
    } else if (d == 1 && s == 0) {
      prev->setDstRanges(cur->dstRanges());
      maps.erase(maps.begin() + std::ptrdiff_t(p));
    }
  }
  if (ps == 0) {
    if (s >= 2) {
      // The last destination run, taken out of the sources: kept as it is.
      Range last = cur->dstRanges() ? Corvina::lastRange(*cur->dstRanges()) : Range{NotFound, 0};
      if (last.location != NotFound) cur->srcRanges()->removeIndexesInRange(last);
      prev->setSrcRanges(setOfRun(last.location == NotFound ? Range{} : last));
    } else if (s == 1 && d == 0) {
      prev->setSrcRanges(cur->srcRanges());
      maps.erase(maps.begin() + std::ptrdiff_t(p));
    }
  }
}

}  // namespace

void TQRangeMap::addSrcIndex(Index index) {
  if (!src_) src_ = MutableIndexSet::indexSet();
  src_->addIndex(index);
}

void TQRangeMap::addDstIndex(Index index) {
  if (!dst_) dst_ = MutableIndexSet::indexSet();
  dst_->addIndex(index);
}

Ref<String> TQRangeMap::description() const {
  auto text = [](const Ref<MutableIndexSet>& set) { return set ? Corvina::rangeDescription(*set)->utf8() : "{}"; };
  return str(text(src_) + " --> " + text(dst_));
}

Ref<Array> TQRangeMap::rangeMapsFromIndexes(const IndexSet& source, const IndexSet& destination) {
  std::vector<Ref<TQRangeMap>> maps = grouped(source, destination);
  std::size_t c = maps.size();
  while (c > 0) {
    // The previous map is the one before the current map as it was found,
    // not a map split off it.
    Ref<TQRangeMap> prev = c >= 2 ? maps[c - 2] : nullptr;
    std::size_t p = splitLeadingPairs(maps, c - 1);
    if (!prev) break;
    balanceWithPrevious(maps, p, prev);
    c = p;
  }
  return Array::arrayWithObjects(Array::Storage(maps.begin(), maps.end()));
}

}  // namespace tq
